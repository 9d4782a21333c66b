// SPDX-License-Identifier: MIT
// The platform's own output, for a program without a console. In a file of its own: the linker
// takes it from the library only when the program does not define these functions.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "ap/output.h"
#include "host/base/outlet.h"

namespace {

int put(std::string_view text)
{
    static host::Outlet standard_output(STDOUT_FILENO);
    return standard_output.write(text) ? static_cast<int>(text.size()) : 0;
}

} // namespace

int qv_vprintf(const char* format, va_list arguments)
{
    std::array<char, 4096> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    const auto whole = static_cast<std::size_t>(std::max(length, 0));
    return put({text.data(), std::min(whole, text.size() - 1)});
}

int qv_puts(const char* text)
{
    return put(text);
}

int fdloop_telnet_get_fd(void)
{
    return -1;
}
