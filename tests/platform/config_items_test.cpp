// SPDX-License-Identifier: MIT
// Several keys in one call: what is found, what is refused, what is written where.
#include "support/platform.h"

#include <cstring>

namespace {

class ConfigItems : public testing::Test {
protected:
    ConfigItems() { connect_platform(); }

    static std::string get(const char* key)
    {
        std::string_view value;
        return host::instance().configuration.read(key, value) == 0 ? std::string(value) : "-";
    }
};

config_data_t item(std::uint32_t type, const char* key, void* data, std::uint32_t size)
{
    return {type, key, data, size, 77, 77};
}

// "KEY=VALUE ..." of what config_readm() finds, or its error.
std::string matches(const char* pattern)
{
    unsigned int count = 0;
    config_data_t* found = nullptr;
    std::string text;
    if (const int error = config_readm(pattern, &count, &found); error != 0)
        text = std::to_string(error);
    for (unsigned int i = 0; i < count; ++i) {
        const auto* const value = static_cast<const std::int32_t*>(found[i].data);
        text += std::string(i == 0 ? "" : " ") + found[i].key + "=";
        text += value != nullptr ? std::to_string(*value) : "?";
        EXPECT_EQ(value == nullptr, found[i].status != 0);
    }
    std::free(found);
    return text;
}

} // namespace

TEST_F(ConfigItems, ReadingTellsForEachItemAndStaysInsideItsData)
{
    const std::string_view with_nul("12\0ab678", 8);
    put_value("a.number", "-12");
    put_value("a.text", "abc");
    put_value("a.bytes", with_nul);
    put_value("a.word", "ten");
    const struct {
        std::uint32_t type;
        const char* key;
        std::uint32_t size;
        int status;
        std::uint32_t length;
        std::string_view left; // in data that was full of '?'
    } cases[] = {{CONFIG_TYPE_INTEGER, "a.number", 4, 0, 4, "\xf4\xff\xff\xff"},
                 {CONFIG_TYPE_INTEGER, "a.word", 4, -EINVAL, 3, "????"},
                 {CONFIG_TYPE_INTEGER, "a.none", 4, -ENOENT, 0, "????"},
                 {CONFIG_TYPE_STRING, "a.text", 4, 0, 3, {"abc\0", 4}},
                 {CONFIG_TYPE_STRING, "a.text", 3, -EMSGSIZE, 3, "???"},
                 {CONFIG_TYPE_STRING, "a.bytes", 9, -EINVAL, 8, "?????????"},
                 {CONFIG_TYPE_RAW, "a.bytes", 9, 0, 8, {"12\0ab678?", 9}},
                 {CONFIG_TYPE_RAW, "a.bytes", 5, 0, 8, {"12\0ab", 5}}};
    std::vector<std::unique_ptr<char[]>> data; // on the heap: the sanitizer guards their ends
    std::vector<config_data_t> items;
    for (const auto& each : cases) {
        data.push_back(std::make_unique<char[]>(each.size));
        std::memset(data.back().get(), '?', each.size);
        items.push_back(item(each.type, each.key, data.back().get(), each.size));
    }
    EXPECT_EQ(4, config_readv("a", static_cast<unsigned int>(items.size()), items.data()));
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(cases[i].status, items[i].status) << i;
        EXPECT_EQ(cases[i].length, items[i].length) << i;
        EXPECT_EQ(cases[i].left, std::string_view(data[i].get(), cases[i].size)) << i;
    }
    EXPECT_EQ(0, config_readv("a", 0, nullptr));
}

TEST_F(ConfigItems, ABadItemRefusesTheWholeCall)
{
    put_value("a.b.good", "1");
    const std::string long_key = "a.b." + std::string(300, 'k');
    std::int32_t value = 5;
    const std::pair<config_data_t, int> bad[] = {
        {item(CONFIG_TYPE_INTEGER, "a.bc", &value, 4), -EINVAL},
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
    host::instance().configuration.connect(false);
    EXPECT_EQ(-ENOTCONN, config_readv("a", 1, &good));
    EXPECT_EQ(-ENOTCONN, config_writev("a", 1, &good));
    EXPECT_EQ(std::to_string(-ENOTCONN), matches("a"));
}

TEST_F(ConfigItems, WhatIsWrittenTogetherArrivesTogether)
{
    static std::string delivery; // one line for each call
    const auto note = [](unsigned int count, const config_data_t* records, void*) {
        for (unsigned int i = 0; i < count; ++i)
            delivery += std::string(records[i].key) + (i + 1 < count ? " " : "\n");
    };
    ASSERT_EQ(0, config_change_register("r", note, nullptr));
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
    run_loop();
    EXPECT_EQ("r.3 r.1 r.2\n", delivery);
}

TEST_F(ConfigItems, PatternsMatchWholeKeys)
{
    put_value("r.id.12.cnt", "5");
    put_value("r.id.12.info", "-2147483648");
    put_value("r.id.12.name", "x");
    put_value("r.id.123.cnt", "6");
    put_value("xr.id.12.cnt", "7");
    EXPECT_EQ("r.id.12.cnt=5 r.id.12.info=-2147483648 r.id.12.name=?", matches("r.id.12\\..*"));
    EXPECT_EQ("r.id.12.cnt=5 r.id.123.cnt=6", matches("r\\.id\\.(12|123)\\.cnt"));
    EXPECT_EQ("", matches("r.id") + matches(""));
    const std::string long_pattern(256, 'a');
    for (const char* const pattern :
         {static_cast<const char*>(nullptr), "a(b", long_pattern.c_str()})
        EXPECT_EQ(std::to_string(-EINVAL), matches(pattern));
    for (int i = 0; i < 1024; ++i)
        put_value("many." + std::to_string(i), "1");
    EXPECT_TRUE(matches("many\\..*").ends_with("many.999=1"));
    put_value("many.1024", "1");
    EXPECT_EQ(std::to_string(-E2BIG), matches("many\\..*"));
}

TEST(ConfigParse, StoresIntegersOfKnownKeysOnly)
{
    std::int32_t first = 1;
    std::int32_t second = 2;
    const std::array table = {config_field_t{"first", &first}, config_field_t{"second", &second}};
    std::int32_t nine = 9;
    const std::pair<config_data_t, std::uint32_t> cases[] = {
        {{CONFIG_TYPE_INTEGER, "second", &nine, 4, 4, 0}, 1U},
        {{CONFIG_TYPE_INTEGER, "secon", &nine, 4, 4, 0}, CONFIG_NO_FIELD},
        {{CONFIG_TYPE_INTEGER, "first.x", &nine, 4, 4, 0}, CONFIG_NO_FIELD},
        {{CONFIG_TYPE_INTEGER, "first", nullptr, 4, 3, 0}, CONFIG_NO_FIELD},
        {{CONFIG_TYPE_RAW, "first", &nine, 4, 4, 0}, CONFIG_NO_FIELD},
        {{CONFIG_TYPE_INTEGER, "first", &nine, 2, 4, 0}, CONFIG_NO_FIELD},
        {{CONFIG_TYPE_INTEGER, "first", &nine, 4, 4, 1}, CONFIG_NO_FIELD}};
    for (const auto& [record, field] : cases)
        EXPECT_EQ(field, config_parse(&record, table.data(), table.size())) << record.key;
    EXPECT_EQ(1, first);
    EXPECT_EQ(9, second);
}
