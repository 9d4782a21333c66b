// SPDX-License-Identifier: MIT
#include "proof/invariants.h"

#include <numeric>

#include "temperature/temp_desc.h"

namespace proof {
namespace {

std::size_t index(int number)
{
    return static_cast<std::size_t>(number);
}

bool is_on(std::string_view value)
{
    return value != "-" && value != "0";
}

const Word& find_word(std::string_view name)
{
    const std::vector<Word>& all = all_words();
    return *std::find_if(all.begin(), all.end(),
                         [&](const Word& word) { return word.word == name; });
}

std::string in_words(const Word& word, bool begins)
{
    std::string text;
    for (const std::string_view key : {word.key, word.also}) {
        if (!key.empty())
            text.append(" ").append(key).append("=").append(begins ? word.value : "0");
    }
    if (!word.event.empty())
        text.append(begins ? " +" : " -").append(word.event);
    return word.order.empty() ? text : text.append(" ").append(word.order);
}

// How many sensors have that begun.
int count(const Policy& policy, std::string_view word, const std::vector<int>& intervals)
{
    int count = 0;
    for (std::size_t i = 0; i < intervals.size(); ++i)
        count += policy.sensors[i].has_begun(word, intervals[i]) ? 1 : 0;
    return count;
}

std::string wrong_place(const Sensor& row, int from, int to, std::optional<int> reading,
                        std::optional<int> supply)
{
    const int meant = reading && row.by_state() ? interval_of_state(*reading) : 0;
    int right = from;
    if (supply && reading && meant >= 0) {
        const temp_mon_rec_t& record = temp_mon_rec[index(row.number)];
        if ((row.by_state() ? record.alarm_id : record.temp) != *reading)
            return "a reading was not evaluated\n";
        const auto beyond = [&] { // -1: below the range, 1: above
            const Range range = row.range(right, *supply != 0);
            return (*reading > range.max ? 1 : 0) - (*reading < range.min ? 1 : 0);
        };
        if (row.by_state())
            right = meant;
        else if (const int side = beyond(); side != 0)
            while (beyond() != 0)
                right += side;
    }
    return to == right ? "" : "the right interval is " + std::to_string(right) + "\n";
}

// What a sensor does on its way, while all others stay where they are.
std::string way(const Policy& policy, std::size_t sensor, int to, std::vector<int>& intervals)
{
    std::string text;
    int& now = intervals[sensor];
    while (now != to) {
        const bool up = to > now;
        std::string_view list = policy.sensors[sensor].above[index(up ? now : now - 1)];
        const std::vector<int> before = intervals;
        now += up ? 1 : -1;
        while (!list.empty()) {
            const std::string_view change = take_word(list);
            const bool begins = up != change.starts_with('~');
            const Word& word = find_word(change.substr(change.starts_with('~') ? 1 : 0));
            const bool acts =
                word.consumer < 0 || count(policy, word.word, begins ? before : intervals) == 0;
            if (acts && (begins || word.order.empty()))
                text += in_words(word, begins);
        }
    }
    return text;
}

bool tells_the_way(const Policy& policy, const State& before, const State& after,
                   const std::string& story)
{
    const std::string told =
        only(story, {"set ram.status.power_management.", "set rmcfg.sys.reduce", "set ram.fan.",
                     "raise EV_", "clear EV_", "signal psumcu.powerctrl."});
    const std::string words = told.empty() ? "" : " " + ::in_words(told);
    std::vector<std::size_t> order(before.intervals.size()); // whose reading was told first
    std::iota(order.begin(), order.end(), 0);
    bool tells = false;
    do {
        std::vector<int> intervals = before.intervals;
        std::string expected;
        for (const std::size_t sensor : order)
            expected += way(policy, sensor, after.intervals[sensor], intervals);
        tells = tells || expected == words;
    } while (std::next_permutation(order.begin(), order.end()));
    return tells;
}

} // namespace

void Judge::listen(const std::string& story)
{
    const std::string words = ::in_words(only(story, {"raise EV_", "clear EV_", "signal psumcu."}));
    std::string_view list = words;
    while (!list.empty()) {
        const std::string word(take_word(list));
        const std::size_t equals = word.find('=');
        if (word[0] == '+' || word[0] == '-')
            last_[word.substr(1)] = word[0];
        else if (equals != word.npos)
            last_[word.substr(0, equals)] = word.substr(equals + 1);
        else
            ++orders;
    }
}

std::string Judge::wrong_word(const Word& word, const State& now) const
{
    const int held = count(policy_, word.word, now.intervals);
    const bool begun = word.order.empty() ? held > 0 : orders > 0;
    bool right = word.consumer < 0 || now.holds[index(word.consumer)] == held;
    for (const std::string_view key : {word.key, word.also}) {
        const bool whole = key.starts_with("ram.") || key.starts_with("rmcfg.");
        const std::string value =
            terminal_.value((whole ? "" : "ram.status.power_management.") + std::string(key));
        right = right && (begun && !key.empty() ? value == word.value : !is_on(value));
    }
    const auto event = last_.find(std::string(word.event));
    right =
        right && (begun && !word.event.empty()) == (event != last_.end() && event->second == "+");
    return right ? ""
                 : std::string(word.word) + (begun ? ": is in force\n" : ": is not in force\n");
}

// The pins and ports, by the user's settings and what is held.
std::string Judge::wrong_power(const State& now) const
{
    const bool held = count(policy_, "usb", now.intervals) > 0;
    const bool extended = is_on(terminal_.value(key::usb_extended)) && !held;
    const bool pin = extended && is_on(terminal_.value(key::usb_enabled));
    const bool lan = is_on(terminal_.value("ram.status.interfaces.lan.enabled"));
    const bool poe = lan && count(policy_, "poe", now.intervals) == 0;
    if (is_on(terminal_.value(key::usb_extended_status)) != extended)
        return "the status of the extended port is wrong\n";
    if (policy_.extended_pin != nullptr &&
        terminal_.file("/sys/class/gpio/gpio" + std::string(policy_.extended_pin) + "/value") !=
            (pin ? "1" : "0"))
        return "the pin of the extended port is wrong\n";
    const std::string output = terminal_.file("/sys/devices/platform/fpga.0/control/poe");
    const bool ports = terminal_.value("ram.platform.capabilities.ether.poe.num_ports") != "-";
    if (!output.empty() && output != (poe ? "1" : "0"))
        return "the PoE output is wrong\n";
    if (ports && output.empty() && // the first port keeps its power in the heat
        (last_.at("port0") != (lan ? "on" : "off") || last_.at("port1") != (poe ? "on" : "off")))
        return "a PoE port is wrong\n";
    return "";
}

std::string Judge::judge(const State& before, const State& after, const std::string& story)
{
    listen(story);
    std::string faults = wrong_power(after);
    for (std::size_t i = 0; i < policy_.sensors.size(); ++i)
        faults += wrong_place(policy_.sensors[i], before.intervals[i], after.intervals[i],
                              after.readings[i], after.supply);
    for (const Word& word : all_words())
        faults += wrong_word(word, after);
    if (!tells_the_way(policy_, before, after, story))
        faults += "that is not what the way from one interval to the other says\n";
    return faults.empty() ? "" : faults + before.text() + "\n" + after.text() + "\n" + story;
}

} // namespace proof
