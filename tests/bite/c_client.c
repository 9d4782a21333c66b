/* SPDX-License-Identifier: MIT */
/* A client in C of everything that bite_api.h offers. */
#include "bite/bite_api.h"

static void* past_context; /* what the PAST callback got */

static void post_ready(void* context)
{
    ++*(int*)context;
}

static void past_ready(void* handle)
{
    past_context = handle;
}

/* Handles of POST, PAST and events. */
void c_open(void** handles, _cbus_conn_t* bus, int* ready_calls)
{
    handles[0] = bite_postApiInit(bus);
    handles[1] = bite_pastApiInit(bus);
    handles[2] = bite_eventApiInit(bus);
    bite_registerPostReadyCB(handles[0], post_ready, ready_calls);
    bite_registerPastReadyCB(handles[1], past_ready);
}

/* Returns the PAST callback's context, null when it was not called since the last time. */
void* c_close(void** handles)
{
    void* const context = past_context;
    past_context = 0;
    bite_postApiClose(handles[0]);
    bite_pastApiClose(handles[1]);
    bite_eventApiClose(handles[2]);
    return context;
}

/* Calls each reporting function once; the questions' and orders' results as one number: one
 * decimal digit each, 9 for a negative one. */
int c_report(void** handles, uint32_t test, uint32_t event)
{
    const int results[] = {bite_isPostReady(),
                           bite_isPostExtended(handles[0]),
                           bite_isPostAllowed(handles[0], test),
                           bite_setPOST_start(handles[0], test),
                           bite_PostResult(handles[0], test, 1),
                           bite_PostResInfo(handles[0], test, 2, -5),
                           bite_isPastReady(),
                           bite_isPastAllowed(handles[1], test)};
    int digits = 0;
    for (unsigned int i = 0; i < sizeof results / sizeof results[0]; ++i)
        digits = digits * 10 + (results[i] < 0 ? 9 : results[i]);
    bite_setPAST_start(handles[1], test);
    bite_PastResult(handles[1], test, 0);
    bite_PastResInfo(handles[1], test, 1, 7);
    bite_cmResult(handles[2], event, 2);
    bite_cmResInfo(handles[2], event, 99, -1);
    bite_eventResult(handles[2], event, 1);
    bite_eventResInfo(handles[2], event, 1, 7);
    return digits;
}
