// SPDX-License-Identifier: MIT
#include "host/base/wall_time.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace host {
namespace {

// Rounded down, before 1970 too.
std::int64_t seconds_of(std::int64_t milliseconds)
{
    return (milliseconds - ((milliseconds % 1000) + 1000) % 1000) / 1000;
}

tm local_parts(std::int64_t milliseconds)
{
    const auto seconds = static_cast<time_t>(seconds_of(milliseconds));
    tm parts{};
    localtime_r(&seconds, &parts); // fails beyond the year 2147483647
    return parts;
}

// The whole text by one of the forms.
bool parse(const std::string& text, const char* form, tm& parts)
{
    const char* const end = strptime(text.c_str(), form, &parts);
    return end != nullptr && *end == '\0';
}

std::int64_t milliseconds_of(tm parts)
{
    parts.tm_isdst = -1; // whatever holds on that day
    return static_cast<std::int64_t>(mktime(&parts)) * 1000;
}

} // namespace

std::string wall_time_text(std::int64_t time, std::int64_t now)
{
    const tm parts = local_parts(time);
    const tm today = local_parts(now);
    const bool is_today = parts.tm_year == today.tm_year && parts.tm_yday == today.tm_yday;
    std::array<char, 32> text;
    std::strftime(text.data(), text.size(), is_today ? "%H:%M:%S" : "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> rest;
    std::snprintf(rest.data(), rest.size(), ".%03d",
                  static_cast<int>(time - seconds_of(time) * 1000));
    return std::string(text.data()) + rest.data();
}

std::optional<std::int64_t> parse_wall_time(std::string_view given, std::int64_t now)
{
    const std::string text(given);
    for (const char* const form :
         {"%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%dT%H:%M:%S"}) {
        tm parts{};
        if (parse(text, form, parts))
            return milliseconds_of(parts);
    }
    for (const char* const form : {"%H:%M", "%H:%M:%S"}) {
        tm parts = local_parts(now);
        parts.tm_sec = 0;
        if (!parse(text, form, parts))
            continue;
        if (milliseconds_of(parts) > now)
            --parts.tm_mday; // not yet today
        return milliseconds_of(parts);
    }
    return std::nullopt;
}

} // namespace host
