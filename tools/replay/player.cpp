// SPDX-License-Identifier: MIT
#include "player.h"

#include <algorithm>

#include "host/base/integer.h"
#include "interruption.h"

namespace replay {

bool Player::take(const Condition& condition)
{
    constexpr std::string_view line = "line.";
    constexpr std::string_view load = "load";
    if (condition.name.starts_with(line)) {
        const auto number = host::parse_integer(condition.name.substr(line.size()));
        if (terminal_.set_wire(number.value_or(0), condition.value != 0))
            return true;
        error_ = terminal_.error();
        return false;
    }
    if (heat_.empty()) {
        error_ = "the trace tells '" + std::string(condition.name) +
                 "', which is for a closed loop: --heat is missing";
        return false;
    }
    if (condition.name == "ambient") {
        surroundings_.ambient = condition.value;
        has_ambient_ = true;
    } else if (condition.name == load) {
        surroundings_.load.fill(condition.value);
    } else {
        for (const power_man::Consumer& consumer : power_man::consumers) {
            if (condition.name.substr(load.size() + 1) == name_of(consumer.index))
                surroundings_.load[consumer.index] = condition.value;
        }
    }
    return true;
}

// What the row says; what the daemon does about it is up to the loop.
bool Player::apply(const Row& row)
{
    for (const bool of_all : {true, false}) { // what one consumer has for itself comes last
        for (const Condition& condition : row.conditions) {
            if ((condition.name == "load") == of_all && !take(condition))
                return false;
        }
    }
    for (const SensorHeat& heat : heat_) {
        const std::string_view key = model_.sensors[heat.sensor].key;
        if (std::any_of(row.writes.begin(), row.writes.end(),
                        [key](const host::Write& write) { return write.key == key; })) {
            error_ = "the trace has readings of " + std::string(key) +
                     ", which the closed loop makes itself";
            return false;
        }
    }
    terminal_.write(row.writes);
    return true;
}

// Lets the sensors get warm up to that moment, under what has held since the last time.
void Player::warm(std::int64_t moment)
{
    for (const power_man::Consumer& consumer : power_man::consumers)
        surroundings_.off[consumer.index] = recorder_.is_off(consumer.index);
    for (SensorHeat& heat : heat_)
        heat.step(static_cast<double>(moment - warmed_) / 1000, surroundings_);
    warmed_ = moment;
}

// Writes the readings that have changed, or all of them.
void Player::show_readings(bool all)
{
    std::vector<std::string> texts(heat_.size());
    Row row;
    row.time_ms = terminal_.now();
    for (std::size_t i = 0; i < heat_.size(); ++i) {
        const std::int32_t reading = heat_[i].reading();
        if (!all && reading == shown_[i])
            continue;
        shown_[i] = reading;
        texts[i] = std::to_string(reading);
        row.writes.push_back({model_.sensors[heat_[i].sensor].key, texts[i]});
    }
    if (row.writes.empty())
        return;
    recorder_.row(row.time_ms, row);
    terminal_.write(row.writes);
    terminal_.pass_until(row.time_ms);
}

// Up to that moment, or until somebody interrupts.
void Player::pass_until(std::int64_t moment, Progress& progress)
{
    for (; next_step_ <= moment; next_step_ += step_ms_) {
        if (interruption() != 0)
            return;
        terminal_.pass_until(next_step_);
        warm(next_step_);
        show_readings(false);
        progress.at(next_step_);
    }
    terminal_.pass_until(moment);
    warm(moment);
}

bool Player::start(const Row& first)
{
    terminal_.start(recorder_);
    recorder_.started();
    recorder_.row(0, first);
    if (!apply(first))
        return false;
    terminal_.pass_until(0);
    if (!heat_.empty() && !has_ambient_) {
        error_ = "the first row of a closed loop tells 'ambient'";
        return false;
    }
    for (SensorHeat& heat : heat_)
        heat.temperature = surroundings_.ambient; // it was off
    shown_.resize(heat_.size());
    next_step_ = step_ms_;
    show_readings(true);
    return true;
}

bool Player::play(Trace& trace, Row& row)
{
    const std::int64_t begin = row.time_ms;
    Progress progress(trace.bytes(), begin);
    const auto fail = [&] {
        if (terminal_.error().empty()) // the row is to blame
            error_ = trace.at_row(error_);
        return false;
    };
    if (!start(row))
        return fail();
    while (trace.next(row)) {
        const std::int64_t now = row.time_ms - begin;
        pass_until(now, progress);
        if (interruption() != 0)
            break;
        recorder_.row(now, row);
        if (!apply(row))
            return fail();
        terminal_.pass_until(now);
        progress.at(now);
    }
    if (interruption() != 0)
        return false;
    if (trace.failed()) {
        error_ = trace.error();
        return false;
    }
    recorder_.ended(terminal_.now());
    return true;
}

} // namespace replay
