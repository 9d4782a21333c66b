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

/*
 * Puts a signal into words, for a person who looks at the bus. `data` holds the first `kept` of
 * the `length` bytes that were sent; `text` takes `size` bytes with the NUL. The result says what
 * the text is; it is negative when the signal has not the form that belongs to its name.
 */
typedef int (*cbus_describer)(const void* data, unsigned int kept, unsigned int length, char* text,
                              unsigned int size);
enum {
    CBUS_TEXT_BEHIND_NAME = 0, /* what stands behind the name of the signal */
    CBUS_TEXT_IS_LINE = 1      /* the whole line */
};

/*
 * Describes the signals of exactly that name (borrowed) from now on; another describer for the
 * name takes the place of the first. It may be called at any time, and must not use the platform's
 * database or bus. An implementation that shows no signals does nothing here.
 */
void cbus_describe(const char* name, cbus_describer describer);

/*
 * Signals of exactly that name (borrowed) say something that is to be known as long as this process
 * lives: what was sent is sent again to a bus that was away, each payload once. Nothing is done
 * where a bus is never away.
 */
void cbus_repeat(const char* name);

#ifdef __cplusplus
}
#endif

#endif
