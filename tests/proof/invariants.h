// SPDX-License-Identifier: MIT
#pragma once

#include <map>

#include "proof/state.h"

namespace proof {

// Watches a terminal from its start on, and tells what does not hold.
class Judge {
public:
    // Both must outlive the judge.
    Judge(const Terminal& terminal, const Policy& policy) : terminal_(terminal), policy_(policy) {}

    // Takes a story into account that is not judged.
    void listen(const std::string& story);

    // What must hold when the daemon has gone from one state to another with that story, one line
    // for each fault; empty when all does:
    //
    // - Without a supply, a reading, or a state that an amplifier has, a sensor stays where it is.
    // - It leaves its interval only beyond the interval's own range, for the nearest on that side
    //   whose range holds the reading; an amplifier goes where its state says.
    // - What is written, reported and ordered is what the boundaries on the way say, in their
    // order:
    //   keys, event, order; of a consumer only by the first sensor that takes it and the last that
    //   lets go. Nothing else is. So the terminal's end is ordered once for each entry.
    // - Each consumer is held by as many sensors as are in an interval that takes it, and is off by
    //   its keys, its last event and its pins exactly when somebody holds it: in normal operation
    //   everything is back.
    std::string judge(const State& before, const State& after, const std::string& story);

    long orders = 0; // of the terminal's end

private:
    std::string wrong_word(const Word& word, const State& now) const;
    std::string wrong_power(const State& now) const;

    const Terminal& terminal_;
    const Policy& policy_;
    std::map<std::string, std::string> last_; // said of events ("+", "-") and PoE ports, by name
};

} // namespace proof
