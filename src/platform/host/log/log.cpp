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
constexpr int warning = 4;

} // namespace

Log::Log(Journal& journal, int level)
    : journal_(journal), standard_error_(STDERR_FILENO), level_(level),
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

void Log::emit(int level, std::string_view text)
{
    const auto prefix = [this](int value) {
        return to_journal_service_ ? "<" + std::to_string(value) + ">" : std::string();
    };
    // The prefix counts only on the line of the words.
    const std::size_t leading = std::min(text.find_first_not_of('\n'), text.size());
    std::string line(text.substr(0, leading));
    line.append(prefix(level)).append(text.substr(leading));
    if (!line.ends_with('\n'))
        line += '\n';
    standard_error_.write(line, prefix(warning)); // in one piece: lines of processes do not mix
}

} // namespace host
