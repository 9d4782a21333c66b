// SPDX-License-Identifier: MIT
// The power-on self-tests of a whole terminal, as the BITE handler sees them.
#include "temperature/self_test.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/terminal.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* isdn = "1142129670";
constexpr const char* phone = "1142129669";
constexpr const char* over_current = "1142129671";
constexpr const char* ethernet = "1142129680";
constexpr const char* usb = "1142129679";
constexpr const char* temperature = "1142129676";

constexpr const char* no_switch = "log 4 This capabilities ram.platform.capabilities.ether.switch "
                                  "is not available in this product\n";
constexpr const char* battery_status = "ram.status.battery.1.status";
constexpr const char* mainboard = "rmcfg.sys.mainboard.temperature";
constexpr const char* over_current_path = "/sys/class/gpio/gpio81/value";

void enable_all(Terminal& terminal)
{
    for (const char* const id : {isdn, phone, over_current, ethernet, usb, temperature})
        terminal.write(("ram.post.id." + std::string(id) + ".enable").c_str(), 1);
}

// One signal for each digit of `states`: 1 ready, 2 started, 3 passed, 4 failed.
std::string sent(const char* id, std::string_view states)
{
    std::string lines;
    for (const char state : states)
        lines.append("signal bite.post.state \"id.").append(id).append(".post.state=") +=
            std::string(1, state) + "\"\n";
    return lines;
}

std::string ready(Terminal& terminal)
{
    return only(terminal.write("ram.post.hnd.ready", 1), {"signal bite.", "log "});
}

std::string status_line(int status)
{
    return "log 4 set_temperature_post_result, status:" + std::to_string(status) +
           ", post_id:4413840c\n";
}

constexpr const char* good_battery = "log 4 set_temperture_post_result, temp:40\n";

struct Model {
    const char* platform;
    bool has_switch;
    bool has_over_current_line;
    const char* usb_states;
    bool has_battery;

    friend void PrintTo(const Model& model, std::ostream* stream) { *stream << model.platform; }
};

class EveryModel : public testing::TestWithParam<Model> {};

} // namespace

TEST_P(EveryModel, RunsItsTestsInOrderEachTimeTheHandlerIsReady)
{
    const Model& model = GetParam();
    Terminal terminal(model.platform);
    enable_all(terminal);
    EXPECT_EQ("", only(terminal.start(), {"signal bite."}));
    const std::string expected =
        sent(isdn, "123") + sent(phone, "123") +
        (model.has_over_current_line ? sent(over_current, "123") : "") +
        (model.has_switch ? sent(ethernet, "123") : no_switch) + sent(usb, model.usb_states) +
        (model.has_battery
             ? sent(temperature, "12") + status_line(0) + good_battery + sent(temperature, "3")
             : sent(temperature, "123"));
    EXPECT_EQ(expected, ready(terminal));
    EXPECT_EQ("", terminal.write("ram.post.hnd.ready", 0));
    EXPECT_EQ("", terminal.write("ram.post.hnd.ready", 2));
    EXPECT_EQ("", terminal.write({{"ram.post.hnd.ready", 1}, {"ram.post.hnd.ready", 0}}));
    EXPECT_EQ(expected, ready(terminal));
}

INSTANTIATE_TEST_SUITE_P(SelfTest, EveryModel,
                         testing::Values(Model{"qv1101A", false, false, "123", true},
                                         Model{"qv1202B", true, false, "123", false},
                                         Model{"qv1305A", false, false, "12", false},
                                         Model{"qv1403A", false, false, "12", false},
                                         Model{"qv2500A", false, false, "12", false},
                                         Model{"qv1608B", true, true, "123", false}),
                         [](const auto& row) { return std::string(row.param.platform); });

