// SPDX-License-Identifier: MIT
#include "host/log/log.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace host {
namespace {

constexpr int graver_than_debug = 5; // what the journal keeps

} // namespace

Log::Log(Journal& journal, int level)
    : journal_(journal), level_(level),
      to_journal_service_(std::getenv("JOURNAL_STREAM") != nullptr)
{
}

void Log::write(int level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vwrite(level, format, arguments);
    va_end(arguments);
}

void Log::vwrite(int level, const char* format, va_list arguments)
{
    vwrite_if(level <= level_, level, format, arguments);
}

void Log::vwrite_always(int level, const char* format, va_list arguments)
{
    vwrite_if(true, level, format, arguments);
}

void Log::vwrite_if(bool wanted, int level, const char* format, va_list arguments)
{
    const bool keep = level <= graver_than_debug;
    if (!wanted && !keep && sink_ == nullptr)
        return;
    std::array<char, 1024> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (length < 0)
        return;
    if (keep) {
        const char* const first = text.data() + std::strspn(text.data(), " \t\n");
        journal_.write("log %d %.*s", level, static_cast<int>(std::strcspn(first, "\n")), first);
    }
    if (sink_ != nullptr)
        sink_(level, text.data());
    else if (wanted)
        emit(level, text.data());
}

void Log::emit(int level, std::string_view text) const
{
    // One write for one line, so that lines of several processes do not mix.
    std::array<char, 1100> line;
    std::array<char, 16> prefix{};
    std::size_t leading = 0; // line ends: the prefix counts only on the line of the words
    if (to_journal_service_) {
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
        ::write(STDERR_FILENO, line.data(), static_cast<std::size_t>(total));
}

} // namespace host
