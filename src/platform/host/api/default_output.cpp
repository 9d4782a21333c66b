// SPDX-License-Identifier: MIT
// The platform's own output, for a program without a console. In a file of its own: the linker
// takes it from the library only when the program does not define these functions.
#include <cstdio>

#include "ap/output.h"

int qv_vprintf(const char* format, va_list arguments)
{
    const int written = std::vprintf(format, arguments);
    std::fflush(stdout);
    return written;
}

int qv_puts(const char* text)
{
    const int written = std::printf("%s", text);
    std::fflush(stdout);
    return written;
}

int fdloop_telnet_get_fd(void)
{
    return -1;
}
