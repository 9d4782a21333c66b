// SPDX-License-Identifier: MIT
#include "event_handler/event_client.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "ap/log.h"
#include "ap/text.h"
#include "event_handler/event_db.h"

namespace {

static_assert(std::endian::native == std::endian::little, "records are sent as they are in memory");
static_assert(sizeof(EventReport) == 16);

using DefinitionWords = std::array<std::uint32_t, 3>;
static_assert(sizeof(DefinitionWords) == 12);

constexpr const char* report_signal = "event_handler.forwardEventReport";
constexpr const char* definition_signal = "event_handler.registerEventDefinition";

_cbus_conn_t* event_connection = nullptr;

// Of the events that this process has defined: a line about one waits for no database.
std::map<std::uint32_t, std::string>& event_names()
{
    static std::map<std::uint32_t, std::string> names;
    return names;
}

int describe_report(const void* data, unsigned int kept, unsigned int length, char* text,
                    unsigned int size)
{
    EventReport report{};
    if (length != sizeof report || kept != length)
        return -1;
    std::memcpy(&report, data, sizeof report);
    if (report.state != EV_STATE_RAISED && report.state != EV_STATE_CLEARED)
        return -1;
    const char* const verb = report.state == EV_STATE_RAISED ? "raise" : "clear";
    const auto name = event_names().find(report.eventId);
    if (name != event_names().end() && !name->second.empty())
        qv_snprintf(text, size, "%s %s", verb, name->second.c_str());
    else
        qv_snprintf(text, size, "%s 0x%x", verb, report.eventId);
    return CBUS_TEXT_IS_LINE;
}

int describe_definitions(const void*, unsigned int, unsigned int length, char* text,
                         unsigned int size)
{
    constexpr unsigned int record = sizeof(DefinitionWords);
    if (length == 0 || length % record != 0)
        return -1;
    qv_snprintf(text, size, "%u definitions", length / record);
    return CBUS_TEXT_BEHIND_NAME;
}

void send(const char* function, const char* signal, const void* data, std::size_t length)
{
    if (event_connection == nullptr)
        qv_panic("Cbus connection not set");
    const int result =
        cbus_send_signal(event_connection, signal, data, static_cast<unsigned int>(length));
    if (result != 0)
        qv_slog(3, "%s: cbus_send_signal failed(%d)\n", function, result);
}

// The handler knows the address only as a number; on a wide machine it would be cut, and would
// tell where this process lies in memory.
std::uint32_t text_word(const char* text)
{
    if constexpr (sizeof(text) == sizeof(std::uint32_t))
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(text));
    return 0;
}

} // namespace

void setEventConnection(_cbus_conn_t* connection)
{
    event_connection = connection;
    cbus_describe(report_signal, describe_report);
    cbus_describe(definition_signal, describe_definitions);
    cbus_repeat(definition_signal);
}

void registerEventShortText(const EventDefinition* definitions, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i) {
        if (definitions[i].shortText != nullptr)
            event_names()[definitions[i].id] = definitions[i].shortText;
        EventDb::writeTextAttr("stxt", definitions[i].id, definitions[i].shortText);
    }
}

void registerEventDefinition(const EventDefinition* definitions, unsigned int count)
{
    registerEventShortText(definitions, count);
    std::vector<DefinitionWords> records;
    records.reserve(count);
    for (unsigned int i = 0; i < count; ++i)
        records.push_back(
            {definitions[i].id, definitions[i].kind, text_word(definitions[i].shortText)});
    send("registerEventDefinition", definition_signal, records.data(),
         records.size() * sizeof(DefinitionWords));
}

int forwardEventReport(const EventReport* report)
{
    send("forwardEventReport", report_signal, report, sizeof *report);
    return 0;
}

int reportEventOnUnit(unsigned int eventId, std::uint16_t unit, std::uint16_t unitIndex,
                      unsigned int state, unsigned int value)
{
    const EventReport report{eventId, unit, unitIndex, value, state};
    return forwardEventReport(&report);
}

int clearEvents(unsigned int number)
{
    std::array<char, 32> text;
    const int length = qv_snprintf(text.data(), text.size(), "%u", number);
    send("clearEvents", "event_handler.clearEvents", text.data(),
         static_cast<std::size_t>(length) + 1);
    return 0;
}
