// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "trace.h"

namespace replay {

// A table with commas: the first line names the columns, the first column holds the time. An empty
// cell writes nothing, "-" removes its key. Cells with commas or quotes stand in double quotes,
// where a quote is written twice.
class CsvTrace : public Trace {
public:
    // The lines begin with that of the names.
    explicit CsvTrace(Lines lines) : lines_(std::move(lines)) {}

    // True when the line could be that of the names.
    static bool recognises(std::string_view line);

    bool next(Row& row) override;
    std::vector<std::string_view> keys() const override;
    std::string at_row(const std::string& reason) const override { return lines_.at_line(reason); }
    const Bytes& bytes() const override { return lines_.bytes(); }

private:
    struct Column {
        std::string name; // empty: nothing may stand below
        bool is_condition = false;
        bool is_line = false; // a wire: 0 or 1
    };

    bool read_names();
    bool read_name(std::string_view name);
    bool split(std::span<char> line);
    bool read_row(Row& row);
    bool read_condition(const Column& column, std::string_view cell, Row& row);
    bool refuse(const std::string& why);
    bool refuse_cell(const std::string& why); // of column_

    Lines lines_;
    std::vector<Column> columns_; // without the time's
    std::vector<std::string_view> cells_;
    std::size_t column_ = 1;
    std::optional<std::int64_t> last_ms_;
};

} // namespace replay
