// SPDX-License-Identifier: MIT
#include "event_handler/event_client.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <vector>

#include "base/terminal.h"
#include "event_handler/event_db.h"
#include "host/host.h"
#include "support/terminal.h"
#include "temperature/temp_actions.h"
#include "usb/usb_fault_handler.h"

namespace {

// Signals since the last call: "NAME LENGTH: bytes".
class SignalReader {
public:
    std::string take()
    {
        const host::SignalLog& log = host::instance().signals;
        std::string text;
        while (seen_ < log.count()) {
            const host::SignalLog::Signal& signal = log.signal(++seen_);
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

private:
    std::uint64_t seen_ = host::instance().signals.count();
};

class EventClient : public testing::Test {
protected:
    EventClient() : terminal("qv1305A")
    {
        cbus_conn = cbus_conn_create(main_fdloop, "pwr_man.");
        setEventConnection(cbus_conn);
        terminal.story();
    }

    Terminal terminal;
};

TEST_F(EventClient, PublishesTextsBeforeDefinitions)
{
    registerEventDefinition(power_man::temperature_event_definitions.data(), 9);
    registerEventDefinition(&usb_event_definition, 1);
    registerEventDefinition(nullptr, 0);
    EXPECT_EQ(terminal.story(), R"(set txt.evh.stxt.66049 EV_AP_HIGH_TEMP_REDUCED_PERFORMANCE
set txt.evh.stxt.66050 EV_AP_HIGH_TEMP_USB
set txt.evh.stxt.66051 EV_AP_HIGH_TEMP_USB_EXT
set txt.evh.stxt.66052 EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set txt.evh.stxt.66053 EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
set txt.evh.stxt.66054 EV_AP_HIGH_TEMP_CLOSE_TERMINAL
set txt.evh.stxt.66055 EV_AP_TEMP_LOW
set txt.evh.stxt.66056 EV_AP_HIGH_TEMP_POE
set txt.evh.stxt.66057 EV_AP_HIGH_TEMP_WARN
signal event_handler.registerEventDefinition 9 definitions
set txt.evh.stxt.66560 USB short circuit
signal event_handler.registerEventDefinition 1 definitions
signal event_handler.registerEventDefinition
)");
}

TEST_F(EventClient, SendsItsRecordsByteForByte)
{
    SignalReader signals;
    // The third word is an address of this process on a 32-bit machine only.
    constexpr EventDefinition definitions[] = {{0x10206, 2, "THE END"}, {0xfedcba98, 1, "TEXT"}};
    registerEventDefinition(definitions, 2);
    if constexpr (sizeof(void*) > 4) {
        EXPECT_EQ(signals.take(),
                  "event_handler.registerEventDefinition 24: 06 02 01 00 02 00 00 00 00 00 00 00"
                  " 98 ba dc fe 01 00 00 00 00 00 00 00\n");
    } else {
        EXPECT_TRUE(signals.take().starts_with(
            "event_handler.registerEventDefinition 24: 06 02 01 00 02 00 00 00"));
    }
    EXPECT_EQ(terminal.value("txt.evh.stxt.-19088744"), "TEXT");

    EXPECT_EQ(reportEventOnUnit(0x10400, 0x0401, 0, EV_STATE_RAISED, 0), 0);
    EXPECT_EQ(reportEventOnUnit(0x01020304, 0x0506, 0x0708, 0x090a0b0c, 0x0d0e0f10), 0);
    const EventReport report = {0x10400, 0x0401, 0, 0, EV_STATE_CLEARED};
    EXPECT_EQ(forwardEventReport(&report), 0);
    EXPECT_EQ(clearEvents(7), 0);
    EXPECT_EQ(clearEvents(4294967295U), 0);
    EXPECT_EQ(
        signals.take(),
        "event_handler.forwardEventReport 16: 00 04 01 00 01 04 00 00 00 00 00 00 02 00 00 00\n"
        "event_handler.forwardEventReport 16: 04 03 02 01 06 05 08 07 10 0f 0e 0d 0c 0b 0a 09\n"
        "event_handler.forwardEventReport 16: 00 04 01 00 01 04 00 00 00 00 00 00 01 00 00 00\n"
        "event_handler.clearEvents 2: 37 00\n"
        "event_handler.clearEvents 11: 34 32 39 34 39 36 37 32 39 35 00\n");
}

TEST_F(EventClient, KeepsTextAttributes)
{
    std::array<char, 8> text = {"before"};
    EventDb::writeTextAttr("ltext", 2147483648U, "seven c");
    EXPECT_EQ(terminal.value("txt.evh.ltext.-2147483648"), "-"); // the key is cut to 24 characters
    EXPECT_EQ(terminal.value("txt.evh.ltext.-214748364"), "seven c");
    EXPECT_EQ(EventDb::readTextAttr("ltext", 2147483648U, text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), "seven c");
    terminal.story();
    EXPECT_EQ(EventDb::readTextAttr("stxt", 5, text.data(), text.size()), -2);
    EXPECT_EQ(EventDb::readTextAttr("ltext", 2147483648U, text.data(), 7), -90);
    EXPECT_STREQ(text.data(), "seven c");
    EXPECT_EQ(terminal.story(),
              R"(log 3 readTextAttr: config_read_string[txt.evh.stxt.5] failed(-2)
log 3 readTextAttr: config_read_string[txt.evh.ltext.-214748364] failed(-90)
)");
    EXPECT_DEATH(EventDb::readTextAttr("longer", 5, text.data(), text.size()),
                 "\\*\\*\\* ASSERT in event_db at [0-9]+");
    EXPECT_DEATH(EventDb::writeTextAttr("longer", 5, ""), "\\*\\*\\* ASSERT in event_db at [0-9]+");
}

TEST_F(EventClient, LogsWhatItCannotSendOrWrite)
{
    host::instance().connected = false; // the database is away
    registerEventDefinition(&usb_event_definition, 1);
    host::instance().connected = true;
    EXPECT_EQ(terminal.story(),
              R"(log 3 writeTextAttr: config_write_string[txt.evh.stxt.66560] failed(-107)
signal event_handler.registerEventDefinition 1 definitions
)");
    // More than the bus takes at once.
    const std::vector<EventDefinition> many(5462, EventDefinition{1, 1, "x"});
    const std::uint64_t before = host::instance().journal.last();
    registerEventDefinition(many.data(), 5462);
    const host::Journal& journal = host::instance().journal;
    EXPECT_EQ(journal.last(), before + 5463);
    EXPECT_EQ(journal.line(journal.last()).text,
              "log 3 registerEventDefinition: cbus_send_signal failed(-90)");
}

TEST(EventClientStart, NeedsItsConnectionFirst)
{
    Terminal terminal("qv1305A");
    const EventReport report = {1, 2, 3, 4, 5};
    EXPECT_DEATH(forwardEventReport(&report), "Cbus connection not set");
    EXPECT_DEATH(clearEvents(1), "Cbus connection not set");
    EXPECT_DEATH(registerEventDefinition(&usb_event_definition, 1), "Cbus connection not set");
}

} // namespace
