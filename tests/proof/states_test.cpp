// SPDX-License-Identifier: MIT
// Every state of the policy: the daemon is led through all that it can reach, and in each state is
// given everything that can come in.
#include <cstdio>
#include <deque>
#include <unordered_map>

#include "proof/invariants.h"
#include "support/process.h"

namespace proof {
namespace {

constexpr int untried = -1;

// Everything that can come in, as far as it can make a difference: for each sensor the values at
// its boundaries and beyond all of them, no number, and no reading; the supply there, gone and
// unknown.
std::vector<Terminal::Change> all_inputs(const Policy& policy)
{
    std::vector<Terminal::Change> inputs;
    const auto add = [&](const char* name, std::set<int> values) {
        values.insert({INT_MIN, INT_MAX});
        for (const int value : values)
            inputs.emplace_back(name, std::to_string(value));
        inputs.emplace_back(name, "no number");
        inputs.emplace_back(name, std::nullopt);
    };
    add(key::external_supply, {-1, 0, 1});
    for (const Sensor& sensor : policy.sensors)
        add(sensor.key, sensor.values());
    return inputs;
}

// The daemon is never put back: it walks. From a state in which all has been tried it goes the
// shortest known way to one in which something is left, and where it has been before the same
// input must lead to the same state again.
class States : public testing::TestWithParam<Policy> {
protected:
    using Way = std::deque<std::size_t>; // inputs

    // With nothing known, neither supply nor readings.
    States()
    {
        for (const Sensor& sensor : policy_.sensors)
            terminal_.remove(sensor.key);
        terminal_.remove(key::external_supply);
        terminal_.remove(key::platform_hpa_state);
        terminal_.write({{"ram.status.interfaces.lan.enabled", 1},
                         {"cfg.interfaces.lan.0.poe.enabled", 1},
                         {"cfg.interfaces.lan.1.poe.enabled", 1}});
        judge_.listen(terminal_.start());
        judge_.listen(terminal_.write("ram.status.sw_update.settled", 1));
        now_ = State::present(policy_);
        place_ = number_of(now_);
    }

    int number_of(const State& state)
    {
        const auto [entry, is_new] =
            numbers_.emplace(state.kind(policy_), static_cast<int>(next_.size()));
        if (is_new)
            next_.emplace_back(inputs_.size(), untried);
        return entry->second;
    }

    void take(std::size_t input)
    {
        const auto& [name, value] = inputs_[input];
        SCOPED_TRACE(name + "=" + value.value_or(""));
        const State before = now_;
        const std::string story = terminal_.change({inputs_[input]});
        now_ = State::present(policy_);
        EXPECT_EQ(judge_.judge(before, now_, story), "");
        for (std::size_t i = 0; i < now_.intervals.size(); ++i)
            highest_[i] = std::max(highest_[i], now_.intervals[i]);
        const int to = number_of(now_);
        int& known = next_[static_cast<std::size_t>(place_)][input];
        EXPECT_TRUE(known == untried || known == to) << "not as before from " << before.text();
        known = place_ = to;
        ++steps_;
    }

    // To the nearest state in which something is left to try, with one of those inputs at the end;
    // empty when nothing is left.
    Way way_on() const
    {
        std::unordered_map<int, std::pair<int, std::size_t>> from = {{place_, {untried, 0}}};
        for (std::deque<int> queue = {place_}; !queue.empty(); queue.pop_front()) {
            const std::vector<int>& next = next_[static_cast<std::size_t>(queue.front())];
            for (std::size_t input = 0; input < next.size(); ++input) {
                if (next[input] != untried) {
                    if (from.emplace(next[input], std::pair(queue.front(), input)).second)
                        queue.push_back(next[input]);
                    continue;
                }
                Way way = {input};
                for (auto step = from.at(queue.front()); step.first != untried;
                     step = from.at(step.first))
                    way.push_front(step.second);
                return way;
            }
        }
        return {};
    }

    const Policy policy_ = GetParam();
    const std::vector<Terminal::Change> inputs_ = all_inputs(policy_);
    Terminal terminal_{policy_.model};
    Judge judge_{terminal_, policy_};
    std::unordered_map<std::string, int> numbers_; // of states, by their kind
    std::vector<std::vector<int>> next_;           // state, by state and input
    std::array<int, 2> highest_{};                 // interval of each sensor
    State now_;
    int place_ = 0;
    long steps_ = 0;
};

TEST_P(States, HoldAllThatMustHold)
{
    for (Way way = way_on(); !way.empty() && !HasFailure(); way = way_on()) {
        for (const std::size_t input : way)
            take(input);
    }
    if (HasFailure())
        return;
    for (const std::vector<int>& next : next_)
        EXPECT_EQ(std::count(next.begin(), next.end(), untried), 0) << "there is no way back to it";
    for (std::size_t i = 0; i < policy_.sensors.size(); ++i) {
        const Sensor& sensor = policy_.sensors[i];
        EXPECT_EQ(highest_[i], sensor.by_state() ? 3 : sensor.top()) << "of sensor " << i;
    }
    EXPECT_GT(judge_.orders, 0) << "of the terminal's end";
    std::printf("%s: %zu states, %zu inputs in each: %zu transitions, in %ld steps; the terminal's "
                "end was ordered %ld times\n",
                policy_.model, next_.size(), inputs_.size(), next_.size() * inputs_.size(), steps_,
                judge_.orders);
}

// A daemon that is started when the readings are there already: each start in a process of its own.
class Starts : public testing::TestWithParam<Policy> {
protected:
    // What does not hold when it starts with these readings of its sensors.
    std::string start_with(int supply, int first, int second)
    {
        const Policy& policy = GetParam();
        const int readings[] = {first, second};
        State before;
        for (std::size_t i = 0; i < policy.sensors.size(); ++i) {
            terminal_.write(policy.sensors[i].key, readings[i]);
            before.intervals.push_back(1);
            before.readings.emplace_back();
        }
        // Defaults need not be written; of the extended port the start shows what its user wants.
        for (const char* const key : {key::usb_extended, key::usb_extended_held, key::poe_held,
                                      key::close_connections, key::limit_background})
            terminal_.write(key, 0);
        terminal_.write(key::external_supply, supply);
        const std::string story = terminal_.start();
        return Judge(terminal_, policy)
            .judge(before, State::present(policy),
                   story + terminal_.write("ram.status.sw_update.settled", 1));
    }

    Terminal terminal_{GetParam().model};
};

TEST_P(Starts, HoldAllThatMustHold)
{
    for (const int supply : {0, 1}) {
        for (const int first : GetParam().sensors.front().values()) {
            for (const int second : {0, 1, 3}) {
                const pid_t child = fork();
                if (child == 0) {
                    const std::string faults = start_with(supply, first, second);
                    std::fputs(faults.c_str(), stderr);
                    std::_Exit(faults.empty() ? 0 : 1);
                }
                ASSERT_EQ(Process(child).end(), "exit 0")
                    << supply << " " << first << " " << second;
            }
        }
    }
}

const auto name_of = [](const auto& policy) { return std::string(policy.param.model); };
INSTANTIATE_TEST_SUITE_P(Proof, Starts, testing::ValuesIn(policies()), name_of);
INSTANTIATE_TEST_SUITE_P(Proof, States, testing::ValuesIn(policies()), name_of);

} // namespace
} // namespace proof
