// SPDX-License-Identifier: MIT
#include "host/seed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "ap/config.h"
#include "host/host.h"
#include "host/memory_store.h"
#include "host/settings.h"
#include "host/trace.h"

namespace {

const std::string file = testing::TempDir() + "power_man_seed_test";

// The keys and values that a seed leaves, or the complaint about it without the file's name.
std::string seed(const std::string& content)
{
    std::ofstream(file, std::ios::trunc) << content;
    host::ChangeDispatcher changes;
    host::MemoryStore store(changes);
    std::string error;
    std::vector<std::string> keys;
    const bool loaded = host::load_seed(file, store, error);
    store.list("", keys);
    std::string left;
    for (const std::string& key : keys) {
        std::string_view value;
        store.read(key, value);
        left += key + "=" + (value.size() > 100 ? "long" : std::string(value)) + ";";
    }
    if (loaded)
        return left;
    EXPECT_EQ(left, "") << "nothing is written of a refused file";
    EXPECT_EQ(error.find_first_of("\n\r\x1b"), std::string::npos) << "one clean line";
    EXPECT_LT(error.size(), file.size() + 200);
    const std::string start = "AP_DATABASE_SEED: " + file + ":";
    EXPECT_TRUE(error.starts_with(start)) << error;
    return error.substr(start.size());
}

TEST(Seed, IsTakenWholeOrRefusedWithTheLine)
{
    const std::string good = "a = 1\n";
    const std::pair<std::string, std::string> cases[] = {
        {"a=1\n\n  # remark\n\tb.c =  two words = 2 \r\n d=\n", "a=1;b.c=two words = 2;d=;"},
        {"a = 1\na = 2", "a=2;"},
        {"", ""},
        {"# nothing yet\n", ""},
        {"ram.platform.id = qv1202B\n", "ram.platform.id=qv1202B;"},
        {"v = " + std::string(65536, 'x'), "v=long;"},
        {good + "v = " + std::string(65537, 'x'), "2: bad value: Message too long"},
        {good + "\njust words\n", "3: write 'key = value'"},
        {good + "= 1\n", "2: bad key: Invalid argument"},
        {good + "a b = 1\n", "2: bad key: Invalid argument"},
        {std::string(256, 'k') + " = 1\n", "1: bad key: File name too long"},
        {"# x\nram.platform.id = qv9\x1b[2J" + std::string(9000, 'x') + "\n" + good,
         "2: unknown platform 'qv9\\x1b[2J" + std::string(33, 'x') +
             "...'; there are qv1101A, qv1202B, qv1305A, qv1403A, qv2500A, qv1608B"},
    };
    for (const auto& [content, expected] : cases)
        EXPECT_EQ(seed(content), expected);
}

TEST(Seed, RefusesAFileThatCannotBeRead)
{
    host::ChangeDispatcher changes;
    host::MemoryStore store(changes);
    std::string error;
    EXPECT_FALSE(host::load_seed("/no/such", store, error));
    EXPECT_EQ(error, "AP_DATABASE_SEED: /no/such: No such file or directory");
    EXPECT_FALSE(host::load_seed("/", store, error));
    EXPECT_EQ(error, "AP_DATABASE_SEED: /: Is a directory");
}

TEST(SettingsFromEnvironment, NameWhatIsWrong)
{
    const struct {
        const char* name;
        const char* value;
        const char* error; // empty: accepted
    } cases[] = {
        {"AP_LOG_LEVEL", "7", ""},
        {"AP_LOG_LEVEL", "", ""},
        {"AP_LOG_LEVEL", "8", "AP_LOG_LEVEL: '8' is not a number from 0 to 7"},
        {"AP_LOG_LEVEL", "-1", "AP_LOG_LEVEL: '-1' is not a number from 0 to 7"},
        {"AP_LOG_LEVEL", "5x", "AP_LOG_LEVEL: '5x' is not a number from 0 to 7"},
        {"AP_CONSOLE_PORT", "65535", ""},
        {"AP_CONSOLE_PORT", "0", "AP_CONSOLE_PORT: '0' is not a number from 1 to 65535"},
        {"AP_CONSOLE_PORT", "65536", "AP_CONSOLE_PORT: '65536' is not a number from 1 to 65535"},
        {"AP_BOARD_ROOT", "/tmp//", ""},
        {"AP_BOARD_ROOT", "/no/such", "AP_BOARD_ROOT: /no/such: No such file or directory"},
        {"AP_BOARD_ROOT", "/dev/null", "AP_BOARD_ROOT: /dev/null is not a directory"},
    };
    for (const auto& [name, value, expected] : cases) {
        setenv(name, value, 1);
        std::string error;
        const auto settings = host::Settings::from_environment(error);
        EXPECT_EQ(error, expected) << name << "=" << value;
        EXPECT_EQ(settings.has_value(), error.empty());
        if (settings && !settings->board_root.empty()) {
            EXPECT_EQ(settings->board_root, "/tmp");
        }
        unsetenv(name);
    }
}

TEST(SettingsFromEnvironmentDeathTest, EndTheProcessBeforeTheDaemonStarts)
{
    setenv("AP_LOG_LEVEL", "loud", 1);
    EXPECT_EXIT(host::instance(), testing::ExitedWithCode(2),
                "^power_man: AP_LOG_LEVEL: 'loud' is not a number from 0 to 7\n$");
    unsetenv("AP_LOG_LEVEL");
    setenv("AP_TRACE", "nobody:C", 1);
    EXPECT_EXIT(fdloop_init(), testing::ExitedWithCode(2),
                "^power_man: AP_TRACE: trace 'nobody:C': no such group\n$");
}

TEST(Traces, AreSwitchedOnByGroupAndLetters)
{
    qv_trace_group_t* const a = qv_xtrace_init("a", "C:\tCommon\nD:\tDetailed: X\n", 4);
    qv_trace_group_t* const b = qv_xtrace_init("b", "A:\tAll\n", 1);
    EXPECT_EQ(qv_xtrace_init("a", "", 0), a);
    const struct {
        const char* wanted;
        bool accepted;
        int a_enabled;
        std::uint32_t a_mask;
        int b_enabled;
    } cases[] = {
        {"", true, 0, 4, 0},        {"a:D", true, 1, 8, 0},      {"a:CD", true, 1, 12, 0},
        {"a:C,b:A", true, 1, 4, 1}, {"a", false, 0, 4, 0},       {"a:", false, 0, 4, 0},
        {"a:X", false, 0, 4, 0},    {"a:C,c:A", false, 0, 4, 0}, {"b:A,a:d", false, 0, 4, 0},
        {":C", false, 0, 4, 0},     {"a:C b:A", false, 0, 4, 0},
    };
    for (const auto& row : cases) {
        a->enabled = b->enabled = 0;
        a->mask = 4;
        std::string error;
        EXPECT_EQ(host::enable_traces(row.wanted, error), row.accepted) << row.wanted;
        EXPECT_EQ(error.empty(), row.accepted) << row.wanted;
        EXPECT_EQ(a->enabled, row.a_enabled) << row.wanted;
        EXPECT_EQ(a->mask, row.a_mask) << row.wanted;
        EXPECT_EQ(b->enabled, row.b_enabled) << row.wanted;
    }
}

} // namespace