TEST(SelfTest, FailsWhatIsMissingAndPassesWhenItIsMended)
{
    Terminal terminal("qv1608B");
    enable_all(terminal);
    terminal.start();
    const std::pair<const char*, const char*> files[] = {
        {"/sys/devices/platform/fpga.0/control/isdnpwr", "0"},
        {"/dev/slic0.1", "-"},
        {over_current_path, "1"},
        {"/sys/devices/ocp.2/48030000.spi/spi_master/spi1/spi1.0/registers", ""}};
    for (const auto& [path, content] : files)
        fs::remove(terminal.path(path));
    fs::rename(terminal.path("/sys/class/gpio/gpio200"), terminal.path("/gpio200"));
    terminal.remove(mainboard);
    const std::string rest = sent(ethernet, "124") + sent(usb, "124") + sent(temperature, "12");
    EXPECT_EQ(sent(isdn, "124") + sent(phone, "124") + sent(over_current, "12") +
                  "log 3 failed to open " + over_current_path + "\n" + sent(over_current, "4") +
                  rest,
              ready(terminal));

    const std::string before = sent(isdn, "123") + sent(phone, "123") + sent(over_current, "12");
    for (const auto& [path, content] : {files[0], files[1]})
        terminal.put(path, content);
    fs::create_directory(terminal.path(over_current_path));
    EXPECT_EQ(before + "log 3 read error\n" + sent(over_current, "4") + rest, ready(terminal));
    fs::remove(terminal.path(over_current_path));
    for (const char* const level : {"", "0", " 1"}) {
        terminal.put(over_current_path, level);
        EXPECT_EQ(before + sent(over_current, "4") + rest, ready(terminal)) << level;
    }

    terminal.put(over_current_path, "1");
    terminal.put(files[3].first, "");
    fs::rename(terminal.path("/gpio200"), terminal.path("/sys/class/gpio/gpio200"));
    EXPECT_EQ(status_line(35) + sent(temperature, "3"),
              only(terminal.write(mainboard, 35), {"signal bite.", "log "}));
    EXPECT_EQ(before + sent(over_current, "3") + sent(ethernet, "123") + sent(usb, "123") +
                  sent(temperature, "123"),
              ready(terminal));
}

TEST(SelfTest, AResultIsReportedForATestThatIsNotAllowed)
{
    Terminal terminal("qv1202B");
    terminal.write("ram.post.id.1142129680.enable", 0);
    terminal.write("ram.post.id.1142129679.enable", 2);
    terminal.write_text("ram.post.id.1142129676.enable", "yes");
    terminal.start();
    const std::string refused = "log 5 POST not allowed ID: Module=4, Module ID=1, Test ID=";
    EXPECT_EQ(refused + "230406. Not Enabled, Config NOT OK(-2)\n" + sent(isdn, "3") + refused +
                  "230405. Not Enabled, Config NOT OK(-2)\n" + refused +
                  "230416. Not Enabled, Config OK(0)\n" + sent(ethernet, "3") + refused +
                  "230415. Not Enabled, Config OK(0)\n" + sent(usb, "3") + refused +
                  "230412. Not Enabled, Config NOT OK(-22)\n" + sent(temperature, "3"),
              ready(terminal));
}

TEST(SelfTest, TheBatterysTemperatureDecidesWhenItIsKnown)
{
    Terminal terminal("qv1101A");
    enable_all(terminal);
    terminal.remove(battery_status);
    terminal.write("ram.platform.capabilities.ether.switch", 1);
    terminal.start();
    const std::string open = sent(isdn, "123") + sent(phone, "123") + sent(ethernet, "124") +
                             sent(usb, "123") + sent(temperature, "12");
    EXPECT_EQ(open, ready(terminal));
    EXPECT_EQ(open, ready(terminal));
    const auto status = [&terminal](int value) {
        return only(terminal.write(battery_status, value), {"signal bite.", "log "});
    };
    EXPECT_EQ(status_line(3) + sent(temperature, "4"), status(3));
    EXPECT_EQ(status_line(0) + good_battery + sent(temperature, "3"), status(0));
    EXPECT_EQ("", only(terminal.remove(battery_status), {"signal bite.", "log "}));
    terminal.remove("ram.status.battery.1.temperature");
    EXPECT_EQ(status_line(0) + sent(temperature, "4"), status(0));
}

TEST(SelfTest, OfAnUnknownModelOnlyCapabilitiesCount)
{
    Terminal terminal("qv1305A");
    enable_all(terminal);
    terminal.write_text("ram.platform.id", "qv1305");
    terminal.write("ram.platform.capabilities.isdn", 0);
    terminal.write("ram.platform.capabilities.slic.connectors", 0);
    terminal.start();
    EXPECT_EQ(no_switch + sent(usb, "12") + sent(temperature, "12"), ready(terminal));
    set_temperature_post_result(0);
    EXPECT_EQ(status_line(0) + sent(temperature, "4"), terminal.story());
}
