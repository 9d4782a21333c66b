// SPDX-License-Identifier: MIT
#pragma once

#include <sstream>

#include "ap/shell.h"
#include "host/shell/commands.h"
#include "support/terminal.h"

// What a command prints, with "(N)" in front when it does not end with SHELL_OK but with N. The
// machine's clock shows UTC; virtual time begins on 2026-01-01, 00:00.
inline std::string command(const std::string& line)
{
    setenv("TZ", "UTC0", 1);
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
        std::replace(word.begin(), word.end(), '_', ' ');
        words.push_back(word);
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const auto found = host::find_command(words.front());
    if (!found)
        return "no such command";
    testing::internal::CaptureStdout();
    const int result = found->added->handler(static_cast<int>(words.size()), arguments.data());
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    if (text.empty())
        text = "\n";
    return result == SHELL_OK ? text : "(" + std::to_string(result) + ")" + text;
}
