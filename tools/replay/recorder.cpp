// SPDX-License-Identifier: MIT
#include "recorder.h"

#include <algorithm>

#include "base/config_keys.h"
#include "host/host/host.h"
#include "temperature/action_table.h"

namespace replay {
namespace {

using power_man::Action;
using power_man::ConsumerIndex;

// Takes the first word from a journal line.
std::string_view take_word(std::string_view& line)
{
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(line.size(), word.size() + 1));
    return word;
}

} // namespace

Recorder::Recorder(const power_man::Model& model, std::vector<Listener*> listeners)
    : model_(model), listeners_(std::move(listeners))
{
}

void Recorder::started()
{
    for (Listener* const listener : listeners_)
        listener->started();
}

void Recorder::row(std::int64_t now, const Row& row)
{
    for (Listener* const listener : listeners_)
        listener->row(now, row);
}

void Recorder::ended(std::int64_t now)
{
    for (Listener* const listener : listeners_)
        listener->ended(now);
}

void Recorder::cross(std::int64_t now, std::size_t sensor, Action action)
{
    const Sensors bit = Sensors{1} << sensor;
    const power_man::ActionRow& row = power_man::action_row(action);
    for (const power_man::Effect part : row.parts) {
        if (!power_man::is_hold(part))
            continue;
        const auto index = static_cast<ConsumerIndex>(part);
        Held& held = consumers_[index];
        held.by = row.begins ? held.by | bit : held.by & ~bit;
        if (!held.off || held.by == 0)
            continue; // the key tells
        for (Listener* const listener : listeners_)
            listener->consumer(now, index, true, held.by);
    }
}

void Recorder::evaluated(std::size_t sensor, const power_man::Evaluation& evaluation)
{
    if (!evaluation.supply)
        return;
    const power_man::Sensor& description = model_.sensors[sensor];
    const bool is_state = power_man::decides_by_alarm(description);
    const Reading reading{sensor,
                          is_state ? evaluation.alarm_id : evaluation.temp,
                          is_state,
                          *evaluation.supply != 0,
                          static_cast<std::size_t>(evaluation.before),
                          static_cast<std::size_t>(evaluation.after)};
    const auto now = static_cast<std::int64_t>(host::instance().clock.now_ms());
    tell_effects(now - 1);
    for (Listener* const listener : listeners_)
        listener->evaluated(now, reading);
    const std::size_t count = description.intervals.size();
    for (std::size_t k = reading.before; k < std::min(reading.after, count); ++k)
        cross(now, sensor, description.intervals[k].up);
    for (std::size_t k = reading.before; k > reading.after; --k) {
        if (k < count)
            cross(now, sensor, description.intervals[k].down);
    }
    tell_effects(now);
}

void Recorder::settled()
{
    tell_effects(INT64_MAX);
}

void Recorder::tell_effects(std::int64_t until)
{
    for (; !effects_.empty() && effects_.front().time <= until; effects_.pop_front())
        tell(effects_.front());
}

// The copies of an amplifier's readings, made every 5 s whatever happens.
bool Recorder::is_copy(std::string_view key) const
{
    if (!power_man::has_amplifier(model_))
        return false;
    return key == power_man::key::hpa_temperature || key == power_man::key::hpa_temperature_state ||
           std::any_of(model_.copies.begin(), model_.copies.end(),
                       [key](const power_man::Copy& copy) { return key == copy.to; });
}

void Recorder::key_written(std::int64_t now, std::string_view key, std::string_view value)
{
    for (const power_man::Consumer& consumer : power_man::consumers) {
        if (key != consumer.key)
            continue;
        Held& held = consumers_[consumer.index];
        held.off = value != "0";
        for (Listener* const listener : listeners_)
            listener->consumer(now, consumer.index, held.off, held.off ? held.by : 0);
    }
}

void Recorder::written(const host::Journal::Line& line)
{
    std::string_view rest = line.text;
    if (take_word(rest) == "set" && is_copy(take_word(rest)))
        return;
    effects_.push_back({static_cast<std::int64_t>(line.time_ms), std::string(line.text)});
}

void Recorder::tell(const Effect& effect)
{
    const std::int64_t now = effect.time;
    std::string_view rest = effect.line;
    const std::string_view verb = take_word(rest);
    std::string_view value = rest;
    const std::string_view name = take_word(value);
    for (Listener* const listener : listeners_)
        listener->effect(now, effect.line);
    if (verb == "set")
        key_written(now, name, value);
    const bool raised = verb == "raise";
    if (raised || verb == "clear") {
        for (Listener* const listener : listeners_)
            listener->event(now, rest, raised);
    }
    const bool reboot = name == "psumcu.powerctrl.reboot";
    if (verb == "signal" && (reboot || name == "psumcu.powerctrl.shutdown")) {
        for (Listener* const listener : listeners_)
            listener->order(now, reboot ? Order::reboot : Order::shutdown);
    }
}

} // namespace replay
