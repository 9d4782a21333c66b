// SPDX-License-Identifier: MIT
#include "usb/usb_pins.h"

#include <array>

#include "base/terminal.h"

namespace power_man {
namespace {

constexpr const char* as_extended = nullptr;

constexpr std::array<UsbPin, 5> direct_on = {
    {{"53", as_extended}, {"54", "high"}, {"55", "high"}, {"56", "high"}, {"52", "high"}}};
constexpr std::array<UsbPin, 5> direct_off = {
    {{"52", "low"}, {"53", "low"}, {"54", "low"}, {"55", "low"}, {"56", "low"}}};

// Lines 1 to 7 of the chip at 248.
constexpr std::array<UsbPin, 7> expander_on = {{{"249", "high"},
                                                {"250", "high"},
                                                {"251", "high"},
                                                {"252", as_extended},
                                                {"253", "in"},
                                                {"254", "in"},
                                                {"255", "high"}}};
constexpr std::array<UsbPin, 7> expander_off = {{{"249", "low"},
                                                 {"250", "low"},
                                                 {"251", "low"},
                                                 {"252", "low"},
                                                 {"253", "in"},
                                                 {"254", "in"},
                                                 {"255", "low"}}};

// Active low.
constexpr std::array<UsbPin, 1> switch_on = {{{"80", "low"}}};
constexpr std::array<UsbPin, 1> switch_off = {{{"80", "high"}}};

const std::array<UsbPinTable, 6> tables = {{
    {"qv1101A", nullptr, direct_on, direct_off, false},
    {"qv1305A", nullptr, direct_on, direct_off, false},
    {"qv1403A", nullptr, direct_on, direct_off, false},
    {"qv1202B", "/sys/class/gpio/gpiochip248", expander_on, expander_off, false},
    {"qv1608B", "/sys/class/gpio/gpiochip64", switch_on, switch_off, true},
    {"qv2500A", nullptr, {}, {}, false},
}};

} // namespace

const UsbPinTable* find_usb_pins()
{
    return find_platform_row(tables);
}

} // namespace power_man
