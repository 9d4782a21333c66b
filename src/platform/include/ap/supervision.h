/* SPDX-License-Identifier: MIT */
/*
 * The application manager, which starts the daemons and restarts one that shows no sign of
 * life. All functions return 0 or a negative errno and do not block.
 */
#ifndef AP_SUPERVISION_H
#define AP_SUPERVISION_H

#include "ap/loop.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Gives signs of life from the loop from now on. */
int appmgr_alive_fdloop_register(_fdloop_t* loop);

/* Time without a sign of life, in milliseconds, after which the daemon counts as dead. */
int appmgr_set_dead_time(unsigned int milliseconds);

/* Start-up has come so far that the daemons waiting for this one may go on: they are told once the
 * loop turns. */
int appmgr_signal(void);

/* What the daemon is doing, in words for whoever looks after the terminal: one line, cut at 200
 * bytes. Saying the same again costs nothing. */
int appmgr_status(const char* text);

#ifdef __cplusplus
}
#endif

#endif
