// SPDX-License-Identifier: MIT
// What the terminals' makers want of the daemon, told once more and apart from the daemon's own
// tables: what is proved is proved against this page.
#pragma once

#include <climits>
#include <set>
#include <string_view>
#include <vector>

namespace proof {

struct Range {
    int min; // degrees Celsius, inclusive, as is max
    int max;
};
using Ranges = std::vector<Range>; // by interval, lowest first

// Placed by its temperature or, without ranges, by the state that an amplifier reports.
struct Sensor {
    int number;                          // of its record in the daemon
    const char* key;                     // of what places it
    std::vector<std::string_view> above; // words of what begins on the boundary above each interval
    Ranges alone = {};
    Ranges supplied = {}; // where external supply makes a difference

    bool by_state() const { return alone.empty(); }
    int top() const { return static_cast<int>(above.size()); } // beyond three intervals, too

    // Of an interval, whose end is open where nothing comes behind it.
    Range range(int interval, bool with_supply) const;

    // Both ends of each range and the values beside them; some states that no amplifier has, too.
    std::set<int> values() const;

    // Whether what the word says holds in an interval.
    bool has_begun(std::string_view word, int interval) const;
};

struct Policy {
    const char* model;
    std::vector<Sensor> sensors;
    const char* extended_pin = nullptr; // of the extended USB port
};

const std::vector<Policy>& policies();

// The interval that an amplifier's state means; -1 for none of the seven that there are.
int interval_of_state(int state);

// A word of the boundaries; "~" before it: what it says begins on the way down. Keys and events are
// named as in_words() has them.
struct Word {
    std::string_view word;
    int consumer; // in the daemon's list, which counts who holds it; -1: begins and ends each time
    std::string_view key;
    std::string_view event;
    std::string_view value = "1";
    std::string_view also = {};  // a second key
    std::string_view order = {}; // of the terminal's end, which nothing undoes
};

const std::vector<Word>& all_words();

// The part of a list up to a blank, which is taken from it.
std::string_view take_word(std::string_view& list);

} // namespace proof
