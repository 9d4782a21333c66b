// SPDX-License-Identifier: MIT
#include "host/log/logging.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ap/log.h"
#include "host/host/host.h"

namespace host {
namespace {

constexpr int debug_level = 7;
constexpr int graver_than_debug = 5; // what the journal keeps

LogSink sink = nullptr;

// Standard error belongs to the journal service: it takes the level from a prefix.
bool to_journal_service()
{
    static const bool yes = std::getenv("JOURNAL_STREAM") != nullptr;
    return yes;
}

void emit(int level, std::string_view text)
{
    if (sink != nullptr) {
        sink(level, text);
        return;
    }
    // One write for one line, so that lines of several processes do not mix.
    std::array<char, 1100> line;
    std::array<char, 16> prefix{};
    std::size_t leading = 0; // line ends: the prefix counts only on the line of the words
    if (to_journal_service()) {
        leading = std::min(text.find_first_not_of('\n'), text.size());
        std::snprintf(prefix.data(), prefix.size(), "<%d>", level);
    }
    const std::string_view words = text.substr(leading);
    const char* const end = text.ends_with('\n') ? "" : "\n";
    const int total = std::snprintf(line.data(), line.size(), "%.*s%s%.*s%s",
                                    static_cast<int>(leading), text.data(), prefix.data(),
                                    static_cast<int>(words.size()), words.data(), end);
    // There is nowhere left to report a failure to.
    [[maybe_unused]] const ssize_t written =
        write(STDERR_FILENO, line.data(), static_cast<std::size_t>(total));
}

void log(int level, bool wanted, const char* format, va_list arguments)
{
    const bool keep = level <= graver_than_debug;
    if (!wanted && !keep && sink == nullptr)
        return;
    std::array<char, 1024> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (length < 0)
        return;
    if (keep) {
        const char* const first = text.data() + std::strspn(text.data(), " \t\n");
        instance().journal.write("log %d %.*s", level, static_cast<int>(std::strcspn(first, "\n")),
                                 first);
    }
    if (wanted || sink != nullptr)
        emit(level, text.data());
}

} // namespace

void set_log_sink(LogSink new_sink)
{
    sink = new_sink;
}

} // namespace host

void qv_slog(int level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::log(level, level <= host::instance().settings.log_level, format, arguments);
    va_end(arguments);
}

void qv_slogd(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::log(host::debug_level, true, format, arguments);
    va_end(arguments);
}

void qv_panic(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    host::log(1, true, format, arguments);
    va_end(arguments);
    std::abort();
}
