// SPDX-License-Identifier: MIT
#include "usb/usb_power.h"

#include "ap/text.h"
#include "base/config_values.h"
#include "gpio/gpio_pin.h"
#include "support/terminal.h"

namespace {

constexpr const char* usb_capability = "ram.platform.capabilities.usb";

class Pins : public testing::TestWithParam<Model> {};

TEST_P(Pins, AreSwitchedInOrder)
{
    Terminal terminal(GetParam().platform);
    if (const std::string chip = GetParam().more; !chip.empty()) { // must be there
        fs::rename(terminal.path(chip.c_str()), terminal.path("/sys/away"));
        terminal.write({{usb_capability, 1}, {key::usb_enabled, 1}, {key::usb_extended, 0}});
        pwr_mgr_usb_power(1, 1);
        const std::string complaint = "log 3 " + chip + " not found usb.enabled=0";
        EXPECT_EQ(in_words(terminal.story()), complaint);
        apply_usb_config(0); // the status shows the setting afterwards
        EXPECT_EQ(in_words(only(terminal.story(), {"log 3", "pin", "export", "set"})),
                  complaint + " usb.enabled=1 usb.extended_host_interface=0");
        fs::rename(terminal.path("/sys/away"), terminal.path(chip.c_str()));
    }
    std::string story;
    for (const auto& [on, extended] : {std::pair(0, 1), std::pair(5, 0), std::pair(1, -1)}) {
        terminal.story();
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
)",
     "/sys/class/gpio/gpiochip248"},
    {"qv1608B", "export 80 80=high\n80=low export 81 81=in edge 81 falling\n80=low\n",
     "/sys/class/gpio/gpiochip64"},
};
INSTANTIATE_TEST_SUITE_P(Models, Pins, testing::ValuesIn(models), model_name);

TEST(PinFiles, AreNeededOneByOne)
{
    Terminal terminal("qv1305A");
    EXPECT_EQ(gpio_pin_present("53"), 0);
    EXPECT_EQ(gpio_exp_pin("53", "low"), 0);
    EXPECT_EQ(gpio_pin_present("53"), 1);
    EXPECT_EQ(gpio_exp_pin("53", "high"), 0);
    fs::remove(terminal.path("/sys/class/gpio/gpio53/direction"));
    EXPECT_EQ(gpio_exp_pin("53", "low"), -1);
    EXPECT_EQ(gpio_exp_pin("99", "low"), -1); // a pin of no chip
    EXPECT_EQ(gpio_pin_present("99"), 0);
    // A board without sysfs GPIO.
    terminal.put("/sys/class/gpio/gpio53/direction", "in");
    fs::remove(terminal.path("/sys/class/gpio/export"));
    EXPECT_EQ(gpio_pin_present("53"), 0);
    EXPECT_EQ(gpio_exp_pin("53", "low"), -1);
    pwr_mgr_usb_power(1, 1);
    EXPECT_EQ(terminal.story(), "export 53\npin 53 low\npin 53 high\nlog 3 write error\n"
                                "log 4 /sys/class/gpio/gpio99 not found\n");
}

TEST(UsbConfig, IsAppliedLessWhatIsHeld)
{
    Terminal terminal("qv1305A");
    pwr_mgr_usb_power(0, 0); // exports the pins
    const auto apply = [&](int cycle) {
        terminal.story();
        const std::uint32_t start = qv_time_ms();
        testing::internal::CaptureStdout();
        apply_usb_config(cycle);
        return testing::internal::GetCapturedStdout() + std::to_string(qv_time_ms() - start) +
               " ms: " + in_words(only(terminal.story(), {"pin 52", "pin 53", "set", "log"}));
    };
    struct Row {
        int capability, enabled, extended, held, cycle;
        const char* story; // pin 52 is the port, 53 the extended port
    };
    const Row rows[] = {
        {0, 1, 1, 0, 1, "0 ms: "},
        {1, 1, 1, 0, 0, "0 ms: 53=high 52=high usb.enabled=1 usb.extended_host_interface=1"},
        {1, 1, 0, 0, 0, "0 ms: 53=low 52=high usb.enabled=1 usb.extended_host_interface=0"},
        {1, 0, 1, 0, 0, "0 ms: 52=low 53=low usb.enabled=0 usb.extended_host_interface=1"},
        {1, 1, 1, 1, 0, "0 ms: 53=low 52=high usb.enabled=1"},
        {1, 1, 1, 1, 1, "set_off_on USB\r\n20 ms: 52=low 53=low 53=low 52=high usb.enabled=1"},
        {1, 1, 1, 0, 1,
         "set_off_on USB\r\n20 ms: 52=low 53=low 53=high 52=high usb.enabled=1 "
         "usb.extended_host_interface=1"},
        {-1, 3, 0, 0, 2, "0 ms: 53=low 52=high usb.enabled=3 usb.extended_host_interface=0"}};
    for (const Row& row : rows) {
        terminal.write({{usb_capability, row.capability},
                        {key::usb_enabled, row.enabled},
                        {key::usb_extended, row.extended},
                        {key::usb_extended_held, row.held}});
        EXPECT_EQ(apply(row.cycle), row.story);
    }
    // Keys that cannot be read count as off.
    for (const char* const name : {key::usb_enabled, key::usb_extended, key::usb_extended_held})
        terminal.remove(name);
    EXPECT_EQ(apply(0), "0 ms: log 4 Failed to read config: "
                        "ram.status.power_management.usb.extended.pwr_controlled "
                        "52=low 53=low usb.enabled=0 usb.extended_host_interface=0");
    terminal.remove(usb_capability);
    EXPECT_EQ(read_capability(usb_capability), 0);
    EXPECT_EQ(terminal.story(), "log 4 This capabilities ram.platform.capabilities.usb is not "
                                "available in this product\n");
    EXPECT_EQ(apply(1), "0 ms: ");
}

TEST(IsdnPower, FollowsItsSettingAndSurvivesItsFile)
{
    constexpr const char* control = "/sys/devices/platform/fpga.0/control/isdnpwr";
    Terminal terminal("qv1202B");
    terminal.start();
    constexpr const char* story = "isdn.enabled=2 => isdnpwr=1 isdn.enabled=2\n"
                                  "isdn.enabled=0 => isdnpwr=0 isdn.enabled=0\n";
    EXPECT_EQ(played(terminal, story), story);
    const std::string open_fails =
        std::string("log 4 Failed to open phone interface ") + control + "\n";
    const std::string write_fails = "log 4 Failed to enable/disable isdn interface\n";
    EXPECT_EQ(with_failing_device(terminal, control, key::isdn_enabled),
              open_fails + open_fails + open_fails + write_fails + write_fails);
    EXPECT_EQ(terminal.value("ram.status.interfaces.isdn.enabled"), "0");
}

} // namespace
