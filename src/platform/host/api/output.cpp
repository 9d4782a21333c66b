// SPDX-License-Identifier: MIT
#include "ap/output.h"

int qv_printf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = qv_vprintf(format, arguments);
    va_end(arguments);
    return written;
}
