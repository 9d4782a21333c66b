// SPDX-License-Identifier: MIT
#include "csv_trace.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "host/base/integer.h"
#include "host/base/printable.h"
#include "host/base/text_file.h"
#include "host/config/configuration.h"
#include "moment.h"
#include "story.h"

namespace replay {
namespace {

constexpr std::size_t most_columns = 1000;
constexpr std::size_t longest_shown = 40;
constexpr double largest_condition = 1000; // degrees, or percent

std::string shown(std::string_view cell)
{
    return "'" + host::printable(cell, longest_shown) + "'";
}

bool is_condition(std::string_view name)
{
    constexpr std::string_view load = "load.";
    const auto names = [&](const power_man::Consumer& consumer) {
        return name.substr(load.size()) == name_of(consumer.index);
    };
    return name == "ambient" || name == "load" ||
           (name.starts_with(load) &&
            std::any_of(power_man::consumers.begin(), power_man::consumers.end(), names));
}

bool is_line(std::string_view name)
{
    constexpr std::string_view prefix = "line.";
    return name.starts_with(prefix) && host::parse_integer(name.substr(prefix.size())) >= 0;
}

} // namespace

bool CsvTrace::recognises(std::string_view line)
{
    return line.find(',') != std::string_view::npos &&
           std::all_of(line.begin(), line.end(),
                       [](char c) { return c == '\t' || static_cast<unsigned char>(c) >= ' '; });
}

bool CsvTrace::refuse(const std::string& why)
{
    error_ = lines_.at_line(why);
    return false;
}

bool CsvTrace::refuse_cell(const std::string& why)
{
    return refuse("column " + std::to_string(column_) + ": " + why);
}

// Takes the line apart, in place.
bool CsvTrace::split(std::span<char> line)
{
    cells_.clear();
    char* at = line.data();
    char* const end = at + line.size();
    for (column_ = 1;; ++column_) {
        if (at != end && *at == '"') {
            char* const begin = ++at;
            char* to = begin;
            while (at != end && (*at != '"' || (at + 1 != end && at[1] == '"'))) {
                at += *at == '"' ? 1 : 0;
                *to++ = *at++;
            }
            if (at == end)
                return refuse_cell("its quote is not closed");
            ++at;
            cells_.emplace_back(begin, static_cast<std::size_t>(to - begin));
            if (at != end && *at != ',')
                return refuse_cell("there is something behind its closing quote");
        } else {
            const auto rest = static_cast<std::size_t>(end - at);
            const void* const comma = rest > 0 ? std::memchr(at, ',', rest) : nullptr;
            char* const stop = comma != nullptr ? at + (static_cast<const char*>(comma) - at) : end;
            cells_.push_back(host::without_blanks({at, static_cast<std::size_t>(stop - at)}));
            at = stop;
        }
        if (at == end)
            return true;
        ++at;
        if (column_ == most_columns)
            return refuse("there are more than " + std::to_string(most_columns) + " columns");
    }
}

bool CsvTrace::read_name(std::string_view name)
{
    if (name.empty()) { // spreadsheets add some; nothing may stand below
        columns_.push_back({});
        return true;
    }
    const auto same = [name](const Column& column) { return column.name == name; };
    if (std::any_of(columns_.begin(), columns_.end(), same))
        return refuse_cell("there is another column " + shown(name));
    if (name == "ram.platform.id")
        return refuse_cell("the model is told by --model");
    const bool line = is_line(name);
    const bool condition = line || is_condition(name);
    if (const int error = condition ? 0 : host::check_key(name); error != 0)
        return refuse_cell(shown(name) + " cannot be a key: " + std::strerror(-error));
    columns_.push_back({std::string(name), condition, line});
    return true;
}

bool CsvTrace::read_names()
{
    std::span<char> line;
    if (!lines_.next(line) || !split(line))
        return false;
    column_ = 1;
    if (parse_moment(cells_.front()))
        return refuse_cell(shown(cells_.front()) + " is a time: the first line names the columns");
    for (column_ = 2; column_ <= cells_.size(); ++column_) {
        if (!read_name(cells_[column_ - 1]))
            return false;
    }
    return std::any_of(columns_.begin(), columns_.end(),
                       [](const Column& column) { return !column.name.empty(); }) ||
           refuse("there is no column beside that of the time");
}

bool CsvTrace::read_condition(const Column& column, std::string_view cell, Row& row)
{
    double value = 0;
    const char* const end = cell.data() + cell.size();
    const auto [stop, error] = std::from_chars(cell.data(), end, value);
    const bool number = error == std::errc{} && stop == end && std::isfinite(value);
    if (column.is_line && (!number || (value != 0 && value != 1)))
        return refuse_cell(shown(cell) + " is no level: write 0 or 1");
    if (!number || std::fabs(value) > largest_condition)
        return refuse_cell(shown(cell) + " is no number from -1000 to 1000");
    if (value < 0 && column.name != "ambient")
        return refuse_cell(shown(cell) + " is no load in percent");
    row.conditions.push_back({column.name, value});
    return true;
}

bool CsvTrace::read_row(Row& row)
{
    column_ = 1;
    const auto time = parse_moment(cells_.front());
    if (!time)
        return refuse_cell(shown(cells_.front()) + " is no time: write seconds, or a date as "
                                                   "2026-07-14T13:05:00Z");
    if (last_ms_ && *time < *last_ms_)
        return refuse_cell(shown(cells_.front()) + " lies before the row above");
    if (last_ms_ && *time - *last_ms_ > longest_gap_ms)
        return refuse_cell(shown(cells_.front()) + " lies more than a year behind the row above");
    last_ms_ = time;
    row.time_ms = *time;
    for (column_ = 2; column_ <= cells_.size(); ++column_) {
        const std::string_view cell = cells_[column_ - 1];
        if (cell.empty())
            continue;
        if (column_ > columns_.size() + 1 || columns_[column_ - 2].name.empty())
            return refuse_cell("the column has no name");
        const Column& column = columns_[column_ - 2];
        if (column.is_condition) {
            if (!read_condition(column, cell, row))
                return false;
            continue;
        }
        if (const int error = host::check_value(cell); error != 0)
            return refuse_cell(std::string("its value is refused: ") + std::strerror(-error));
        row.writes.push_back({column.name, cell == "-" ? std::nullopt : std::optional(cell)});
    }
    return true;
}

std::vector<std::string_view> CsvTrace::keys() const
{
    std::vector<std::string_view> keys;
    for (const Column& column : columns_) {
        if (!column.name.empty() && (!column.is_condition || column.is_line))
            keys.emplace_back(column.name);
    }
    return keys;
}

bool CsvTrace::next(Row& row)
{
    row.clear();
    if (columns_.empty() && !read_names())
        return false;
    std::span<char> line;
    while (lines_.next(line)) {
        if (line.empty() || line.front() == '#')
            continue;
        return split(line) && read_row(row);
    }
    error_ = lines_.error();
    return false;
}

} // namespace replay
