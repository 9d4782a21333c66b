// SPDX-License-Identifier: MIT
// The commands of a shell: the platform's own, and those that the daemon has added.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "ap/shell.h"

struct qv_cshell;

namespace host {

using Arguments = std::span<char* const>; // without the command's name

struct OwnCommand {
    const char* name;
    int (*run)(qv_cshell& shell, Arguments arguments);
    const char* help; // the first line says what the command is for; each has its line end
};

struct Command {
    std::string_view name;
    const char* help;
    const OwnCommand* own;        // or
    const shell_command_t* added; // null: the other one
};

// As shell_command_add_sorted().
int add_command(const shell_command_t* command);

// As shell_command_complete().
int complete_command(const char* name, shell_completer completer);

// Completion of an added command's arguments.
void complete_added(std::string_view command, std::string_view before,
                    std::vector<std::string>& candidates);

// All of them, in order; the one of that name.
std::vector<Command> all_commands();
std::optional<Command> find_command(std::string_view name);

// Of the command `journal`.
inline constexpr std::array<std::string_view, 2> journal_options = {"--last", "--since"};

// What the command returns.
int run_command(const Command& command, qv_cshell& shell, std::span<char* const> words);

// The platform's own, in no order.
std::span<const OwnCommand> own_commands();

int config_command(qv_cshell& shell, Arguments arguments);

// Completion of `config`: what may follow `before` in the place of `word`.
void complete_config(const qv_cshell& shell, std::string_view before, std::string_view word,
                     std::vector<std::string>& candidates);

} // namespace host
