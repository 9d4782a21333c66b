// SPDX-License-Identifier: MIT
// The event store, sound and with each kind of damage at each position.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "ap/config.h"
#include "event_handler/event_db.h"
#include "host/configuration.h"
#include "host/host.h"

namespace {

constexpr unsigned int size = 5; // events in the store

std::string record(unsigned int index)
{
    UserEvent event{2, {}, 0xa0b2c4d8};
    std::memset(event.content, static_cast<int>(index + 1), sizeof event.content);
    return {reinterpret_cast<const char*>(&event), sizeof event};
}

void put(unsigned int index, const std::optional<std::string>& value)
{
    const std::string key = "dyn.evh.store." + std::to_string(index);
    const host::Write write{key, value ? std::optional<std::string_view>(*value) : std::nullopt};
    ASSERT_EQ(0, host::config_write({&write, 1}));
}

// The result of reading `count` events, and the last line of the log.
std::string read(unsigned int count)
{
    // On the heap and no larger than told: the sanitizer guards its ends.
    const auto events = std::make_unique<UserEvent[]>(count);
    host::Journal& journal = host::instance().journal;
    journal.write("no log");
    const int result = EventDb::readEventArr(events.get(), count);
    const std::string log(journal.line(journal.last()).text);
    for (int i = 0; log == "no log" && i < result; ++i)
        EXPECT_EQ(i + 1, events[static_cast<unsigned int>(i)].content[26]);
    return std::to_string(result) + " " + log;
}

class EventStore : public testing::Test {
protected:
    EventStore()
    {
        setenv("AP_LOG_LEVEL", "0", 1);
        host::instance().connected = true;
        for (unsigned int i = 0; i < size; ++i)
            put(i, record(i));
    }
};

} // namespace

TEST_F(EventStore, IsReadUpToTheFirstMissingEvent)
{
    EXPECT_EQ("0 no log", read(0));
    EXPECT_EQ("3 no log", read(3));
    EXPECT_EQ("5 no log", read(5));
    EXPECT_EQ("5 no log", read(9));
    for (unsigned int i = size; i-- > 0;) {
        put(i, std::nullopt);
        EXPECT_EQ(std::to_string(i) + " no log", read(size));
    }
}

TEST_F(EventStore, DamageEndsTheReadingWhereverItIs)
{
    struct Damage {
        std::size_t length; // of the record stored
        std::size_t at;     // the byte changed
        char byte;
        const char* log;
    };
    const Damage damages[] = {
        {31, 0, 2, "length mismatch (31/32)"},
        {33, 0, 2, "length mismatch (33/32)"},
        {0, 0, 2, "length mismatch (0/32)"},
        {60000, 0, 2, "length mismatch (60000/32)"},
        {31, 0, 1, "length mismatch (31/32)"}, // before the version
        {32, 0, 1, "version mismatch (1/2)"},
        {32, 0, '\xff', "version mismatch (255/2)"},
        {32, 28, 0, "magic mismatch (2696070144/2696070360)"},
        {32, 31, 0, "magic mismatch (11715800/2696070360)"},
    };
    for (unsigned int position = 0; position < size; ++position) {
        for (const Damage& damage : damages) {
            std::string bytes = record(position);
            bytes[damage.at] = damage.byte;
            bytes.resize(damage.length, 'x');
            put(position, bytes);
            EXPECT_EQ("5 log 3 readEventArr: " + std::string(damage.log), read(size));
            EXPECT_EQ("5 log 3 readEventArr: " + std::string(damage.log), read(size + 2));
            EXPECT_EQ(std::to_string(position) + " no log", read(position));
        }
        put(position, record(position));
    }
    put(0, std::nullopt);
    put(1, "x");
    EXPECT_EQ("0 no log", read(size)); // nothing behind the end is looked at
}

TEST_F(EventStore, RefusesWhatCannotBeRead)
{
    UserEvent none{};
    EXPECT_EQ(-1, EventDb::readEventArr(&none, 1000001)); // fails before it touches any
    EXPECT_EQ("log 3 readEventArr: unable to allocate UserEvent array - size exeeds the limit of "
              "9999",
              host::instance().journal.line(host::instance().journal.last()).text);
    host::instance().connected = false;
    EXPECT_EQ("-1 no log", read(1));
    EXPECT_EQ("-1 no log", read(0));
}
