/* SPDX-License-Identifier: MIT */
/* The message bus of the terminal: named signals with a raw payload, nothing comes back. */
#ifndef AP_BUS_H
#define AP_BUS_H

#include "ap/loop.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _cbus_conn_t _cbus_conn_t;

/* Connects to the bus as `name` and serves the connection from `loop`. The connection belongs
 * to the platform and lives until the process ends. Null when there is no bus. */
_cbus_conn_t* cbus_conn_create(_fdloop_t* loop, const char* name);

/* Announces the names that this daemon serves, and asks for the signals whose names begin
 * with `prefix`. 0, or a negative errno. */
int cbus_provide(_cbus_conn_t* connection, const char* name);
int cbus_filter(_cbus_conn_t* connection, const char* prefix);

/*
 * Sends the signal `name` with `length` bytes at `data` (copied; may be null when `length` is
 * 0). At most 64 KiB. Does not wait for a receiver. 0, or a negative errno.
 */
int cbus_send_signal(_cbus_conn_t* connection, const char* name, const void* data,
                     unsigned int length);

#ifdef __cplusplus
}
#endif

#endif
