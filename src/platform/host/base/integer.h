// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace host {

// The whole text as a signed 32-bit decimal number: no blanks, no plus sign, nothing behind it.
inline std::optional<std::int32_t> parse_integer(std::string_view text)
{
    std::int32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

} // namespace host
