// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdio>
#include <random>

#include "proof/invariants.h"
#include "support/allocations.h"

namespace proof {

inline int number_in(const char* variable, int otherwise)
{
    const char* const text = std::getenv(variable);
    return text != nullptr ? std::stoi(text) : otherwise;
}

// A terminal's life in virtual time: weather and work, amplifiers, users who change their minds,
// supplies that come and go, short circuits. What must hold is looked at after each step.
class Life {
public:
    explicit Life(const Policy& policy)
        : terminal_(policy.model), policy_(policy), judge_(terminal_, policy_)
    {
    }
    virtual ~Life() = default;

    // PROOF_DAYS says how many days, 7 if nothing does, and PROOF_SEED which of all lives. At the
    // end no more descriptors and memory are taken than after the first day.
    void live()
    {
        judge_.listen(terminal_.start());
        judge_.listen(others_write({{"ram.status.interfaces.lan.enabled", "1"},
                                    {"cfg.interfaces.lan.0.poe.enabled", "1"},
                                    {"cfg.interfaces.lan.1.poe.enabled", "1"},
                                    {"ram.status.sw_update.settled", "1"}}));
        now_ = State::present(policy_);
        const int days = number_in("PROOF_DAYS", 7);
        long descriptors = 0;
        std::size_t bytes = 0;
        for (int day = 0; day < days; ++day) {
            for (const std::uint64_t end = clock_ms() + day_ms; clock_ms() < end; ++steps_) {
                step();
                if (testing::Test::HasFailure())
                    return;
            }
            compare_database();
            descriptors = day == 0 ? open_descriptors() : descriptors;
            bytes = day == 0 ? live_bytes() : bytes;
        }
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_LE(live_bytes(), bytes + 1024 + on_its_way());
        EXPECT_GT(crossings_, 5 * days);
        std::printf("%s: %d days, %ld steps, %ld crossings, %ld ends of the terminal, %ld short "
                    "circuits, %ld losses of the server; %ld descriptors, %zu bytes, after the "
                    "first day %zu\n",
                    policy_.model, days, steps_, crossings_, judge_.orders, shorts_, losses_,
                    descriptors, live_bytes(), bytes);
    }

protected:
    using Changes = std::vector<Terminal::Change>;

    // Others write, and the daemon is told; returns its story.
    virtual std::string others_write(const Changes& changes) { return terminal_.change(changes); }

    // For a database that can be lost: what happens from time to time, what is to be compared each
    // day, and how many bytes may be on their way.
    virtual void lose_database() {}
    virtual void compare_database() {}
    virtual std::size_t on_its_way() const { return 0; }

    void judge(const std::string& story)
    {
        const State before = std::exchange(now_, State::present(policy_));
        crossings_ += before.intervals != now_.intervals ? 1 : 0;
        EXPECT_EQ(judge_.judge(before, now_, story), "") << "at " << clock_ms() << " ms";
    }

    // While the daemon could not be told.
    Changes changed_meanwhile()
    {
        return {{policy_.sensors[0].key, std::to_string(warmth())},
                {key::external_supply, std::to_string(any(0, 1))}};
    }

    int any(long from, long to)
    {
        return static_cast<int>(std::uniform_int_distribution(from, to)(random_));
    }
    bool once_in(int number) { return any(1, number) == 1; }

    Terminal terminal_;
    long losses_ = 0;

private:
    static constexpr std::uint64_t day_ms = 86'400'000;

    static std::uint64_t clock_ms() { return host::instance().clock.now_ms(); }
    static long open_descriptors()
    {
        const fs::directory_iterator open("/proc/self/fd");
        return std::distance(begin(open), end(open));
    }

    void write(const std::string& name, const std::optional<std::string>& value)
    {
        SCOPED_TRACE(name + "=" + value.value_or(""));
        judge(others_write({{name, value}}));
    }
    void write(const std::string& name, int value) { write(name, std::to_string(value)); }

    // What the season, the hour and a spell of work or rest make of a sensor that shows degrees. A
    // spell leads to one of the boundaries, where something happens.
    int warmth()
    {
        const double turn = 2 * 3.14159265 * static_cast<double>(clock_ms()) / day_ms;
        const std::set<int> boundaries = policy_.sensors[0].values();
        if (once_in(5))
            spell_ = *std::next(boundaries.begin(), any(0, std::ssize(boundaries) - 1));
        inside_ += (spell_ - inside_) / 3 + any(-2, 2);
        return static_cast<int>(inside_ - 3 * std::cos(turn) - 3 * std::cos(turn / 365));
    }

    void read(const Sensor& sensor)
    {
        const bool broken = once_in(50);
        if (sensor.by_state()) // as the amplifier tells it: the daemon copies that
            write(key::platform_hpa_state, broken ? any(-9, 99) : any(0, 6));
        else if (broken)
            write(sensor.key, once_in(2) ? std::optional<std::string>("n/a") : std::nullopt);
        else
            write(sensor.key, warmth());
    }

    void change_supply()
    {
        if (once_in(4))
            write(key::external_supply, once_in(2) ? std::optional<std::string>("") : std::nullopt);
        else
            write(key::external_supply, any(0, 1));
    }

    // Until the power has been cycled.
    void short_circuit()
    {
        constexpr const char* line = "/sys/class/gpio/gpio81/value";
        if (terminal_.file(line).empty())
            return; // the model has none, or USB was never on
        ++shorts_;
        terminal_.put(line, "1");
        terminal_.run(0);
        terminal_.put(line, "0");
        const std::string story = terminal_.run(2500);
        judge(story);
        EXPECT_EQ(in_words(only(story, {"raise USB", "clear USB", "pin 80"})),
                  "raise USB short circuit 80=high 80=low clear USB short circuit");
    }

    // Whatever it is, the copies of the amplifier's readings are made before the next.
    void step()
    {
        const char* const settings[] = {key::usb_enabled, key::usb_extended,
                                        "ram.status.interfaces.lan.enabled"};
        const int kind = any(1, 1000);
        if (kind <= 880)
            read(once_in(4) ? policy_.sensors.back() : policy_.sensors.front());
        else if (kind <= 930)
            change_supply();
        else if (kind <= 980)
            write(settings[any(0, 2)], any(0, 1));
        else if (kind <= 990)
            short_circuit();
        else if (kind <= 994)
            lose_database();
        judge(terminal_.run(1000 * static_cast<std::uint64_t>(any(6, 300))));
        EXPECT_TRUE(!policy_.sensors.back().by_state() ||
                    terminal_.value(key::hpa_temperature_state) ==
                        terminal_.value(key::platform_hpa_state));
    }

    const Policy policy_;
    Judge judge_;
    std::mt19937 random_{static_cast<unsigned int>(number_in("PROOF_SEED", 1))};
    double spell_ = 20; // where it leads
    double inside_ = 20;
    State now_;
    long steps_ = 0;
    long crossings_ = 0;
    long shorts_ = 0;
};

} // namespace proof
