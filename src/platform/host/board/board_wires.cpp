// SPDX-License-Identifier: MIT
#include "host/board/board_wires.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "host/base/integer.h"
#include "host/base/text_file.h"

namespace host {
namespace {

// A row "NUMBER LEVEL" of the file "lines" without its comment; none when it is anything else.
std::optional<std::pair<std::int32_t, std::int32_t>> wire_row(std::string_view row)
{
    const std::size_t gap = row.find_first_of(blanks);
    if (gap == std::string_view::npos)
        return std::nullopt;
    const auto line = parse_integer(row.substr(0, gap));
    const auto level = parse_integer(row.substr(row.find_first_not_of(blanks, gap)));
    if (!line || !level || *level < 0 || *level > 1)
        return std::nullopt;
    return std::pair{*line, *level};
}

} // namespace

std::string_view BoardWires::level(int number)
{
    const std::string content = read_text(path_).value_or("");
    std::string_view rest = content;
    std::string_view level = "0\n";
    for (int row = 1; const auto line = take_line(rest); ++row) {
        const std::string_view text = without_blanks(line->substr(0, line->find('#')));
        const auto wire = wire_row(text);
        if (wire && wire->first == number)
            level = wire->second == 0 ? "0\n" : "1\n";
        if (wire || text.empty() || row <= reported_)
            continue;
        reported_ = row;
        log_.write(4, "%s:%d: write 'NUMBER LEVEL', with level 0 or 1\n", path_.c_str(), row);
    }
    return level;
}

} // namespace host
