// SPDX-License-Identifier: MIT
#include "host/log/journal.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace host {
namespace {

// One line stays one line, whatever was written into a key or a log message.
char on_one_line(char c)
{
    if (static_cast<unsigned char>(c) >= ' ' && c != '\x7f')
        return c;
    return c == '\n' || c == '\t' ? ' ' : '?';
}

} // namespace

Journal::Slot& Journal::next_slot()
{
    Slot& next = slot(++last_);
    next.time_ms = clock_.now_ms();
    next.own_write = false;
    return next;
}

void Journal::write(const char* format, ...)
{
    Slot& slot = next_slot();
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(slot.text.data(), slot.text.size(), format, arguments);
    va_end(arguments);
    char* const end = std::find(slot.text.begin(), slot.text.end(), '\0');
    std::transform(slot.text.begin(), end, slot.text.begin(), on_one_line);
    if (observer_ != nullptr)
        observer_->written(line(last_));
}

// Whether the key's last line says that already, with nothing but such lines behind it.
bool Journal::repeats(std::string_view key, std::string_view text)
{
    for (std::uint64_t number = last_; number >= first() && number > 0; --number) {
        const Slot& earlier = slot(number);
        const std::string_view other = earlier.text.data();
        if (!earlier.own_write)
            return false;
        if (other.starts_with(key) && other.substr(key.size()).starts_with(' '))
            return other == text;
    }
    return false;
}

void Journal::write_set(std::string_view key, std::string_view value)
{
    const std::string start = "set " + std::string(key);
    const std::string text = start + " " + std::string(value);
    // Texts that are not shown as they are cannot be compared by what is shown.
    const bool as_it_is = text.size() < line_length &&
                          std::all_of(text.begin(), text.end(),
                                      [](char c) { return c != '\0' && on_one_line(c) == c; });
    if (as_it_is && repeats(start, text))
        return;
    write("%s", text.c_str());
    slot(last_).own_write = as_it_is;
}

Journal::Line Journal::line(std::uint64_t number) const
{
    const Slot& slot = slots_[(number - 1) % capacity];
    return {number, slot.time_ms, slot.text.data()};
}

} // namespace host
