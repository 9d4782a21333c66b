/* SPDX-License-Identifier: MIT */
/*
 * Log, debug traces and the end of the process on a fault.
 *
 * Levels are syslog's: 1 alert, 3 error, 4 warning, 5 notice, 7 debug. Formats are printf's;
 * a line is cut at 1023 characters. Blanks at the start and line ends are kept as they are.
 */
#ifndef AP_LOG_H
#define AP_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

void qv_slog(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/* A trace line. The caller asks its trace group first whether it is wanted. */
void qv_slogd(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* A group of traces that can be switched on and off while the daemon runs. The letter X
 * stands for the mask bit (X - 'A'). */
typedef struct qv_trace_group {
    const char* name;
    const char* letters; /* for each letter: itself, ':', a tab, its title, a line end */
    int enabled;         /* non-zero: lines whose bit is set in `mask` are wanted */
    uint32_t mask;
} qv_trace_group_t;

/* The group with that name, made on the first call with the given mask, switched off. `name`
 * and `letters` must live as long as the process, as the group does. */
qv_trace_group_t* qv_xtrace_init(const char* name, const char* letters, uint32_t mask);

/* Logs the text at level 1 and aborts the process, so that supervision restarts it. */
void qv_panic(const char* format, ...) __attribute__((format(printf, 1, 2), noreturn));

/* SIGTERM and SIGINT end the loop in an orderly way; SIGPIPE is ignored. */
void qv_set_default_sig_handlers(void);

#ifdef __cplusplus
}
#endif

#endif
