// SPDX-License-Identifier: MIT
#include "base/port_number.h"

#include <algorithm>

namespace power_man {
namespace {

constexpr std::size_t safe_digits = 9;

void skip(std::string_view& text, std::string_view characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

} // namespace

bool scanf_can_hold(std::string_view text)
{
    skip(text, " \t\n\v\f\r");
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    skip(text, "0");
    return std::min(text.find_first_not_of("0123456789"), text.size()) <= safe_digits;
}

} // namespace power_man
