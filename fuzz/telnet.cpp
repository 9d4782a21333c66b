// SPDX-License-Identifier: MIT
// Bytes on a telnet connection: the filter of commands, the first line, and line ends.
//
// Code: src/console/telnet_protocol.cpp
#include <unistd.h>

#include <array>

#include "console/fdloop_telnetd.h"
#include "fuzz.h"

using fuzz::require;

namespace {

std::string filtered(std::string_view sent)
{
    std::string text(sent);
    const int length = telnet_input_filter(text.data(), static_cast<int>(text.size()));
    require(length >= 0 && static_cast<std::size_t>(length) <= sent.size());
    return text.substr(0, static_cast<std::size_t>(length));
}

// What fdputs() writes.
std::string put(std::string_view text)
{
    static std::array<int, 2> ends{};
    [[maybe_unused]] static const int made = pipe(ends.data());
    std::array<char, 4096> received;
    const int written = fdputs(ends[1], text.data(), static_cast<int>(text.size()));
    require(written == 0 || read(ends[0], received.data(), received.size()) == written);
    return {received.data(), static_cast<std::size_t>(written)};
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view sent(reinterpret_cast<const char*>(data), size);
    const std::string text = filtered(sent);
    require(filtered(text) == text); // no command is left, but one that is cut off
    std::string by_lines;            // as the console takes them
    for (std::string_view rest = sent; !rest.empty();) {
        const int length = power_man::first_line(rest.data(), static_cast<int>(rest.size()));
        require(length > 0 && static_cast<std::size_t>(length) <= rest.size());
        by_lines += filtered(rest.substr(0, static_cast<std::size_t>(length)));
        rest.remove_prefix(static_cast<std::size_t>(length));
    }
    require(by_lines == text);
    std::string with_returns;
    for (const char c : text.substr(0, 2048))
        with_returns.append(c == '\n' && !with_returns.ends_with('\r') ? 1 : 0, '\r').append(1, c);
    require(put(text.substr(0, 2048)) == with_returns);
    return 0;
}
