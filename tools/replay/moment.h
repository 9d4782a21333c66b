// SPDX-License-Identifier: MIT
// Points in time as a trace and a person write them. In the program they are milliseconds from
// 1970, UTC, or from 0 for a trace that counts its seconds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace replay {

// Up to the year 9999. Parts of a millisecond are cut off.
inline constexpr std::int64_t last_moment_ms = 253402300799999;

// "12", "12.5", "1700000000.123456": seconds.
std::optional<std::int64_t> parse_seconds(std::string_view text);

// "2026-07-14T13:05:00", with a blank for the T, without seconds, with a fraction, and with "Z" or
// "+02:00" at its end; UTC without one.
std::optional<std::int64_t> parse_date(std::string_view text);

// Either of them.
std::optional<std::int64_t> parse_moment(std::string_view text);

// "2026-07-14 13:05:00", for moments before 1973 the time that has passed: "13:05:00", "2d
// 13:05:00"; parts of a second only where there are some.
std::string moment_text(std::int64_t milliseconds);

// A span of time as above: "13:05:00", "2d 13:05:00".
std::string span_text(std::int64_t milliseconds);

} // namespace replay
