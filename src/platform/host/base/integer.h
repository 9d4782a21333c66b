// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace host {

// The whole text as a signed decimal number, of 32 bits if nothing else is said: no blanks, no plus
// sign, nothing behind it.
template <typename Number = std::int32_t>
std::optional<Number> parse_integer(std::string_view text)
{
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

} // namespace host
