// SPDX-License-Identifier: MIT
#include "insight/history.h"

#include <algorithm>

namespace power_man::insight {
namespace {

using Limits = std::numeric_limits<std::int16_t>;

} // namespace

static_assert(sizeof(History::Span) == 8, "two hundred of them are kept for each sensor");

void History::Sum::add(std::int32_t reading, std::int32_t interval)
{
    const auto kept =
        static_cast<std::int16_t>(std::clamp<std::int32_t>(reading, Limits::min(), Limits::max()));
    span.low = std::min(span.low, kept);
    span.high = std::max(span.high, kept);
    span.lowest_interval = std::min(span.lowest_interval, static_cast<std::uint8_t>(interval));
    span.highest_interval = std::max(span.highest_interval, static_cast<std::uint8_t>(interval));
    total += kept;
    ++count;
}

void History::Sum::add(const Sum& other)
{
    span.low = std::min(span.low, other.span.low);
    span.high = std::max(span.high, other.span.high);
    span.lowest_interval = std::min(span.lowest_interval, other.span.lowest_interval);
    span.highest_interval = std::max(span.highest_interval, other.span.highest_interval);
    total += other.total;
    count += other.count;
}

// The mean is rounded to the nearest degree.
History::Span History::Sum::result() const
{
    Span result = span;
    if (count > 0) {
        const std::int64_t half = total < 0 ? -std::int64_t{count / 2} : std::int64_t{count / 2};
        result.mean = static_cast<std::int16_t>((total + half) / count);
    }
    return result;
}

History::History(Moment begin, std::int32_t interval)
    : minute_end_(begin - begin % minute + minute), open_(static_cast<std::uint8_t>(interval)),
      quarter_(static_cast<std::uint8_t>(interval)), interval_(static_cast<std::uint8_t>(interval))
{
}

void History::advance(Moment now)
{
    while (now >= minute_end_) {
        minutes_[(minute_end_ / minute - 1) % minutes] = open_.result();
        quarter_.add(open_);
        if (minute_end_ % quarter == 0) {
            quarters_[(minute_end_ / quarter - 1) % quarters] = quarter_.result();
            quarter_ = Sum(interval_);
        }
        open_ = Sum(interval_);
        minute_end_ += minute;
    }
}

History::Span History::span(Moment begin, Moment length) const
{
    const Moment open = minute_end_ - minute;
    if (open - begin >= length)
        return length == minute ? minutes_[begin / minute % minutes]
                                : quarters_[begin / quarter % quarters];
    Sum sum = open_;
    if (length == quarter)
        sum.add(quarter_);
    return sum.result();
}

} // namespace power_man::insight
