// SPDX-License-Identifier: MIT
#include "temperature/temp_sensors.h"

#include "support/terminal.h"

namespace {

class Copies : public testing::TestWithParam<Model> {};

TEST_P(Copies, AreMadeOfTheAmplifiersReadings)
{
    Terminal terminal(GetParam().platform);
    terminal.start();
    terminal.write({{"rmcfg.platform.hpa.temperature", 456},
                    {"rmcfg.platform.hpa.temperature_state", 0},
                    {"rmcfg.platform.acm.temperature", -15},
                    {"rmcfg.platform.acm.temperature_state", 4}});
    const auto copies = [&](unsigned int milliseconds) {
        return in_words(
            only(terminal.run(milliseconds), {"set ram.status.hpa", "set ram.status.acm"}));
    };
    EXPECT_EQ(copies(4999), "");
    std::string seen = copies(1);
    // A key that cannot be read skips its own copy only.
    terminal.write_text("rmcfg.platform.hpa.temperature", "warm");
    terminal.remove("rmcfg.platform.acm.temperature");
    seen += "\n" + copies(5000) + "\n";
    terminal.write("rmcfg.platform.hpa.temperature", 457);
    terminal.remove("rmcfg.platform.hpa.temperature_state");
    EXPECT_EQ(seen + copies(5000), GetParam().story);
}

const Model models[] = {
    {"qv1305A", "\n\n"},
    {"qv1202B", "hpa.temperature=456 hpa.temperature_state=0\n"
                "hpa.temperature_state=0\n"
                "hpa.temperature=457"},
    {"qv1608B",
     "hpa.temperature=456 hpa.temperature_state=0 acm.temperature=-15 acm.temperature_state=4\n"
     "hpa.temperature_state=0 acm.temperature_state=4\n"
     "hpa.temperature=457 acm.temperature_state=4"},
};
INSTANTIATE_TEST_SUITE_P(Models, Copies, testing::ValuesIn(models), model_name);

TEST(Identity, IsReadOnceAndAfterFailuresAgain)
{
    Terminal terminal("qv1305A");
    terminal.write_text("ram.platform.id", "123456789012345"); // one too long with its NUL
    for (int i = 0; i < 2; ++i)
        EXPECT_STREQ(pwr_mgr_get_platform_id(), "");
    EXPECT_EQ(terminal.story(), "log 1 Failed to read config: ram.platform.id\n"
                                "log 1 Failed to read config: ram.platform.id\n");
    terminal.write_text("ram.platform.id", "12345678901234");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    terminal.write_text("ram.platform.id", "qv1305A");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    pwr_mgr_reset_platform_id();
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "qv1305A");
    EXPECT_EQ(terminal.story(), "");
}

} // namespace
