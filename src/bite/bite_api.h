/* SPDX-License-Identifier: MIT */
/*
 * The client of the built-in test equipment (BITE) for programs in C.
 *
 * A handle is made by one of the Init functions, which end the process when there is no memory,
 * and belongs to the caller until the Close function. The bus connection stays the caller's.
 * Identifiers are packed numbers, see bite_create...Rep(); 0 is none. A null handle, or
 * identifier 0, is logged as an error and nothing is done; the result is 0 for a question and -1
 * for an order then. `pass` is 1 for a test that passed, anything else for one that failed.
 * Nothing blocks.
 */
#ifndef BITE_API_H
#define BITE_API_H

#include <stdint.h>

#include "ap/bus.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Packs an identifier. The module stands in bits 31-28 of its argument, the module id in bits
 * 25-20, the test id in bits 19-0; other bits are dropped. */
uint32_t bite_createEventRep(uint32_t module, uint32_t module_id, uint32_t test_id);
uint32_t bite_createPostRep(uint32_t module, uint32_t module_id, uint32_t test_id);
uint32_t bite_createCmRep(uint32_t module, uint32_t module_id, uint32_t test_id);
uint32_t bite_createPastRep(uint32_t module, uint32_t module_id, uint32_t test_id);

/* Power-on self-tests. The order of use for each test: ask bite_isPostAllowed(), then
 * bite_setPOST_start(), run the test, report. Reports return 0 or the bus's error. */
void* bite_postApiInit(_cbus_conn_t* connection);
void bite_postApiClose(void* handle); /* null is ignored */
int bite_isPostReady(void);           /* 1 or 0 */
/* Calls `callback` from the loop each time the handler becomes ready, until the handle is
 * closed. */
int bite_registerPostReadyCB(void* handle, void (*callback)(void* context), void* context);
int bite_isPostExtended(void* handle);               /* 1 or 0 */
int bite_isPostAllowed(void* handle, uint32_t test); /* 1 or 0 */
int bite_setPOST_start(void* handle, uint32_t test);
int bite_PostResult(void* handle, uint32_t test, int pass);
int bite_PostResInfo(void* handle, uint32_t test, int pass, int info);

/* Periodic self-tests, used in the same way. The ready callback receives the handle. */
void* bite_pastApiInit(_cbus_conn_t* connection);
void bite_pastApiClose(void* handle);
int bite_isPastReady(void);
int bite_registerPastReadyCB(void* handle, void (*callback)(void* handle));
int bite_isPastAllowed(void* handle, uint32_t test);
int bite_setPAST_start(void* handle, uint32_t test);
int bite_PastResult(void* handle, uint32_t test, int pass);
int bite_PastResInfo(void* handle, uint32_t test, int pass, int info);

/* Condition-monitoring (CM) events and events. The state is sent unchecked. Failed sends are not
 * told. */
enum { BITE_EVENT_OFF = 1, BITE_EVENT_ON = 2, BITE_EVENT_NONE = 3 };
void* bite_eventApiInit(_cbus_conn_t* connection);
void bite_eventApiClose(void* handle); /* null is logged */
void bite_cmResult(void* handle, uint32_t event, int state);
void bite_cmResInfo(void* handle, uint32_t event, int state, int info);
void bite_eventResult(void* handle, uint32_t event, int state);
void bite_eventResInfo(void* handle, uint32_t event, int state, int info);

#ifdef __cplusplus
}
#endif

#endif
