// SPDX-License-Identifier: MIT
#include "host/log/journal.h"

#include <cstdarg>
#include <cstdio>

namespace host {

void Journal::write(const char* format, ...)
{
    Slot& slot = slots_[last_ % capacity];
    ++last_;
    slot.time_ms = clock_.now_ms();
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(slot.text.data(), slot.text.size(), format, arguments);
    va_end(arguments);
    // One line stays one line, whatever was written into a key or a log message.
    for (char& c : slot.text) {
        if (c == '\0')
            break;
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f')
            c = c == '\n' || c == '\t' ? ' ' : '?';
    }
}

Journal::Line Journal::line(std::uint64_t number) const
{
    const Slot& slot = slots_[(number - 1) % capacity];
    return {number, slot.time_ms, slot.text.data()};
}

} // namespace host
