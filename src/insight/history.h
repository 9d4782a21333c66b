// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "insight/moment.h"

namespace power_man::insight {

// What one sensor read: each minute of the last 2 h and each quarter of an hour of the last 24 h.
// 1.8 kB, whatever comes in; nothing is done but when a reading comes or somebody looks.
class History {
public:
    // A minute or a quarter.
    struct Span {
        std::int16_t low = std::numeric_limits<std::int16_t>::max();
        std::int16_t high = std::numeric_limits<std::int16_t>::min(); // below `low`: no reading
        std::int16_t mean = 0;                                        // of the readings
        std::uint8_t lowest_interval = 0; // that the sensor was in, with or without readings
        std::uint8_t highest_interval = 0;

        bool is_empty() const { return high < low; }
    };
    static constexpr std::size_t minutes = 120;
    static constexpr std::size_t quarters = 96;

    // Begins at that moment, with the sensor in that interval.
    History(Moment begin, std::int32_t interval);

    // In the order of time. A reading beyond 16 bits counts as the last that fits.
    void add(Moment at, std::int32_t reading, std::int32_t interval)
    {
        if (at >= minute_end_)
            advance(at);
        open_.add(reading, interval);
        interval_ = static_cast<std::uint8_t>(interval);
    }

    // Closes what has passed; to be called before span().
    void advance(Moment now);

    // The minute or quarter (`length`) that begins at `begin`, a multiple of it: not in the future,
    // and not before what is kept. Before the beginning of all it is empty.
    Span span(Moment begin, Moment length) const;

private:
    // One that is still growing.
    struct Sum {
        explicit Sum(std::uint8_t interval)
        {
            span.lowest_interval = span.highest_interval = interval;
        }
        void add(std::int32_t reading, std::int32_t interval);
        void add(const Sum& other);
        Span result() const;

        Span span;
        std::uint32_t count = 0;
        std::int64_t total = 0;
    };

    std::array<Span, minutes> minutes_{};
    std::array<Span, quarters> quarters_{};
    Moment minute_end_; // of the open minute
    Sum open_;          // minute
    Sum quarter_;       // what has passed of the open one
    std::uint8_t interval_;
};

} // namespace power_man::insight
