// SPDX-License-Identifier: MIT
#include "host/shell/commands.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

namespace host {
namespace {

// Added by static objects of other files, before main(): the list is made on first use.
std::vector<const shell_command_t*>& added_commands()
{
    static std::vector<const shell_command_t*> commands;
    return commands;
}

std::vector<std::pair<std::string_view, shell_completer>>& completers()
{
    static std::vector<std::pair<std::string_view, shell_completer>> list;
    return list;
}

Command of(const OwnCommand& command)
{
    return {command.name, command.help, &command, nullptr};
}

Command of(const shell_command_t* command)
{
    return {command->name, command->help, nullptr, command};
}

} // namespace

int add_command(const shell_command_t* command)
{
    if (command == nullptr || command->name == nullptr || command->handler == nullptr ||
        command->help == nullptr)
        return -EINVAL;
    if (find_command(command->name))
        return -EEXIST;
    added_commands().push_back(command);
    return 0;
}

int complete_command(const char* name, shell_completer completer)
{
    if (name == nullptr || completer == nullptr)
        return -EINVAL;
    const std::optional<Command> command = find_command(name);
    if (!command || command->added == nullptr)
        return -ENOENT;
    completers().emplace_back(name, completer);
    return 0;
}

void complete_added(std::string_view command, std::string_view before,
                    std::vector<std::string>& candidates)
{
    const auto offer = [](void* list, const char* word) {
        static_cast<std::vector<std::string>*>(list)->emplace_back(word);
    };
    for (const auto& [name, completer] : completers()) {
        if (name == command)
            completer(std::string(before).c_str(), offer, &candidates);
    }
}

std::vector<Command> all_commands()
{
    std::vector<Command> all;
    for (const OwnCommand& command : own_commands())
        all.push_back(of(command));
    for (const shell_command_t* const command : added_commands())
        all.push_back(of(command));
    std::sort(all.begin(), all.end(),
              [](const Command& a, const Command& b) { return a.name < b.name; });
    return all;
}

std::optional<Command> find_command(std::string_view name)
{
    for (const OwnCommand& command : own_commands()) {
        if (command.name == name)
            return of(command);
    }
    for (const shell_command_t* const command : added_commands()) {
        if (command->name == name)
            return of(command);
    }
    return std::nullopt;
}

int run_command(const Command& command, qv_cshell& shell, std::span<char* const> words)
{
    if (command.own != nullptr)
        return command.own->run(shell, words.subspan(1));
    // The last of them is followed by a null pointer, as main() has it.
    std::vector<char*> arguments(words.begin(), words.end());
    arguments.push_back(nullptr);
    return command.added->handler(static_cast<int>(words.size()), arguments.data());
}

} // namespace host
