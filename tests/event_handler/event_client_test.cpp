// SPDX-License-Identifier: MIT
#include "event_handler/event_client.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "event_handler/event_db.h"
#include "support/terminal.h"
#include "usb/usb_fault_handler.h"

namespace {

class EventClient : public testing::Test {
protected:
    EventClient()
    {
        cbus_conn = cbus_conn_create(main_fdloop, "pwr_man.");
        setEventConnection(cbus_conn);
        terminal.story();
    }

    Terminal terminal{"qv1305A"};
};

// Every signal so far: "NAME LENGTH: bytes".
std::string signals()
{
    const host::SignalLog& log = host::instance().bus.sent();
    std::string text;
    for (std::uint64_t i = 1; i <= log.count(); ++i) {
        const host::SignalLog::Signal& signal = log.signal(i);
        text += std::string(signal.name.data()) + " " + std::to_string(signal.length) + ":";
        for (const char byte : signal.kept()) {
            std::array<char, 4> hex;
            std::snprintf(hex.data(), hex.size(), " %02x", static_cast<unsigned char>(byte));
            text += hex.data();
        }
        text += "\n";
    }
    return text;
}

TEST_F(EventClient, TellsItsSignalsInWords)
{
    using namespace std::string_view_literals;
    constexpr EventDefinition definition = {0x10203, 1, "EV_HOT\x1b"};
    registerEventDefinition(&definition, 1);
    const auto report = "\x03\x02\x01\0\x01\x04\0\0\0\0\0\0\x02\0\0\0"sv;
    const auto unnamed = "\xff\xff\xff\xff\x01\x04\0\0\0\0\0\0\x01\0\0\0"sv;
    const std::string name = "event_handler.forwardEventReport";
    const std::string definitions = "event_handler.registerEventDefinition";
    const std::tuple<std::string, std::string_view, std::size_t, std::string> cases[] = {
        {name, report, 16, "raise EV_HOT\\x1b"},
        {name, unnamed, 16, "clear 0xffffffff"},
        {name, report.substr(0, 3), 16, "signal " + name + " 03 02 01"},
        {name, "\x01", 1, "signal " + name + " 01"},
        {definitions, unnamed, 108, "signal " + definitions + " 9 definitions"},
        {definitions, "\x01", 1, "signal " + definitions + " 01"},
    };
    for (const auto& [signal, bytes, length, text] : cases)
        EXPECT_EQ(host::instance().bus.describe(signal, bytes, length), text);
}

TEST_F(EventClient, SendsItsRecordsByteForByte)
{
    EXPECT_EQ(reportEventOnUnit(0x01020304, 0x0506, 0x0708, 0x090a0b0c, 0x0d0e0f10), 0);
    const EventReport report = {0x10400, 0x0401, 0, 0, EV_STATE_CLEARED};
    EXPECT_EQ(forwardEventReport(&report), 0);
    EXPECT_EQ(clearEvents(7), 0);
    EXPECT_EQ(clearEvents(4294967295U), 0);
    registerEventDefinition(nullptr, 0);
    // The third word is an address of this process on a 32-bit machine only.
    constexpr EventDefinition definitions[] = {{0x10206, 2, "THE END"}, {0xfedcba98, 1, "TEXT"}};
    if constexpr (sizeof(void*) > 4)
        registerEventDefinition(definitions, 2);
    EXPECT_EQ(
        signals(),
        std::string(
            R"(event_handler.forwardEventReport 16: 04 03 02 01 06 05 08 07 10 0f 0e 0d 0c 0b 0a 09
event_handler.forwardEventReport 16: 00 04 01 00 01 04 00 00 00 00 00 00 01 00 00 00
event_handler.clearEvents 2: 37 00
event_handler.clearEvents 11: 34 32 39 34 39 36 37 32 39 35 00
event_handler.registerEventDefinition 0:
)") + (sizeof(void*) > 4
           ? "event_handler.registerEventDefinition 24: 06 02 01 00 02 00 00 00 00 00 00 00 "
             "98 ba dc fe 01 00 00 00 00 00 00 00\n"
           : ""));
}

TEST_F(EventClient, KeepsTextAttributes)
{
    std::array<char, 8> text = {"before"};
    EventDb::writeTextAttr("ltext", 2147483648U, "seven c"); // the key is cut to 24 characters
    EXPECT_EQ(EventDb::readTextAttr("ltext", 2147483648U, text.data(), text.size()), 0);
    EXPECT_EQ(EventDb::readTextAttr("stxt", 5, text.data(), text.size()), -2);
    EXPECT_EQ(EventDb::readTextAttr("ltext", 2147483648U, text.data(), 7), -90);
    EXPECT_STREQ(text.data(), "seven c");
    EXPECT_EQ(terminal.story(), R"(set txt.evh.ltext.-214748364 seven c
log 3 readTextAttr: config_read_string[txt.evh.stxt.5] failed(-2)
log 3 readTextAttr: config_read_string[txt.evh.ltext.-214748364] failed(-90)
)");
    constexpr const char* assertion = "\\*\\*\\* ASSERT in event_db at [0-9]+";
    EXPECT_DEATH(EventDb::readTextAttr("longer", 5, text.data(), text.size()), assertion);
    EXPECT_DEATH(EventDb::writeTextAttr("longer", 5, ""), assertion);
}

