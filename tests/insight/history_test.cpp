// SPDX-License-Identifier: MIT
#include "insight/history.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace power_man::insight;

struct Reading {
    Moment at;
    std::int32_t value;
    std::int32_t interval;
};

// The same by looking at all of them.
History::Span slowly(const std::vector<Reading>& readings, Moment begin, Moment length)
{
    History::Span span;
    std::int64_t total = 0;
    std::int64_t count = 0;
    int lowest = 1;
    int highest = 1;
    for (const Reading& reading : readings) {
        if (reading.at >= begin + length)
            break;
        if (reading.at < begin) {
            lowest = highest = reading.interval; // in which the span begins
            continue;
        }
        const auto value = static_cast<std::int16_t>(std::clamp(reading.value, -32768, 32767));
        span.low = std::min(span.low, value);
        span.high = std::max(span.high, value);
        lowest = std::min(lowest, reading.interval);
        highest = std::max(highest, reading.interval);
        total += value;
        ++count;
    }
    if (count > 0)
        span.mean = static_cast<std::int16_t>(
            std::lround(static_cast<double>(total) / static_cast<double>(count)));
    span.lowest_interval = static_cast<std::uint8_t>(lowest);
    span.highest_interval = static_cast<std::uint8_t>(highest);
    return span;
}

std::string shown(const History::Span& span)
{
    return std::to_string(span.low) + " " + std::to_string(span.mean) + " " +
           std::to_string(span.high) + " in " + std::to_string(span.lowest_interval) + " to " +
           std::to_string(span.highest_interval);
}

// Thirty hours, with bursts, silences of hours, and readings that no sensor could give.
TEST(History, KeepsMinutesAndQuarters)
{
    constexpr Moment begin = 777;
    std::mt19937 random(1);
    const auto up_to = [&](unsigned int limit) {
        return static_cast<unsigned int>(random() % (limit + 1));
    };
    History history(begin, 1);
    std::vector<Reading> readings;
    Moment at = begin;
    for (int i = 0; i < 3000; ++i) {
        at += up_to(50) == 0 ? up_to(4000) : up_to(20);
        const std::int32_t value = up_to(100) == 0 ? static_cast<std::int32_t>(random())
                                                   : static_cast<std::int32_t>(up_to(120)) - 60;
        readings.push_back({at, value, static_cast<std::int32_t>(up_to(4))});
        history.add(at, value, readings.back().interval);
        if (up_to(200) != 0)
            continue;
        const Moment now = at + up_to(1) * up_to(100000);
        History later = history;
        later.advance(now);
        for (const Moment length : {minute, quarter}) {
            const Moment kept = length == minute ? 120 * minute : 96 * quarter;
            Moment span = now - now % length;
            for (; span >= begin && now - span <= kept; span -= length)
                ASSERT_EQ(shown(later.span(span, length)), shown(slowly(readings, span, length)))
                    << i << ", " << now - span << " s ago";
        }
    }
    EXPECT_GT(at, 24 * hour);
    EXPECT_LE(sizeof(History), 2048U);
}

} // namespace
