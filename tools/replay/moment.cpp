// SPDX-License-Identifier: MIT
#include "moment.h"

#include <array>
#include <cstdio>

namespace replay {
namespace {

constexpr std::int64_t day_ms = 86400000;
constexpr std::int64_t first_date_ms = 3 * 365 * day_ms;

// Takes a number of `least` to `most` digits from the text.
std::optional<std::int64_t> take_digits(std::string_view& text, std::size_t least, std::size_t most)
{
    std::int64_t value = 0;
    std::size_t count = 0;
    while (count < most && count < text.size() && text[count] >= '0' && text[count] <= '9')
        value = 10 * value + (text[count++] - '0');
    if (count < least)
        return std::nullopt;
    text.remove_prefix(count);
    return value;
}

bool take(std::string_view& text, char c)
{
    if (!text.starts_with(c))
        return false;
    text.remove_prefix(1);
    return true;
}

// Takes ".123" as 123 milliseconds; 0 without a point, none without a digit behind it.
std::optional<std::int64_t> take_fraction(std::string_view& text)
{
    if (!take(text, '.'))
        return 0;
    std::int64_t milliseconds = 0;
    std::size_t count = 0;
    for (; count < text.size() && text[count] >= '0' && text[count] <= '9'; ++count) {
        if (count < 3)
            milliseconds = 10 * milliseconds + (text[count] - '0');
    }
    if (count == 0)
        return std::nullopt;
    text.remove_prefix(count);
    for (; count < 3; ++count)
        milliseconds *= 10;
    return milliseconds;
}

// Days since 1970 in the Gregorian calendar; years count from March, so that the day that comes
// and goes is their last.
std::int64_t days_of(std::int64_t year, std::int64_t month, std::int64_t day)
{
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return 365 * y + y / 4 - y / 100 + y / 400 + day_of_year - 719468;
}

struct Date {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

Date date_of(std::int64_t days)
{
    const std::int64_t z = days + 719468;
    const std::int64_t era = z / 146097;
    const std::int64_t day_of_era = z % 146097;
    const std::int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t shifted = (5 * day_of_year + 2) / 153;
    const std::int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    return {year_of_era + 400 * era + (month <= 2 ? 1 : 0), month,
            day_of_year - (153 * shifted + 2) / 5 + 1};
}

bool is_date(const Date& date)
{
    if (date.year < 1970 || date.month < 1 || date.month > 12 || date.day < 1)
        return false;
    const Date same = date_of(days_of(date.year, date.month, date.day));
    return same.month == date.month && same.day == date.day;
}

// Takes "Z", "+02:00", "-0330", "+02"; minutes east of Greenwich, none for anything else.
std::optional<std::int64_t> take_zone(std::string_view& text)
{
    if (text.empty() || take(text, 'Z'))
        return 0;
    const bool west = text.starts_with('-');
    if (!west && !text.starts_with('+'))
        return std::nullopt;
    text.remove_prefix(1);
    const auto hours = take_digits(text, 2, 2);
    take(text, ':');
    const auto minutes = text.empty() ? 0 : take_digits(text, 2, 2);
    if (!hours || !minutes || *hours > 14 || *minutes > 59)
        return std::nullopt;
    const std::int64_t offset = 60 * *hours + *minutes;
    return west ? -offset : offset;
}

std::string clock_text(std::int64_t milliseconds)
{
    const std::int64_t seconds = milliseconds / 1000;
    std::array<char, 48> text;
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", static_cast<int>(seconds / 3600 % 24),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    std::string result = text.data();
    if (milliseconds % 1000 != 0) {
        std::snprintf(text.data(), text.size(), ".%03d", static_cast<int>(milliseconds % 1000));
        result += text.data();
    }
    return result;
}

} // namespace

std::optional<std::int64_t> parse_seconds(std::string_view text)
{
    const auto seconds = take_digits(text, 1, 15);
    if (!seconds)
        return std::nullopt;
    const auto fraction = take_fraction(text);
    if (!fraction || !text.empty() || *seconds > last_moment_ms / 1000)
        return std::nullopt;
    return 1000 * *seconds + *fraction;
}

std::optional<std::int64_t> parse_date(std::string_view text)
{
    const auto year = take_digits(text, 4, 4);
    const bool dash = take(text, '-');
    const auto month = take_digits(text, 2, 2);
    const bool second_dash = take(text, '-');
    const auto day = take_digits(text, 2, 2);
    if (!year || !dash || !month || !second_dash || !day || !is_date({*year, *month, *day}) ||
        (!take(text, 'T') && !take(text, ' ')))
        return std::nullopt;
    const auto hour = take_digits(text, 2, 2);
    const bool colon = take(text, ':');
    const auto minute = take_digits(text, 2, 2);
    if (!hour || !colon || !minute || *hour > 23 || *minute > 59)
        return std::nullopt;
    std::optional<std::int64_t> second = 0;
    std::optional<std::int64_t> fraction = 0;
    if (take(text, ':')) {
        second = take_digits(text, 2, 2);
        fraction = take_fraction(text);
    }
    const auto zone = take_zone(text);
    if (!second || *second > 59 || !fraction || !zone || !text.empty())
        return std::nullopt;
    const std::int64_t minutes =
        24 * 60 * days_of(*year, *month, *day) + 60 * *hour + *minute - *zone;
    const std::int64_t moment = 1000 * (60 * minutes + *second) + *fraction;
    return moment < 0 ? std::nullopt : std::optional(moment);
}

std::optional<std::int64_t> parse_moment(std::string_view text)
{
    const auto seconds = parse_seconds(text);
    return seconds ? seconds : parse_date(text);
}

std::string span_text(std::int64_t milliseconds)
{
    const std::int64_t days = milliseconds / day_ms;
    const std::string clock = clock_text(milliseconds % day_ms);
    return days > 0 ? std::to_string(days) + "d " + clock : clock;
}

std::string moment_text(std::int64_t milliseconds)
{
    if (milliseconds < first_date_ms)
        return span_text(milliseconds);
    const Date date = date_of(milliseconds / day_ms);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d ", static_cast<int>(date.year),
                  static_cast<int>(date.month), static_cast<int>(date.day));
    return text.data() + clock_text(milliseconds % day_ms);
}

} // namespace replay
