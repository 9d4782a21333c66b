// SPDX-License-Identifier: MIT
#include "usb/usb_power.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "ap/text.h"
#include "base/config_keys.h"
#include "support/model_name.h"
#include "support/terminal.h"

namespace fs = std::filesystem;

namespace {

namespace key = power_man::key;

constexpr const char* usb_capability = "ram.platform.capabilities.usb";

struct Model {
    const char* platform;
    const char* story;
};

class Pins : public testing::TestWithParam<Model> {};

TEST_P(Pins, AreSwitchedInOrder)
{
    Terminal terminal(GetParam().platform);
    std::string story;
    terminal.story();
    for (const auto& [on, extended] : {std::pair(0, 1), std::pair(1, 0), std::pair(5, -1)}) {
        pwr_mgr_usb_power(on, extended);
        story += in_words(terminal.story()) + "\n";
    }
    EXPECT_EQ(story, GetParam().story);
}

// Off, on without and on with the extended port.
constexpr const char* direct_pins =
    R"(export 52 52=low export 53 53=low export 54 54=low export 55 55=low export 56 56=low
53=low 54=high 55=high 56=high 52=high
53=high 54=high 55=high 56=high 52=high
)";
const Model models[] = {
    {"qv1101A", direct_pins},
    {"qv1305A", direct_pins},
    {"qv1403A", direct_pins},
    {"qv2500A", "\n\n\n"},
    {"qv1202B",
     R"(export 249 249=low export 250 250=low export 251 251=low export 252 252=low export 253 253=in export 254 254=in export 255 255=low
249=high 250=high 251=high 252=low 253=in 254=in 255=high
249=high 250=high 251=high 252=high 253=in 254=in 255=high
)"},
    {"qv1608B", "export 80 80=high\n80=low export 81 81=in edge 81 falling\n80=low\n"},
};
INSTANTIATE_TEST_SUITE_P(Models, Pins, testing::ValuesIn(models), model_name<Model>);

struct Chip {
    const char* platform;
    const char* directory;
};

class MissingChip : public testing::TestWithParam<Chip> {};

TEST_P(MissingChip, LeavesThePinsAlone)
{
    Terminal terminal(GetParam().platform);
    terminal.write({{usb_capability, 1}, {key::usb_enabled, 1}, {key::usb_extended, 0}});
    fs::remove_all(terminal.path(GetParam().directory));
    const std::string complaint = std::string("log 3 ") + GetParam().directory + " not found\n" +
                                  "set ram.status.interfaces.usb.enabled 0\n";
    terminal.story();
    pwr_mgr_usb_power(1, 1);
    EXPECT_EQ(terminal.story(), complaint);
    apply_usb_config(0); // the status shows the setting afterwards
    EXPECT_EQ(only(terminal.story(), {"log 3", "pin", "export", "set"}),
              complaint + "set ram.status.interfaces.usb.enabled 1\n"
                          "set ram.status.interfaces.usb.extended_host_interface 0\n");
}

const Chip chips[] = {
    {"qv1202B", "/sys/class/gpio/gpiochip248"},
    {"qv1608B", "/sys/class/gpio/gpiochip64"},
};
INSTANTIATE_TEST_SUITE_P(Models, MissingChip, testing::ValuesIn(chips), model_name<Chip>);

TEST(PinFiles, AreNeededOneByOne)
{
    Terminal terminal("qv1305A");
    terminal.story();
    EXPECT_EQ(gpio_pin_present("53"), 0);
    EXPECT_EQ(gpio_exp_pin("53", "low"), 0);
    EXPECT_EQ(gpio_pin_present("53"), 1);
    EXPECT_EQ(terminal.file("/sys/class/gpio/gpio53/value"), "0");
    EXPECT_EQ(gpio_exp_pin("53", "high"), 0);
    EXPECT_EQ(terminal.file("/sys/class/gpio/gpio53/value"), "1");
    EXPECT_EQ(terminal.story(), "export 53\npin 53 low\npin 53 high\n");

    fs::remove(terminal.path("/sys/class/gpio/gpio53/direction"));
    EXPECT_LT(gpio_exp_pin("53", "low"), 1);
    EXPECT_EQ(terminal.story(), "");

    // A pin of no chip.
    EXPECT_LT(gpio_exp_pin("99", "low"), 1);
    EXPECT_EQ(gpio_pin_present("99"), 0);
    EXPECT_EQ(terminal.story(), "log 3 write error\nlog 4 /sys/class/gpio/gpio99 not found\n");

    // A board without sysfs GPIO.
    terminal.put("/sys/class/gpio/gpio53/direction", "in");
    fs::remove(terminal.path("/sys/class/gpio/export"));
    EXPECT_EQ(gpio_pin_present("53"), 0);
    EXPECT_EQ(gpio_exp_pin("53", "low"), -1);
    pwr_mgr_usb_power(1, 1);
    EXPECT_EQ(terminal.story(), "");
}

