// SPDX-License-Identifier: MIT
// Several keys in one call: what is found, what is refused, what is written where.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "ap/config.h"
#include "host/configuration.h"
#include "host/host.h"

namespace {

class ConfigItems : public testing::Test {
protected:
    ConfigItems() { host::instance().connected = true; }

    static void put(std::string_view key, std::string_view value)
    {
        const host::Write write{key, value};
        ASSERT_EQ(0, host::config_write({&write, 1}));
    }

    static std::string get(const char* key)
    {
        std::string_view value;
        return host::config_read(key, value) == 0 ? std::string(value) : "-";
    }
};

config_data_t item(std::uint32_t type, const char* key, void* data, std::uint32_t size)
{
    return {type, key, data, size, 77, 77};
}

struct Free {
    void operator()(config_data_t* items) const { std::free(items); }
};

// "KEY=VALUE ..." of what config_readm() finds, or its error.
std::string matches(const char* pattern)
{
    unsigned int count = 0;
    config_data_t* found = nullptr;
    if (const int error = config_readm(pattern, &count, &found); error != 0)
        return std::to_string(error);
    const std::unique_ptr<config_data_t, Free> items(found);
    std::string text;
    for (unsigned int i = 0; i < count; ++i) {
        const auto* const value = static_cast<const std::int32_t*>(found[i].data);
        text += std::string(text.empty() ? "" : " ") + found[i].key + "=" +
                (value != nullptr ? std::to_string(*value) : "?");
        EXPECT_EQ(value == nullptr, found[i].status != 0);
    }
    return text;
}

std::string delivery; // one line for each call of the change callback

void note_delivery(unsigned int count, const config_data_t* records, void*)
{
    for (unsigned int i = 0; i < count; ++i)
        delivery += std::string(records[i].key) + " ";
    delivery += "\n";
}

} // namespace

TEST_F(ConfigItems, ReadingTellsForEachItemAndStaysInsideItsData)
{
    put("a.number", "-12");
    put("a.text", "abc");
    put("a.bytes", std::string_view("12\0456789", 8));
    put("a.word", "ten");
    std::int32_t number = 1;
    std::int32_t word = 2;
    std::int32_t missing = 3;
    auto fits = std::make_unique<char[]>(4); // on the heap: the sanitizer guards their ends
    auto tight = std::make_unique<char[]>(3);
    auto bytes = std::make_unique<char[]>(8);
    auto cut = std::make_unique<char[]>(5);
    std::array items = {item(CONFIG_TYPE_INTEGER, "a.number", &number, 4),
                        item(CONFIG_TYPE_INTEGER, "a.word", &word, 4),
                        item(CONFIG_TYPE_INTEGER, "a.none", &missing, 4),
                        item(CONFIG_TYPE_STRING, "a.text", fits.get(), 4),
                        item(CONFIG_TYPE_STRING, "a.text", tight.get(), 3),
                        item(CONFIG_TYPE_STRING, "a.bytes", fits.get(), 4),
                        item(CONFIG_TYPE_RAW, "a.bytes", bytes.get(), 8),
                        item(CONFIG_TYPE_RAW, "a.bytes", cut.get(), 5)};
    EXPECT_EQ(4, config_readv("a", items.size(), items.data()));
    std::string results;
    for (const config_data_t& each : items)
        results += std::to_string(each.status) + "/" + std::to_string(each.length) + " ";
    const std::string no_integer = std::to_string(-EINVAL);
    EXPECT_EQ("0/4 " + no_integer + "/3 " + std::to_string(-ENOENT) + "/0 0/3 " +
                  std::to_string(-EMSGSIZE) + "/3 " + no_integer + "/8 0/8 0/8 ",
              results);
    EXPECT_EQ(-12, number);
    EXPECT_EQ(2, word);
    EXPECT_EQ(3, missing);
    EXPECT_STREQ("abc", fits.get());
    EXPECT_EQ(0, std::memcmp(bytes.get(), "12\0456789", 8));
    EXPECT_EQ(0, std::memcmp(cut.get(), "12\04567", 5));
    EXPECT_EQ(0, config_readv("a", 0, nullptr));
}

