// SPDX-License-Identifier: MIT
#include "command_line.h"

#include <algorithm>
#include <cstdio>

#include "output.h"

namespace ctl {

std::optional<std::string> join_words(std::span<char* const> words)
{
    std::string line;
    for (const std::string_view word : words) {
        if (word.find('"') != std::string_view::npos) {
            complain("the console has no way to write a word with a '\"'");
            return std::nullopt;
        }
        const bool quoted = word.empty() || word.find(' ') != std::string_view::npos;
        const std::string_view quote = quoted ? "\"" : "";
        line += line.empty() ? "" : " ";
        line.append(quote).append(word).append(quote);
    }
    return check_line(line) ? std::optional(line) : std::nullopt;
}

bool check_line(std::string_view line)
{
    if (line.size() > longest_line) {
        complain("the command is longer than " + std::to_string(longest_line) + " characters");
        return false;
    }
    if (!std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c < '\x7f'; })) {
        complain("the console takes printable ASCII characters only");
        return false;
    }
    return true;
}

bool next_line(std::string& line)
{
    constexpr std::string_view blanks = " \t\r";
    line.clear();
    bool any = false;
    int c = 0;
    while ((c = std::getchar()) != EOF && c != '\n') {
        any = true;
        if (line.empty() && blanks.find(static_cast<char>(c)) != std::string_view::npos)
            continue;
        if (line.size() <= longest_line)
            line += static_cast<char>(c);
    }
    line.erase(line.find_last_not_of(blanks) + 1);
    return any || c != EOF;
}

} // namespace ctl
