// SPDX-License-Identifier: MIT
#include "host/bus/signal_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "host/base/printable.h"

namespace host {
namespace {

constexpr std::size_t longest_shown_text = 160;
constexpr std::size_t most_shown_bytes = 48;

// A signal as received. `bytes` is all of it, unless it is longer than what was kept.
struct Payload {
    std::string_view bytes;
    std::size_t length;

    bool has_size(std::size_t size) const { return length == size && bytes.size() == size; }

    // Little-endian; the caller knows the size.
    std::uint32_t word(std::size_t offset) const
    {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i > 0; --i)
            value = value << 8U | static_cast<unsigned char>(bytes[offset + i - 1]);
        return value;
    }
};

// What stands behind the signal's name, or the whole line; nothing when the payload has not
// the form that belongs to the name.
struct Description {
    bool whole_line;
    std::string text;
};

std::string event_name(Store& store, std::uint32_t id)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "txt.evh.stxt.%d", static_cast<std::int32_t>(id));
    std::string_view name;
    if (store.recall(text.data(), name) == 0 && !name.empty())
        return printable(name, longest_shown_text);
    std::snprintf(text.data(), text.size(), "0x%x", id);
    return text.data();
}

// u32 event id, u16 unit, u16 unit index, u32 value, u32 state.
std::optional<Description> event_report(Store& store, const Payload& payload)
{
    constexpr std::uint32_t cleared = 1;
    constexpr std::uint32_t raised = 2;
    if (!payload.has_size(16))
        return std::nullopt;
    const std::uint32_t state = payload.word(12);
    if (state != cleared && state != raised)
        return std::nullopt;
    return Description{true, (state == raised ? "raise " : "clear ") +
                                 event_name(store, payload.word(0))};
}

std::optional<Description> event_definitions(Store&, const Payload& payload)
{
    constexpr std::size_t record = 12;
    if (payload.length == 0 || payload.length % record != 0)
        return std::nullopt;
    return Description{false, std::to_string(payload.length / record) + " definitions"};
}

const char* on_off(char flag)
{
    return flag != '\0' ? "on" : "off";
}

// u32 port, u8 power, three bytes of padding.
std::optional<Description> poe_port(Store&, const Payload& payload)
{
    if (!payload.has_size(8))
        return std::nullopt;
    return Description{false,
                       "port " + std::to_string(payload.word(0)) + " " + on_off(payload.bytes[4])};
}

std::optional<Description> poe_supply(Store&, const Payload& payload)
{
    if (!payload.has_size(1))
        return std::nullopt;
    return Description{false, on_off(payload.bytes[0])};
}

struct KnownSignal {
    std::string_view name;
    std::optional<Description> (*describe)(Store&, const Payload&);
};

constexpr std::array<KnownSignal, 4> known_signals{{
    {"event_handler.forwardEventReport", event_report},
    {"event_handler.registerEventDefinition", event_definitions},
    {"psumcu.poe.signal.set.port.poe.enabled", poe_port},
    {"psumcu.poe.signal.set.poe.psu.enabled", poe_supply},
}};

bool is_text(const Payload& payload)
{
    std::string_view text = payload.bytes;
    if (payload.bytes.size() == payload.length && text.ends_with('\0'))
        text.remove_suffix(1);
    return !text.empty() && std::all_of(text.begin(), text.end(), is_printable);
}

std::string generic_text(const Payload& payload)
{
    std::string text;
    if (is_text(payload)) {
        const std::string_view words = payload.bytes.substr(0, payload.bytes.find('\0'));
        text = '"' + printable(words, longest_shown_text) + '"';
        if (payload.bytes.size() < payload.length)
            text += "...";
        return text;
    }
    for (const char c : payload.bytes.substr(0, most_shown_bytes)) {
        std::array<char, 4> byte;
        std::snprintf(byte.data(), byte.size(), "%s%02x", text.empty() ? "" : " ",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        text += byte.data();
    }
    if (payload.length > most_shown_bytes)
        text += " ...";
    return text;
}

} // namespace

std::string describe_signal(Store& store, std::string_view name, std::string_view bytes,
                            std::size_t length)
{
    const Payload payload{bytes, length};
    std::optional<Description> description;
    for (const KnownSignal& known : known_signals) {
        if (known.name == name)
            description = known.describe(store, payload);
    }
    if (description && description->whole_line)
        return description->text;
    const std::string text = description ? description->text : generic_text(payload);
    return "signal " + printable(name) + (text.empty() ? "" : " ") + text;
}

} // namespace host
