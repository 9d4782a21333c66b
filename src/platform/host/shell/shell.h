// SPDX-License-Identifier: MIT
// The inside of a shell, for the commands of this platform.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ap/shell.h"
#include "host/shell/line_editor.h"

namespace host {

// Words of a line: blanks separate them, double quotes hold one together. False when a quote
// is not closed.
bool split_words(std::string_view line, std::vector<std::string>& words);

// All commands, in order; the one of that name, or null.
std::span<const shell_command_t* const> shell_commands();
const shell_command_t* find_shell_command(std::string_view name);

// The commands that every shell has.
std::span<const shell_command_t> own_shell_commands();

// The shell whose command is running; null at other times.
qv_cshell_t* running_shell();

int config_command(int argc, char** argv);

// Completion of `config`: what may follow `before` in the place of `word`.
void complete_config(std::string_view before, std::string_view word,
                     std::vector<std::string>& candidates);

} // namespace host

struct qv_cshell {
    const char* name;
    host::LineEditor editor;
    std::vector<std::string> watched; // keys, see config_watch.h
    int watch_fd = -1;                // where their changes are written; -1: standard output
};