TEST_F(EventClient, LogsWhatItCannotSendOrWrite)
{
    host::instance().configuration.connect(false); // the database is away
    registerEventDefinition(&usb_event_definition, 1);
    host::instance().configuration.connect();
    EXPECT_EQ(terminal.story(),
              R"(log 3 writeTextAttr: config_write_string[txt.evh.stxt.66560] failed(-107)
signal event_handler.registerEventDefinition 1 definitions
)");
    // More than the bus takes at once.
    const std::vector<EventDefinition> many(5462, EventDefinition{1, 1, "x"});
    registerEventDefinition(many.data(), 5462);
    const host::Journal& journal = host::instance().journal;
    EXPECT_EQ(journal.line(journal.last()).text,
              "log 3 registerEventDefinition: cbus_send_signal failed(-90)");
    setEventConnection(nullptr);
    const EventReport report = {1, 2, 3, 4, 5};
    EXPECT_DEATH(forwardEventReport(&report), "Cbus connection not set");
    EXPECT_DEATH(clearEvents(1), "Cbus connection not set");
    EXPECT_DEATH(registerEventDefinition(&usb_event_definition, 1), "Cbus connection not set");
}

// The event store, sound and with each kind of damage at each position.
TEST_F(EventClient, ReadsItsStoreUpToTheFirstMissingEventOrDamage)
{
    constexpr unsigned int size = 5; // events in the store
    const auto record = [](unsigned int index) {
        UserEvent event{2, {}, 0xa0b2c4d8};
        std::memset(event.content, static_cast<int>(index + 1), sizeof event.content);
        return std::string(reinterpret_cast<const char*>(&event), sizeof event);
    };
    const auto put = [&](unsigned int index, const std::optional<std::string>& value) {
        terminal.change({{"dyn.evh.store." + std::to_string(index), value}});
    };
    // The result of reading `count` events, and the log.
    const auto read = [&](unsigned int count) {
        // On the heap and no larger than told: the sanitizer guards its ends.
        const auto events = std::make_unique<UserEvent[]>(count);
        const int result = EventDb::readEventArr(events.get(), count);
        const std::string log = terminal.story();
        for (int i = 0; log.empty() && i < result; ++i)
            EXPECT_EQ(i + 1, events[static_cast<unsigned int>(i)].content[26]);
        return std::to_string(result) + " " + log;
    };
    for (unsigned int i = 0; i < size; ++i)
        put(i, record(i));
    EXPECT_EQ("0 3 5 5 ", read(0) + read(3) + read(5) + read(9));
    for (unsigned int position = size; position-- > 0;) {
        const std::string sound = record(position);
        const std::pair<std::string, const char*> damages[] = {
            {"\1" + sound.substr(1, 30), "length mismatch (31/32)"}, // before the version
            {sound + "x", "length mismatch (33/32)"},
            {"", "length mismatch (0/32)"},
            {std::string(60000, 'x'), "length mismatch (60000/32)"},
            {"\xff" + sound.substr(1), "version mismatch (255/2)"},
            {sound.substr(0, 31) + '\0', "magic mismatch (11715800/2696070360)"},
        };
        for (const auto& [bytes, log] : damages) {
            put(position, bytes);
            const std::string expected =
                std::to_string(position + 1) + " log 3 readEventArr: " + log + "\n";
            EXPECT_EQ(expected + expected, read(size) + read(size + 2));
            EXPECT_EQ(std::to_string(position) + " ", read(position));
        }
        put(position, std::nullopt);
        EXPECT_EQ(std::to_string(position) + " ", read(size));
    }
    put(1, "x");
    EXPECT_EQ("0 ", read(size)); // nothing behind the end is looked at
    UserEvent none{};
    EXPECT_EQ(-1, EventDb::readEventArr(&none, 1000001)); // fails before it touches any
    EXPECT_EQ("log 3 readEventArr: unable to allocate UserEvent array - size exeeds the limit of "
              "9999\n",
              terminal.story());
    host::instance().configuration.connect(false);
    EXPECT_EQ("-1 -1 ", read(1) + read(0));
}

} // namespace
