/* SPDX-License-Identifier: MIT */
/* Bounded text and the one clock of the process. */
#ifndef AP_TEXT_H
#define AP_TEXT_H

#include <stdarg.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* As snprintf: always ends the text with a NUL when `size` is above 0; returns the length that
 * the whole text has. */
int qv_snprintf(char* text, unsigned int size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
int qv_vsnprintf(char* text, unsigned int size, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

/* Seconds since 1970 (UTC). */
int32_t qv_time(void);

/* Milliseconds of a clock that never goes back; wraps after 49.7 days. */
uint32_t qv_time_ms(void);

/* Blocks for that time: for a few milliseconds of a hardware sequence, nothing more. */
void qv_time_ms_delay(unsigned int milliseconds);

/* As strftime, of `time` (seconds since 1970) in UTC; returns `text`, empty when it does not
 * fit. */
char* qv_utc_strftime(char* text, unsigned int size, const char* format, int32_t time);

#ifdef __cplusplus
}
#endif

#endif
