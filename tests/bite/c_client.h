/* SPDX-License-Identifier: MIT */
/* A client in C of everything that bite_api.h offers. */
#ifndef C_CLIENT_H
#define C_CLIENT_H

#include "bite/bite_api.h"

#ifdef __cplusplus
extern "C" {
#endif

struct c_handles {
    void* post;
    void* past;
    void* event;
    int ready_calls;    /* of both callbacks, the PAST one counts 100 */
    void* past_context; /* what the PAST callback got */
};

void c_open(struct c_handles* handles, _cbus_conn_t* bus);
void c_close(struct c_handles* handles);

/* Calls each reporting function once; the questions' and orders' results as one number: one
 * decimal digit each, 9 for a negative one. */
int c_report(const struct c_handles* handles, uint32_t test, uint32_t event);

#ifdef __cplusplus
}
#endif

#endif
