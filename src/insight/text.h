// SPDX-License-Identifier: MIT
// What the commands build their answers from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace power_man::insight {

// As printf.
std::string printed(const char* format, ...) __attribute__((format(printf, 1, 2)));
void print_to(std::string& text, const char* format, ...) __attribute__((format(printf, 2, 3)));

// "a, b and c" with " and " as the last separator.
std::string joined(const std::vector<std::string>& words, const char* last = ", ");

// Lines of cells, each column as wide as its widest cell; two blanks between them, none at the end
// of a line. Each line begins with `indent`.
std::string table(const std::vector<std::vector<std::string>>& lines, std::string_view indent = "");

// In quotes, for JSON and as the value of a label in OpenMetrics. `text` is printable ASCII.
std::string quoted(std::string_view text);

// Between blanks.
std::size_t count_words(std::string_view text);

// Without regard to upper and lower case.
bool begins_with(std::string_view text, std::string_view beginning);
bool equals(std::string_view one, std::string_view other);

} // namespace power_man::insight