TEST_F(ConfigItems, ABadItemRefusesTheWholeCall)
{
    put("a.b.good", "1");
    const std::string long_key = "a.b." + std::string(300, 'k');
    std::int32_t value = 5;
    const std::pair<config_data_t, int> bad[] = {
        {item(CONFIG_TYPE_INTEGER, "a.bc", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "x", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "a.b.two words", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, long_key.c_str(), &value, 4), -ENAMETOOLONG},
        {item(CONFIG_TYPE_INTEGER, nullptr, &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "a.b.c", nullptr, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "a.b.c", &value, 2), -EINVAL},
        {item(CONFIG_TYPE_STRING, "a.b.c", &value, 0), -EINVAL},
        {item(3, "a.b.c", &value, 4), -EINVAL}};
    for (const char* const prefix : {"a.b", "a.b."}) {
        for (const auto& [each, error] : bad) {
            std::array items = {item(CONFIG_TYPE_INTEGER, "a.b.good", &value, 4), each};
            EXPECT_EQ(error, config_readv(prefix, 2, items.data()));
            EXPECT_EQ(77, items[0].status);
            EXPECT_EQ(error, config_writev(prefix, 2, items.data()));
            EXPECT_EQ("1", get("a.b.good"));
        }
    }
    config_data_t good = item(CONFIG_TYPE_INTEGER, "a.b.good", &value, 4);
    EXPECT_EQ(-EINVAL, config_readv(nullptr, 1, &good));
    EXPECT_EQ(-EINVAL, config_writev("a", 1, nullptr));
    EXPECT_EQ(-E2BIG, config_writev("a", 1025, &good));
    char endless[] = {'a', 'b'};
    const config_data_t no_end = item(CONFIG_TYPE_STRING, "a.b.c", endless, 2);
    EXPECT_EQ(-EINVAL, config_writev("a.b", 1, &no_end));
    host::instance().connected = false;
    EXPECT_EQ(-ENOTCONN, config_readv("a", 1, &good));
    EXPECT_EQ(-ENOTCONN, config_writev("a", 1, &good));
    EXPECT_EQ(std::to_string(-ENOTCONN), matches("a"));
}

TEST_F(ConfigItems, WhatIsWrittenTogetherArrivesTogether)
{
    _fdloop_t* const loop = fdloop_init();
    ASSERT_EQ(0, config_change_register("r", note_delivery, nullptr));
    std::int32_t low = INT32_MIN;
    char text[8] = "abc";
    const std::array items = {item(CONFIG_TYPE_RAW, "r.3", text, 5),
                              item(CONFIG_TYPE_INTEGER, "r.1", &low, 4),
                              item(CONFIG_TYPE_STRING, "r.2", text, 8)};
    EXPECT_EQ(0, config_writev("r.", items.size(), items.data()));
    EXPECT_EQ("-2147483648", get("r.1"));
    EXPECT_EQ("abc", get("r.2"));
    EXPECT_EQ(std::string("abc\0\0", 5), get("r.3"));
    EXPECT_EQ("", delivery);
    loop->run_for(0);
    EXPECT_EQ("r.3 r.1 r.2 \n", delivery);
}

TEST_F(ConfigItems, PatternsMatchWholeKeys)
{
    put("r.id.12.cnt", "5");
    put("r.id.12.info", "-2147483648");
    put("r.id.12.name", "x");
    put("r.id.123.cnt", "6");
    put("xr.id.12.cnt", "7");
    EXPECT_EQ("r.id.12.cnt=5 r.id.12.info=-2147483648 r.id.12.name=?", matches("r.id.12\\..*"));
    EXPECT_EQ("r.id.12.cnt=5 r.id.123.cnt=6", matches("r\\.id\\.(12|123)\\.cnt"));
    EXPECT_EQ("", matches("r.id"));
    EXPECT_EQ("", matches(""));
    const std::string invalid = std::to_string(-EINVAL);
    EXPECT_EQ(invalid, matches("a(b"));
    EXPECT_EQ(invalid, matches(nullptr));
    EXPECT_EQ(invalid, matches(std::string(256, 'a').c_str()));
    for (int i = 0; i < 1024; ++i)
        put("many." + std::to_string(i), "1");
    unsigned int count = 0;
    config_data_t* found = nullptr;
    EXPECT_EQ(0, config_readm("many\\..*", &count, &found));
    EXPECT_EQ(1024U, count);
    std::free(found);
    put("many.1024", "1");
    EXPECT_EQ(std::to_string(-E2BIG), matches("many\\..*"));
}

TEST(ConfigParse, StoresIntegersOfKnownKeysOnly)
{
    std::int32_t first = 1;
    std::int32_t second = 2;
    const std::array table = {config_field_t{"first", &first}, config_field_t{"second", &second}};
    std::int32_t value = 9;
    config_data_t record = {CONFIG_TYPE_INTEGER, "second", &value, 4, 4, 0};
    EXPECT_EQ(1U, config_parse(&record, table.data(), table.size()));
    EXPECT_EQ(9, second);
    value = 10;
    for (const char* const key : {"secon", "secondd", "Second", "", "second.x"}) {
        record.key = key;
        EXPECT_EQ(CONFIG_NO_FIELD, config_parse(&record, table.data(), table.size())) << key;
    }
    for (const config_data_t& bad : {config_data_t{CONFIG_TYPE_INTEGER, "first", nullptr, 4, 3, 0},
                                     config_data_t{CONFIG_TYPE_RAW, "first", &value, 4, 4, 0},
                                     config_data_t{CONFIG_TYPE_INTEGER, "first", &value, 2, 4, 0},
                                     config_data_t{CONFIG_TYPE_INTEGER, "first", &value, 4, 4, 1}})
        EXPECT_EQ(CONFIG_NO_FIELD, config_parse(&bad, table.data(), table.size()));
    EXPECT_EQ(1, first);
    EXPECT_EQ(9, second);
}