TEST(UsbConfig, IsAppliedLessWhatIsHeld)
{
    Terminal terminal("qv1305A");
    pwr_mgr_usb_power(0, 0); // exports the pins
    struct Row {
        int capability, enabled, extended, held, cycle;
        const char* story; // pin 52 is the port, 53 the extended port
    };
    for (
        const Row& row : {
            Row{0, 1, 1, 0, 1, "0 ms: "},
            Row{1, 1, 1, 0, 0, "0 ms: 53=high 52=high usb.enabled=1 usb.extended_host_interface=1"},
            Row{1, 1, 0, 0, 0, "0 ms: 53=low 52=high usb.enabled=1 usb.extended_host_interface=0"},
            Row{1, 0, 1, 0, 0, "0 ms: 52=low 53=low usb.enabled=0 usb.extended_host_interface=1"},
            Row{1, 1, 1, 1, 0, "0 ms: 53=low 52=high usb.enabled=1"},
            Row{1, 1, 1, 1, 1, "20 ms: 52=low 53=low 53=low 52=high usb.enabled=1"},
            Row{1, 1, 1, 0, 1,
                "20 ms: 52=low 53=low 53=high 52=high usb.enabled=1 usb.extended_host_interface=1"},
            Row{-1, 3, 0, 0, 2, "0 ms: 53=low 52=high usb.enabled=3 usb.extended_host_interface=0"},
        }) {
        terminal.write({{usb_capability, row.capability},
                        {key::usb_enabled, row.enabled},
                        {key::usb_extended, row.extended},
                        {key::usb_extended_held, row.held}});
        const std::uint32_t start = qv_time_ms();
        apply_usb_config(row.cycle);
        EXPECT_EQ(std::to_string(qv_time_ms() - start) + " ms: " +
                      in_words(only(terminal.story(), {"pin 52", "pin 53", "set", "log"})),
                  row.story);
    }
}

TEST(UsbConfig, TakesUnreadableKeysForOff)
{
    Terminal terminal("qv1305A");
    terminal.write(usb_capability, 1);
    for (const char* const name : {key::usb_enabled, key::usb_extended, key::usb_extended_held})
        terminal.remove(name);
    pwr_mgr_usb_power(0, 0);
    terminal.story();
    apply_usb_config(0);
    EXPECT_EQ(
        only(terminal.story(), {"pin 52", "pin 53", "set", "log"}),
        R"(log 4 Failed to read config: ram.status.power_management.usb.extended.pwr_controlled
pin 52 low
pin 53 low
set ram.status.interfaces.usb.enabled 0
set ram.status.interfaces.usb.extended_host_interface 0
)");
    EXPECT_EQ(read_capability(usb_capability), 1);
    terminal.remove(usb_capability);
    terminal.story();
    EXPECT_EQ(read_capability(usb_capability), 0);
    EXPECT_EQ(terminal.story(), "log 4 This capabilities ram.platform.capabilities.usb is not "
                                "available in this product\n");
    apply_usb_config(1);
    EXPECT_EQ(terminal.story(), "");
}

TEST(UsbConfig, OfAnUnknownModelIsPublishedOnly)
{
    Terminal terminal("qv1608B");
    terminal.write_text("ram.platform.id", "qv1609C");
    terminal.write({{usb_capability, 1}, {key::usb_enabled, 1}, {key::usb_extended, 1}});
    terminal.write(key::usb_extended_held, 0);
    apply_usb_config(0);
    EXPECT_EQ(terminal.story(), R"(log 3 Failed to set usb power: unknown platform [qv1609C]
set ram.status.interfaces.usb.enabled 1
set ram.status.interfaces.usb.extended_host_interface 1
)");
}

} // namespace
