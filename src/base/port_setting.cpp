// SPDX-License-Identifier: MIT
#include "base/port_setting.h"

#include <algorithm>
#include <charconv>

namespace power_man {
namespace {

constexpr std::size_t most_digits = 9;

// Takes the characters of that kind from the beginning of the text.
std::string_view take_all(std::string_view& text, std::string_view characters)
{
    const std::string_view taken =
        text.substr(0, std::min(text.find_first_not_of(characters), text.size()));
    text.remove_prefix(taken.size());
    return taken;
}

} // namespace

std::optional<PortSetting> parse_port_setting(std::string_view key, std::string_view prefix)
{
    if (!key.starts_with(prefix))
        return std::nullopt;
    std::string_view rest = key.substr(prefix.size());
    take_all(rest, " \t\n\v\f\r");
    const bool negative = rest.starts_with('-');
    if (negative || rest.starts_with('+'))
        rest.remove_prefix(1);
    const bool zeros = !take_all(rest, "0").empty();
    const std::string_view digits = take_all(rest, "0123456789");
    if (digits.size() > most_digits || (digits.empty() && !zeros))
        return std::nullopt;
    std::int32_t port = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), port);
    return PortSetting{negative ? -port : port, rest};
}

} // namespace power_man
