// SPDX-License-Identifier: MIT
#include "ap/log.h"

#include <cstdarg>
#include <cstdlib>

#include "host/host/host.h"
#include "host/loop/stop_signal.h"

namespace {

constexpr int alert = 1;
constexpr int debug = 7;

} // namespace

void qv_slog(int level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::instance().log.vwrite(level, format, arguments);
    va_end(arguments);
}

void qv_slogd(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::instance().log.vwrite_always(debug, format, arguments);
    va_end(arguments);
}

qv_trace_group_t* qv_xtrace_init(const char* name, const char* letters, std::uint32_t mask)
{
    return host::instance().traces.add(name, letters, mask);
}

void qv_panic(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::instance().log.vwrite_always(alert, format, arguments);
    va_end(arguments);
    std::abort();
}

void qv_set_default_sig_handlers(void)
{
    host::handle_stop_signals();
}
