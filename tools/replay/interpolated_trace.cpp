// SPDX-License-Identifier: MIT
#include "interpolated_trace.h"

#include <algorithm>
#include <cmath>

#include "host/base/integer.h"

namespace replay {
namespace {

constexpr std::int64_t largest_step = 1000; // degrees; more is no temperature

} // namespace

InterpolatedTrace::InterpolatedTrace(std::unique_ptr<Trace> trace,
                                     const std::vector<std::string>& temperatures)
    : trace_(std::move(trace))
{
    for (const std::string& name : temperatures)
        last_[name];
    last_["ambient"];
}

void InterpolatedTrace::add_steps(std::string_view name, std::int64_t degrees, bool is_condition)
{
    const auto found = last_.find(name);
    if (found == last_.end())
        return;
    const Last last = found->second;
    found->second = {degrees, row_};
    if (last.row == 0 || last.row + 1 != row_)
        return;
    const std::int64_t from = last.degrees;
    const std::int64_t count = std::abs(degrees - from);
    if (count > largest_step)
        return;
    const std::int64_t span = pending_.time_ms - last_ms_;
    // On whole seconds, where there is time enough.
    const std::int64_t unit = count > 0 && span / count >= 1000 ? 1000 : 1;
    for (std::int64_t i = 1; i < count; ++i)
        steps_.push_back({last_ms_ + span * i / count / unit * unit, found->first,
                          from + (degrees > from ? i : -i), is_condition});
}

// The next row, and the steps up to it.
bool InterpolatedTrace::fetch()
{
    if (!trace_->next(pending_)) {
        error_ = trace_->error();
        return false;
    }
    ++row_;
    for (const host::Write& write : pending_.writes) {
        const auto degrees = write.value ? host::parse_integer(*write.value) : std::nullopt;
        if (degrees)
            add_steps(write.key, *degrees, false);
    }
    for (const Condition& condition : pending_.conditions)
        add_steps(condition.name, std::llround(condition.value), true);
    std::stable_sort(steps_.begin(), steps_.end(),
                     [](const Step& a, const Step& b) { return a.time_ms < b.time_ms; });
    last_ms_ = pending_.time_ms;
    has_pending_ = true;
    return true;
}

void InterpolatedTrace::give(const Step& step, Row& row)
{
    row.clear();
    row.time_ms = step.time_ms;
    if (step.is_condition) {
        row.conditions.push_back({step.name, static_cast<double>(step.degrees)});
        return;
    }
    text_ = std::to_string(step.degrees);
    row.writes.push_back({step.name, text_});
}

bool InterpolatedTrace::next(Row& row)
{
    if (!has_pending_ && !fetch())
        return false;
    if (!steps_.empty()) {
        give(steps_.front(), row);
        steps_.pop_front();
        return true;
    }
    std::swap(row, pending_);
    has_pending_ = false;
    return true;
}

} // namespace replay
