// SPDX-License-Identifier: MIT
// Several keys in one call: what is found, what is refused, what is written where.
#include "support/platform.h"

namespace {

class ConfigItems : public testing::Test {
protected:
    ConfigItems() { connect_platform(); }

    static std::string get(const char* key)
    {
        std::string_view value;
        host::instance().configuration.read(key, value);
        return std::string(value);
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
    for (const auto& each : cases) {
        std::vector<char> data(each.size, '?'); // on the heap: the sanitizer guards its end
        config_data_t items[] = {item(each.type, each.key, data.data(), each.size),
                                 item(each.type, each.key, data.data(), each.size)};
        EXPECT_EQ(each.status == 0 ? 2 : 0, config_readv("a", 2, items)) << each.key;
        EXPECT_EQ(each.status, items[1].status) << each.key;
        EXPECT_EQ(each.length, items[1].length) << each.key;
        EXPECT_EQ(each.left, std::string_view(data.data(), each.size));
    }
    EXPECT_EQ(0, config_readv("a", 0, nullptr));
}

TEST_F(ConfigItems, ABadItemRefusesTheWholeCall)
{
    put_value("a.b.good", "1");
    const std::string long_key = "a.b." + std::string(300, 'k');
    std::int32_t value = 5;
    char endless[] = {'a', 'b'};
    const std::pair<config_data_t, int> bad[] = {
        {item(CONFIG_TYPE_INTEGER, "a.bc", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, long_key.c_str(), &value, 4), -ENAMETOOLONG},
        {item(CONFIG_TYPE_INTEGER, nullptr, &value, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "a.b.c", nullptr, 4), -EINVAL},
        {item(CONFIG_TYPE_INTEGER, "a.b.c", &value, 2), -EINVAL},
        {item(CONFIG_TYPE_STRING, "a.b.c", &value, 0), -EINVAL},
        {item(3, "a.b.c", &value, 4), -EINVAL},
        {item(CONFIG_TYPE_STRING, "a.b.c", endless, 2), -EINVAL}}; // to be written
    for (const auto& [each, error] : bad) {
        config_data_t items[] = {item(CONFIG_TYPE_INTEGER, "a.b.good", &value, 4), each};
        if (each.data != endless) {
            EXPECT_EQ(error, config_readv("a.b.", 2, items));
        }
        EXPECT_EQ(error, config_writev("a.b", 2, items));
        EXPECT_EQ(77, items[0].status);
        EXPECT_EQ("1", get("a.b.good"));
    }
    config_data_t good = item(CONFIG_TYPE_INTEGER, "a.b.good", &value, 4);
    EXPECT_EQ(-EINVAL, config_readv(nullptr, 1, &good));
    EXPECT_EQ(-EINVAL, config_writev("a", 1, nullptr));
    EXPECT_EQ(-E2BIG, config_writev("a", 1025, &good));
    host::instance().configuration.connect(false);
    EXPECT_EQ(-ENOTCONN, config_readv("a", 1, &good));
    EXPECT_EQ(-ENOTCONN, config_writev("a", 1, &good));
    EXPECT_EQ(std::to_string(-ENOTCONN), matches("a"));
}

TEST_F(ConfigItems, EachIsWrittenAsItsType)
{
    std::int32_t low = INT32_MIN;
    char text[8] = "abc";
    const std::array items = {item(CONFIG_TYPE_RAW, "r.3", text, 5),
                              item(CONFIG_TYPE_INTEGER, "r.1", &low, 4),
                              item(CONFIG_TYPE_STRING, "r.2", text, 8)};
    EXPECT_EQ(0, config_writev("r.", items.size(), items.data()));
    EXPECT_EQ(std::string("-2147483648 abc abc\0\0", 21),
              get("r.1") + " " + get("r.2") + " " + get("r.3"));
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
    for (const std::string& pattern : {std::string("a(b"), std::string(256, 'a')})
        EXPECT_EQ(std::to_string(-EINVAL), matches(pattern.c_str()));
    EXPECT_EQ(std::to_string(-EINVAL), matches(nullptr));
    for (int i = 0; i < 1024; ++i)
        put_value("many." + std::to_string(i), "1");
    EXPECT_TRUE(matches("many\\..*").ends_with("many.999=1"));
    put_value("many.1024", "1");
    EXPECT_EQ(std::to_string(-E2BIG), matches("many\\..*"));
}
