// SPDX-License-Identifier: MIT
#include "host/base/printable.h"

namespace host {

std::string printable(std::string_view text, std::size_t limit)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const char c : text.substr(0, limit)) {
        if (is_printable(c)) {
            result += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result += "\\x";
        result += digits[byte >> 4U];
        result += digits[byte & 0xfU];
    }
    if (text.size() > limit)
        result += "...";
    return result;
}

} // namespace host
