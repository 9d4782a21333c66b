// SPDX-License-Identifier: MIT
#include "text_report.h"

#include <algorithm>

#include "formatted.h"
#include "host/base/printable.h"
#include "moment.h"
#include "temperature/temp_desc.h"

namespace replay {
namespace {

constexpr std::size_t longest_shown_value = 60;

std::string written(const host::Write& write)
{
    return std::string(write.key) +
           (write.value ? " = " + host::printable(*write.value, longest_shown_value) : " removed");
}

std::string number_text(double value)
{
    return formatted("%g", value);
}

} // namespace

std::string interval_name(const power_man::Sensor& sensor, std::size_t interval)
{
    const std::size_t last = sensor.intervals.size() - 1;
    return interval <= last ? sensor.intervals[interval].name
                            : std::string("beyond ") + sensor.intervals[last].name;
}

std::string value_text(const Reading& reading)
{
    if (!reading.is_state)
        return std::to_string(reading.value);
    const auto state = static_cast<std::size_t>(reading.value);
    return state < temp_state_text.size() ? temp_state_text[state] : std::to_string(reading.value);
}

// What the daemon does at its start is the same for every trace: only its warnings are shown,
// unless a seed held a reading that took something away.
void TextReport::started()
{
    started_ = true;
    const auto is_warning = [](const std::string& text) { return text.starts_with("log "); };
    const auto effects = std::count_if(start_.begin(), start_.end(),
                                       [](const std::string& text) { return text.front() != '-'; });
    output_ << moment_text(begin_ms_) << "  a " << model_.id << " starts, with "
            << std::to_string(effects) << " effects\n";
    for (const std::string& text : start_) {
        if (start_transition_ || is_warning(text))
            output_ << "  " << text << "\n";
    }
    start_.clear();
}

void TextReport::row(std::int64_t now, const Row& row)
{
    row_ = &row;
    row_time_ = now;
    has_heading_ = false;
}

// A line behind its time, which is printed once.
void TextReport::line(std::int64_t now, std::string_view text)
{
    if (now != last_time_ || !has_heading_) {
        const std::string time = moment_text(begin_ms_ + now) + "  ";
        margin_.assign(time.size(), ' ');
        output_ << time << text << "\n";
    } else {
        output_ << margin_ << text << "\n";
    }
    last_time_ = now;
    has_heading_ = true;
}

bool TextReport::wrote(const char* key) const
{
    return std::any_of(row_->writes.begin(), row_->writes.end(),
                       [key](const host::Write& write) { return write.key == key; });
}

// What caused the next line: the row's writes but for readings, whose sensors speak for themselves,
// or nothing but time.
void TextReport::heading(std::int64_t now)
{
    const bool by_row = now == row_time_;
    if (has_heading_ && now == last_time_)
        return;
    has_heading_ = false;
    if (!by_row)
        return line(now, "(a timer)");
    std::string text;
    const auto add = [&text](const std::string& part) {
        text += (text.empty() ? "" : ", ") + part;
    };
    const auto feeds_sensor = [this](const host::Write& write) {
        return std::any_of(model_.sources.begin(), model_.sources.end(), [&](const auto& source) {
            return source.reading != power_man::Reading::supply && write.key == source.key;
        });
    };
    for (const host::Write& write : row_->writes) {
        if (!feeds_sensor(write))
            add(written(write));
    }
    for (const Condition& condition : row_->conditions)
        add(std::string(condition.name) + " = " + number_text(condition.value));
    for (const host::Write& write : row_->writes) {
        if (feeds_sensor(write) && text.empty())
            add(written(write));
    }
    line(now, text.empty() ? "(nothing was written)" : text);
}

void TextReport::evaluated(std::int64_t now, const Reading& reading)
{
    if (!reading.is_transition())
        return;
    const power_man::Sensor& sensor = model_.sensors[reading.sensor];
    const std::string text = std::string(sensor.name) + " " + value_text(reading) + ": " +
                             interval_name(sensor, reading.before) + " -> " +
                             interval_name(sensor, reading.after);
    if (!started_) {
        start_transition_ = true;
        start_.push_back("- " + text);
        return;
    }
    const auto is_cause = [&](const power_man::Source& source) {
        return source.sensor == reading.sensor && source.reading != power_man::Reading::supply &&
               now == row_time_ && wrote(source.key);
    };
    if (now == row_time_ && std::none_of(model_.sources.begin(), model_.sources.end(), is_cause))
        heading(now);
    line(now, text);
}

void TextReport::effect(std::int64_t now, std::string_view text)
{
    if (!started_) {
        start_.emplace_back(text);
        return;
    }
    heading(now);
    line(now, "  " + std::string(text));
}

void TextReport::sensor_table(std::size_t index, const SensorSummary& sensor, std::int64_t duration)
{
    const power_man::Sensor& description = model_.sensors[index];
    const std::string name = description.name;
    if (sensor.readings == 0) {
        output_ << name << ": no reading was evaluated\n\n";
        return;
    }
    output_ << formatted("%-28s %15s %9s %9s\n", name.c_str(), "time in it", "share", "entered");
    for (std::size_t i = 0; i < sensor.time_in.size(); ++i) {
        if (i == description.intervals.size() && sensor.entered[i] == 0)
            continue; // beyond the last: few sensors can go there
        const double share = duration > 0 ? 100.0 * static_cast<double>(sensor.time_in[i]) /
                                                static_cast<double>(duration)
                                          : 0;
        output_ << formatted("  %-26s %15s %7.2f %% %9llu\n", interval_name(description, i).c_str(),
                             span_text(sensor.time_in[i]).c_str(), share,
                             static_cast<unsigned long long>(sensor.entered[i]));
    }
    output_ << formatted("  readings: %llu", static_cast<unsigned long long>(sensor.readings));
    if (!power_man::decides_by_alarm(description))
        output_ << formatted(", lowest %d at ", sensor.lowest->value)
                << moment_text(begin_ms_ + sensor.lowest->at)
                << formatted(", highest %d at ", sensor.highest->value)
                << moment_text(begin_ms_ + sensor.highest->at)
                << formatted(", last %d", sensor.last);
    output_ << "\n\n";
}

void TextReport::consumer_table(const Summary& summary)
{
    output_ << formatted("%-20s %9s %15s", "Held off", "times", "time");
    for (const power_man::Sensor& sensor : model_.sensors)
        output_ << formatted(
            "  %*s", std::max(15, static_cast<int>(std::string_view(sensor.name).size()) + 3),
            (std::string("by ") + sensor.name).c_str());
    output_ << "\n";
    for (const power_man::Consumer& consumer : power_man::consumers) {
        const ConsumerSummary& held = summary.consumers[consumer.index];
        output_ << formatted("  %-18s %9llu %15s", name_of(consumer.index),
                             static_cast<unsigned long long>(held.times_off),
                             span_text(held.time_off).c_str());
        for (std::size_t i = 0; i < model_.sensors.size(); ++i)
            output_ << formatted(
                "  %*s",
                std::max(15, static_cast<int>(std::string_view(model_.sensors[i].name).size()) + 3),
                span_text(held.by_sensor[i]).c_str());
        output_ << "\n";
    }
}

void TextReport::table(const Summary& summary)
{
    output_ << "\nTime: " << span_text(summary.duration)
            << formatted(", rows: %llu, writes: %llu\n\n",
                         static_cast<unsigned long long>(summary.rows),
                         static_cast<unsigned long long>(summary.writes));
    for (std::size_t i = 0; i < summary.sensors.size(); ++i)
        sensor_table(i, summary.sensors[i], summary.duration);
    consumer_table(summary);
    output_ << formatted("\nReboots asked: %llu, shutdowns asked: %llu\nEvents raised:",
                         static_cast<unsigned long long>(summary.reboots),
                         static_cast<unsigned long long>(summary.shutdowns));
    for (const auto& [name, count] : summary.raised)
        output_ << formatted("\n  %6llu ", static_cast<unsigned long long>(count)) << name;
    output_ << (summary.raised.empty() ? " none\n" : "\n");
}

} // namespace replay
