// SPDX-License-Identifier: MIT
#include "ap/text.h"

#include <cstdio>
#include <ctime>

#include "host/host/host.h"

int qv_vsnprintf(char* text, unsigned int size, const char* format, va_list arguments)
{
    return std::vsnprintf(text, size, format, arguments);
}

int qv_snprintf(char* text, unsigned int size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = qv_vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return length;
}

std::int32_t qv_time(void)
{
    return static_cast<std::int32_t>(host::instance().clock.seconds());
}

std::uint32_t qv_time_ms(void)
{
    return static_cast<std::uint32_t>(host::instance().clock.now_ms());
}

void qv_time_ms_delay(unsigned int milliseconds)
{
    host::instance().clock.wait_ms(milliseconds);
}

char* qv_utc_strftime(char* text, unsigned int size, const char* format, std::int32_t time)
{
    const time_t seconds = time;
    tm parts{};
    if (size == 0)
        return text;
    if (gmtime_r(&seconds, &parts) == nullptr || std::strftime(text, size, format, &parts) == 0)
        text[0] = '\0';
    return text;
}
