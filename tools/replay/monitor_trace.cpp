// SPDX-License-Identifier: MIT
#include "monitor_trace.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

#include "host/config/configuration.h"
#include "moment.h"
#include "own_keys.h"

namespace replay {
namespace {

// Index: MonitorTrace::Line.
constexpr std::array<const char*, 7> reasons = {
    "",
    "other commands, or none",
    "SET with a condition (NX, XX): the recording does not tell whether it was met",
    "keys that the daemon writes itself",
    "the model, which --model tells",
    "keys or values that the database refuses",
    "lines that break off, or whose quotes are wrong",
};

// The time in front of " [DATABASE CLIENT] ", which is cut off with it.
std::optional<std::int64_t> take_time(std::string_view& line)
{
    const std::size_t blank = line.find(" [");
    if (blank == std::string_view::npos || line.find('.') > blank)
        return std::nullopt;
    const auto time = parse_seconds(line.substr(0, blank));
    const std::size_t bracket = line.find("] \"", blank);
    if (!time || bracket == std::string_view::npos)
        return std::nullopt;
    line.remove_prefix(bracket + 2);
    return time;
}

int hexadecimal(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// The character behind a backslash at `at`, which is moved behind it.
char escaped(const char*& at, const char* end)
{
    if (*at == 'x' && end - at > 2 && hexadecimal(at[1]) >= 0 && hexadecimal(at[2]) >= 0) {
        const int value = 16 * hexadecimal(at[1]) + hexadecimal(at[2]);
        at += 3;
        return static_cast<char>(value);
    }
    constexpr std::string_view letters = "nrtab";
    constexpr std::string_view characters = "\n\r\t\a\b";
    const std::size_t index = letters.find(*at);
    const char c = index == std::string_view::npos ? *at : characters[index];
    ++at;
    return c;
}

bool is(std::string_view word, std::string_view name)
{
    return word.size() == name.size() && strncasecmp(word.data(), name.data(), name.size()) == 0;
}

} // namespace

bool MonitorTrace::recognises(std::string_view line)
{
    return line == "OK" || take_time(line).has_value();
}

// Takes the quoted words apart, in place.
bool MonitorTrace::split(std::span<char> line)
{
    words_.clear();
    const char* at = line.data();
    const char* const end = at + line.size();
    char* to = line.data();
    while (at != end) {
        if (*at++ != '"')
            return false;
        char* const begin = to;
        while (at != end && *at != '"') {
            const bool escape = *at == '\\';
            if (escape && ++at == end)
                return false;
            *to = escape ? escaped(at, end) : *at++;
            ++to;
        }
        if (at == end)
            return false;
        ++at;
        words_.emplace_back(begin, static_cast<std::size_t>(to - begin));
        if (at != end && *at++ != ' ')
            return false;
    }
    return !words_.empty();
}

MonitorTrace::Line MonitorTrace::add(std::string_view key, std::optional<std::string_view> value,
                                     Row& row) const
{
    if (key == "ram.platform.id")
        return Line::model;
    if (is_own_key(key))
        return Line::own;
    if (host::check_key(key) != 0 || (value && host::check_value(*value) != 0))
        return Line::refused;
    row.writes.push_back({key, value});
    return Line::replayed;
}

// A command of several keys counts as replayed when one of them is.
MonitorTrace::Line MonitorTrace::read_command(Row& row)
{
    const std::string_view command = words_.front();
    const std::size_t count = words_.size();
    Line result = Line::other_command;
    const auto one = [&](std::string_view key, std::optional<std::string_view> value) {
        const Line line = add(key, value, row);
        result = row.writes.empty() ? line : Line::replayed;
    };
    if (is(command, "SET") && count >= 3) {
        const auto conditional = [](std::string_view word) {
            return is(word, "NX") || is(word, "XX");
        };
        if (std::any_of(words_.begin() + 3, words_.end(), conditional))
            return Line::conditional;
        one(words_[1], words_[2]);
    } else if (is(command, "MSET") && count >= 3 && count % 2 == 1) {
        for (std::size_t i = 1; i < count; i += 2)
            one(words_[i], words_[i + 1]);
    } else if (is(command, "DEL")) {
        for (std::size_t i = 1; i < count; ++i)
            one(words_[i], std::nullopt);
    }
    return result;
}

// A clock that is set neither stops time nor lets years pass.
void MonitorTrace::take(std::int64_t time)
{
    const std::int64_t corrected = time + correction_ms_;
    const bool set =
        last_ms_ != 0 && (corrected < last_ms_ || corrected - last_ms_ > longest_gap_ms);
    if (set) {
        ++clock_set_;
        correction_ms_ += last_ms_ - corrected;
    }
    last_ms_ = set ? last_ms_ : corrected;
}

MonitorTrace::Line MonitorTrace::read(std::span<char> line, Row& row)
{
    std::string_view rest(line.data(), line.size());
    const auto time = take_time(rest);
    if (!time)
        return Line::other_command;
    take(*time);
    row.time_ms = last_ms_;
    if (!split(line.last(rest.size())))
        return Line::unreadable;
    return read_command(row);
}

bool MonitorTrace::next(Row& row)
{
    row.clear();
    std::span<char> line;
    while (lines_.next(line)) {
        const Line result = read(line, row);
        ++counts_[static_cast<std::size_t>(result)];
        if (result == Line::replayed) {
            given_ms_ = row.time_ms;
            return true;
        }
        row.clear();
    }
    error_ = lines_.error();
    if (failed() || given_ms_ == 0 || given_ms_ == last_ms_)
        return false;
    row.time_ms = given_ms_ = last_ms_; // time went on, though nothing was written
    return true;
}

std::vector<PassedOver> MonitorTrace::passed_over() const
{
    std::vector<PassedOver> result;
    for (std::size_t i = 1; i < counts_.size(); ++i) {
        if (counts_[i] > 0)
            result.push_back({reasons[i], counts_[i]});
    }
    if (clock_set_ > 0)
        result.push_back(
            {"times at which the clock was set: time went on from the one before", clock_set_});
    return result;
}

} // namespace replay
