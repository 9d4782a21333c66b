// SPDX-License-Identifier: MIT
#include "interpolated_trace.h"

#include <algorithm>
#include <cmath>

#include "host/base/integer.h"

namespace replay {
namespace {

constexpr std::int64_t largest_step = 1000; // degrees; more is no temperature
constexpr std::uint64_t most_rows = 10000;  // without the next temperature

} // namespace

InterpolatedTrace::InterpolatedTrace(std::unique_ptr<Trace> trace,
                                     const std::vector<std::string>& temperatures)
    : trace_(std::move(trace))
{
    for (const std::string& name : temperatures)
        last_[name];
    last_["ambient"];
}

// Puts the steps up to this temperature among the rows that wait.
void InterpolatedTrace::take(std::string_view name, std::optional<std::int64_t> degrees,
                             bool is_condition)
{
    const auto found = last_.find(name);
    if (found == last_.end())
        return;
    const std::optional<Last> last = found->second;
    found->second.reset();
    if (degrees)
        found->second = {*degrees, row_.time_ms, rows_};
    const std::int64_t count = last && degrees ? std::abs(*degrees - last->degrees) : 0;
    if (count < 2 || count > largest_step)
        return;
    steps_from_ = std::min(steps_from_, last->time_ms);
    const std::int64_t span = row_.time_ms - last->time_ms;
    for (std::int64_t i = 1; i < count; ++i) {
        // On whole seconds, where there is time enough.
        const std::int64_t unit = span / count >= 1000 ? 1000 : 1;
        const std::int64_t step = last->degrees + (*degrees > last->degrees ? i : -i);
        Waiting waiting;
        waiting.time_ms = last->time_ms + span * i / count / unit * unit;
        if (is_condition)
            waiting.conditions.emplace_back(name, static_cast<double>(step));
        else
            waiting.writes.emplace_back(name, std::to_string(step));
        waiting_.push_back(std::move(waiting));
    }
}

// Reads another row.
bool InterpolatedTrace::fetch()
{
    at_end_ = !trace_->next(row_);
    if (at_end_)
        return false;
    ++rows_;
    Waiting waiting;
    waiting.time_ms = row_.time_ms;
    waiting.place = trace_->at_row("");
    const std::size_t before = waiting_.size();
    steps_from_ = row_.time_ms;
    for (const host::Write& write : row_.writes) {
        waiting.writes.emplace_back(write.key, write.value);
        take(write.key, write.value ? host::parse_integer(*write.value) : std::nullopt, false);
    }
    for (const Condition& condition : row_.conditions) {
        waiting.conditions.emplace_back(condition.name, condition.value);
        take(condition.name, std::llround(condition.value), true);
    }
    const auto is_later = [](std::int64_t time, const Waiting& row) { return time < row.time_ms; };
    const auto in_order = waiting_.begin() + static_cast<std::ptrdiff_t>(before);
    std::stable_sort(std::upper_bound(waiting_.begin(), in_order, steps_from_, is_later),
                     waiting_.end(),
                     [](const Waiting& a, const Waiting& b) { return a.time_ms < b.time_ms; });
    waiting_.push_back(std::move(waiting));
    return true;
}

// Nothing will come in front of it: the next of each temperature before it is known.
bool InterpolatedTrace::front_is_ready() const
{
    return !waiting_.empty() && std::all_of(last_.begin(), last_.end(), [this](const auto& pair) {
        const std::optional<Last>& last = pair.second;
        return !last || last->time_ms >= waiting_.front().time_ms;
    });
}

bool InterpolatedTrace::next(Row& row)
{
    row.clear();
    while (!at_end_ && !front_is_ready() && fetch()) {
        for (auto& [name, last] : last_) {
            if (last && rows_ - last->row > most_rows)
                last.reset();
        }
    }
    if (waiting_.empty()) {
        error_ = trace_->error();
        return false;
    }
    given_ = std::move(waiting_.front());
    waiting_.pop_front();
    row.time_ms = given_.time_ms;
    for (const auto& [key, value] : given_.writes)
        row.writes.push_back({key, value ? std::optional<std::string_view>(*value) : std::nullopt});
    for (const auto& [name, value] : given_.conditions)
        row.conditions.push_back({name, value});
    return true;
}

} // namespace replay
