// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include "host/config/memory_store.h"
#include "host/config/seed.h"
#include "host/log/trace_groups.h"

namespace {

// The keys and values that a seed leaves, or the complaint about it.
std::string load(const std::string& name)
{
    host::ChangeDispatcher changes;
    host::MemoryStore store(changes);
    std::string error;
    std::vector<std::string> keys;
    const bool loaded = host::load_seed(name, store, error);
    store.list("", keys);
    std::string left;
    for (const std::string& key : keys) {
        std::string_view value;
        store.read(key, value);
        left += key + "=" + (value.size() > 100 ? "long" : std::string(value)) + ";";
    }
    return loaded ? left : left + error; // nothing is written of a refused file
}

TEST(Seed, IsTakenWholeOrRefusedWithTheLine)
{
    const OwnDirectory directory;
    const std::string file = directory.path() / "seed";
    const std::string good = "a = 1\n";
    const std::string bad = file + ":";
    const std::pair<std::string, std::string> cases[] = {
        {"a=1\n\n  # remark\n\tb.c =  two words = 2 \r\n d=\n", "a=1;b.c=two words = 2;d=;"},
        {"a = 1\na = 2", "a=2;"},
        {"v = " + std::string(65536, 'x'), "v=long;"},
        {good + "v = " + std::string(65537, 'x'), bad + "2: bad value: Message too long"},
        {good + "a b = 1\n", bad + "2: bad key: Invalid argument"},
        {std::string(256, 'k') + " = 1\n", bad + "1: bad key: File name too long"},
    };
    for (const auto& [content, expected] : cases) {
        std::ofstream(file, std::ios::trunc) << content;
        EXPECT_EQ(load(file), expected);
    }
    EXPECT_EQ(load("/"), "/: not a regular file");
}

TEST(Traces, AreSwitchedOnByGroupAndLetters)
{
    qv_trace_group_t* const a = qv_xtrace_init("a", "C:\tCommon\nD:\tDetailed: X\n", 4);
    qv_trace_group_t* const b = qv_xtrace_init("b", "A:\tAll\n", 1);
    const auto enable = [&](const char* wanted) {
        a->enabled = b->enabled = 0;
        a->mask = 4;
        std::string error;
        const bool enabled = host::instance().traces.enable(wanted, error);
        EXPECT_EQ(enabled, error.empty()) << wanted;
        return (error.empty() ? "" : "refused ") + std::to_string(a->enabled) +
               std::to_string(a->mask) + std::to_string(b->enabled);
    };
    EXPECT_EQ(enable(""), "040"); // a is off, its mask, b is off
    EXPECT_EQ(enable("a:CD"), "1120");
    EXPECT_EQ(enable("a:C,b:A"), "141");
    EXPECT_EQ(enable("a:AZ"), "1" + std::to_string((1 << 25) + 1) + "0"); // help names neither
    for (const char* const bad : {"a", "a:", "a:C,c", "b:A,a:d", ":C", "a:C b:A"})
        EXPECT_EQ(enable(bad), "refused 040") << bad;

    EXPECT_EQ(enable("later:DX,a:C"), "140");
    const qv_trace_group_t* const later = qv_xtrace_init("later", "D:\tDetails\n", 8);
    EXPECT_EQ(later->enabled, 1);
    EXPECT_EQ(later->mask, 0x800008U);
}

} // namespace
