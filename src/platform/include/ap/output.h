/* SPDX-License-Identifier: MIT */
/*
 * Text for whoever sits at the console.
 *
 * qv_vprintf(), qv_puts() and fdloop_telnet_get_fd() are there to be replaced: a program that
 * defines them (all three) takes the place of the platform's own, which write to standard
 * output. That is how the output of a shell reaches the connection that runs it.
 */
#ifndef AP_OUTPUT_H
#define AP_OUTPUT_H

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Prints through qv_vprintf(); returns its result. */
int qv_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* Bytes written, which may be fewer than given when the receiver does not read. */
int qv_vprintf(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
int qv_puts(const char* text);

/* The descriptor of the console connection whose input is being handled, -1 without one. */
int fdloop_telnet_get_fd(void);

#ifdef __cplusplus
}
#endif

#endif
