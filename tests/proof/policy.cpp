// SPDX-License-Identifier: MIT
#include "proof/policy.h"

#include <algorithm>

namespace proof {
namespace {

constexpr const char* battery = "ram.status.battery.1.temperature";
constexpr const char* mainboard = "rmcfg.sys.mainboard.temperature";

Sensor amplifier(int number)
{
    return {number, "ram.status.hpa.temperature_state", {"", "background", "data", "reboot"}};
}

} // namespace

const std::vector<Policy>& policies()
{
    const Ranges alone = {{-273, -20}, {-25, 52}, {50, 55}, {53, 58}, {50, 100}};
    const Ranges supplied = {{-273, -20}, {-25, 65}, {60, 69}, {65, 72}, {70, 100}};
    const Ranges module = {{-273, -20}, {-25, 70}, {65, 75}, {70, 80}, {60, 100}};
    const Ranges bdu = {{-273, -20}, {-25, 72}, {67, 75}, {70, 80}, {60, 100}};
    const Ranges v640 = {{-273, -20}, {-25, 83}, {60, 100}};
    const Ranges v150 = {{-273, -38}, {-40, 83}, {60, 100}};
    const Ranges v360 = {{-273, -20}, {-25, 70}, {70, 75}};
    using Above = std::vector<std::string_view>;
    const Above by_battery = {"", "usb background", "data", "reboot"};
    const Above by_module = {"", "background usb poe", "data", "reboot"};
    const Above by_bdu = {"", "background poe fan", "data", "reboot"};
    static const std::vector<Policy> all = {
        {"qv1101A", {{0, battery, by_battery, alone, supplied}}, "53"},
        {"qv1202B", {{1, mainboard, by_module, module}, amplifier(2)}, "252"},
        {"qv1305A", {{3, mainboard, {"", "reboot", ""}, v640}}, "53"},
        {"qv1403A", {{7, mainboard, {"", "hot", "shutdown"}, v360}}, "53"},
        {"qv2500A", {{4, mainboard, {"~cold", "reboot", ""}, v150}}},
        {"qv1608B", {{6, mainboard, by_bdu, bdu}, amplifier(5)}},
    };
    return all;
}

int interval_of_state(int state)
{
    constexpr int intervals[] = {1, 2, 2, 3, 0, 0, 0};
    return state >= 0 && state <= 6 ? intervals[state] : -1;
}

const std::vector<Word>& all_words()
{
    static const std::vector<Word> words = {
        {"data", 0, "close_connections", "CLOSE_CONNECTIONS"},
        {"background", 1, "limit_background", "LIMIT_BACKGROUND", "1",
         "rmcfg.sys.reduce_background_datarate"},
        {"usb", 2, "usb.extended.pwr_controlled", "USB_EXT"},
        {"poe", 3, "lan.poe.pwr_controlled", "POE"},
        {"fan", -1, "ram.fan.set_speed", "", "255"},
        {"cold", -1, "", "TEMP_LOW"},
        {"hot", -1, "", "WARN"},
        {"reboot", -1, "power_off", "CLOSE_TERMINAL", "1", "", "reboot"},
        {"shutdown", -1, "power_off", "CLOSE_TERMINAL", "1", "", "shutdown"},
    };
    return words;
}

Range Sensor::range(int interval, bool with_supply) const
{
    const Ranges& ranges = with_supply && !supplied.empty() ? supplied : alone;
    const auto index = static_cast<std::size_t>(interval);
    Range result = index < ranges.size() ? ranges[index] : Range{ranges.back().max + 1, INT_MAX};
    if (interval == 0)
        result.min = INT_MIN;
    if (interval == top())
        result.max = INT_MAX;
    return result;
}

std::set<int> Sensor::values() const
{
    std::set<int> values;
    for (int state = -1; by_state() && state <= 7; ++state)
        values.insert(state);
    for (const Ranges& ranges : {alone, supplied}) {
        for (const Range& range : ranges) {
            for (const int beside : {-1, 0, 1})
                values.insert({range.min + beside, range.max + beside});
        }
    }
    return values;
}

bool Sensor::has_begun(std::string_view word, int interval) const
{
    for (int boundary = 0; boundary < top(); ++boundary) {
        std::string_view list = above[static_cast<std::size_t>(boundary)];
        while (!list.empty()) {
            const std::string_view change = take_word(list);
            if (change.ends_with(word) && change.size() <= word.size() + 1)
                return (interval > boundary) != change.starts_with('~');
        }
    }
    return false;
}

std::string_view take_word(std::string_view& list)
{
    const std::string_view word = list.substr(0, list.find(' '));
    list.remove_prefix(std::min(list.size(), word.size() + 1));
    return word;
}

} // namespace proof
