// SPDX-License-Identifier: MIT
// What a terminal went through: a row for each moment, in order of time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/store.h"
#include "lines.h"

namespace replay {

// What a trace says beside keys of the database: "ambient", "load", "load.CONSUMER" (percent) or
// "line.N" (a GPIO line's wire, 0 or 1).
struct Condition {
    std::string_view name;
    double value;
};

struct Row {
    std::int64_t time_ms = 0;        // since the trace's own beginning of time
    std::vector<host::Write> writes; // made together
    std::vector<Condition> conditions;

    void clear()
    {
        writes.clear();
        conditions.clear();
    }
};

// More than this between two rows is a wrong time.
inline constexpr std::int64_t longest_gap_ms = std::int64_t{366} * 24 * 3600 * 1000;

// Lines of a recording that were not replayed.
struct PassedOver {
    const char* reason;
    std::uint64_t lines = 0;
};

class Trace {
public:
    virtual ~Trace() = default;

    // The next row, whose texts are valid until the next call. False at the end and on failure,
    // which is told by failed().
    virtual bool next(Row& row) = 0;

    bool failed() const { return !error_.empty(); }
    const std::string& error() const { return error_; } // with file, line and column

    // The keys that a table's columns are named by, and the lines ("line.81"), once its first row
    // was read.
    virtual std::vector<std::string_view> keys() const { return {}; }

    // "FILE:LINE: REASON", about the row that was given last.
    virtual std::string at_row(const std::string& reason) const = 0;

    virtual std::vector<PassedOver> passed_over() const { return {}; }

    // The file, for a person who waits.
    virtual const Bytes& bytes() const = 0;

protected:
    std::string error_;
};

// Recognises the trace by its first line. Null, with one line in `error`, when that is none.
std::unique_ptr<Trace> open_trace(const std::string& path, std::string& error);

} // namespace replay
