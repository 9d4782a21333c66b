// SPDX-License-Identifier: MIT
// Times as people write and read them: those of the machine's time zone. All are milliseconds since
// 1970 (UTC).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// "14:03:22.123"; "2026-11-22T14:03:22.123" for another day than that of `now`.
std::string wall_time_text(std::int64_t time, std::int64_t now);

// "14:03" or "14:03:22": the last time that the clock showed it; with "2026-11-22 " or
// "2026-11-22T" before it, that day. None when it has no such form.
std::optional<std::int64_t> parse_wall_time(std::string_view text, std::int64_t now);

} // namespace host
