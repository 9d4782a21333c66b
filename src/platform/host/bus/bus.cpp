// SPDX-License-Identifier: MIT
#include "host/bus/bus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "host/base/printable.h"

namespace {

using host::printable;

constexpr std::size_t longest_payload = std::size_t{64} * 1024;
constexpr std::size_t longest_shown_text = 160;
constexpr std::size_t most_shown_bytes = 48;

bool is_text(std::string_view bytes, std::size_t length)
{
    if (bytes.size() == length && bytes.ends_with('\0'))
        bytes.remove_suffix(1);
    return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), host::is_printable);
}

// Of a signal that nobody describes.
std::string generic_text(std::string_view bytes, std::size_t length)
{
    std::string text;
    if (is_text(bytes, length)) {
        text = '"' + printable(bytes.substr(0, bytes.find('\0')), longest_shown_text) + '"';
        if (bytes.size() < length)
            text += "...";
        return text;
    }
    for (const char c : bytes.substr(0, most_shown_bytes)) {
        std::array<char, 4> byte;
        std::snprintf(byte.data(), byte.size(), "%s%02x", text.empty() ? "" : " ",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        text += byte.data();
    }
    if (length > most_shown_bytes)
        text += " ...";
    return text;
}

} // namespace

int _cbus_conn_t::send(std::string_view name, std::string_view payload)
{
    if (payload.size() > longest_payload)
        return -EMSGSIZE;
    if (const int error = store_.publish(name, payload); error != 0)
        return error;
    signals_.add(name, payload);
    journal_.write("%s", describe(name, payload, payload.size()).c_str());
    return 0;
}

std::string _cbus_conn_t::describe(std::string_view name, std::string_view payload,
                                   std::size_t length) const
{
    std::array<char, longest_shown_text + 1> words{};
    int kind = -1;
    if (const auto found = describers_.find(name); found != describers_.end())
        kind = found->second(payload.data(), static_cast<unsigned int>(payload.size()),
                             static_cast<unsigned int>(length), words.data(), words.size());
    std::string text = kind < 0 ? generic_text(payload, length) : printable(words.data());
    if (kind == CBUS_TEXT_IS_LINE)
        return text;
    return "signal " + printable(name) + (text.empty() ? "" : " ") + text;
}
