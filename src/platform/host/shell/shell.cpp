// SPDX-License-Identifier: MIT
#include "host/shell/shell.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "ap/output.h"
#include "host/shell/config_watch.h"

namespace host {
namespace {

constexpr std::size_t echo_block = 4096; // echo is written in pieces of about that size

bool name_less(const shell_command_t* command, std::string_view name)
{
    return command->name < name;
}

// Commands are added by static objects of other files: the table is made on first use.
std::vector<const shell_command_t*>& registry()
{
    static std::vector<const shell_command_t*> commands = [] {
        std::vector<const shell_command_t*> own;
        for (const shell_command_t& command : own_shell_commands())
            own.push_back(&command);
        std::sort(own.begin(), own.end(), [](const auto* a, const auto* b) {
            return std::string_view(a->name) < std::string_view(b->name);
        });
        return own;
    }();
    return commands;
}

qv_cshell_t* running = nullptr;

class Running {
public:
    explicit Running(qv_cshell_t* shell) : before_(std::exchange(running, shell)) {}
    ~Running() { running = before_; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    qv_cshell_t* before_;
};

void complete_word(std::string_view before, std::string_view word,
                   std::vector<std::string>& candidates)
{
    const std::size_t start = std::min(before.find_first_not_of(' '), before.size());
    before.remove_prefix(start);
    const std::string_view command = before.substr(0, before.find(' '));
    if (command == "config") {
        complete_config(before.substr(command.size()), word, candidates);
    } else if (command.empty() || command == "help") {
        for (const shell_command_t* candidate : registry()) {
            if (std::string_view(candidate->name).starts_with(word))
                candidates.emplace_back(candidate->name);
        }
    }
}

void flush(std::string& echo)
{
    if (!echo.empty())
        qv_puts(echo.c_str());
    echo.clear();
}

int run_line(std::string_view line)
{
    std::vector<std::string> words;
    if (!split_words(line, words)) {
        qv_puts("A closing '\"' is missing\n");
        return SHELL_OK;
    }
    if (words.empty())
        return SHELL_OK;
    const shell_command_t* const command = find_shell_command(words.front());
    if (command == nullptr) {
        qv_printf("%s: no such command; try 'help'\n", words.front().c_str());
        return SHELL_OK;
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int result = command->handler(static_cast<int>(words.size()), arguments.data());
    if (result == SHELL_USAGE)
        qv_puts(command->help);
    return result;
}

// SHELL_EXIT, or 0 to go on.
int handle(qv_cshell_t& shell, LineEditor::Event event)
{
    if (event == LineEditor::Event::end)
        return SHELL_EXIT;
    if (event == LineEditor::Event::too_long)
        qv_printf("Longer than %zu characters: not run\n", LineEditor::longest_line);
    if (event == LineEditor::Event::line && run_line(shell.editor.line()) == SHELL_EXIT)
        return SHELL_EXIT;
    std::string echo;
    qv_cshell_prompt(&shell);
    shell.editor.draw(echo);
    flush(echo);
    return SHELL_OK;
}

} // namespace

bool split_words(std::string_view line, std::vector<std::string>& words)
{
    bool quoted = false;
    bool in_word = false;
    for (const char c : line) {
        if (c == ' ' && !quoted) {
            in_word = false;
            continue;
        }
        if (!std::exchange(in_word, true))
            words.emplace_back();
        if (c == '"')
            quoted = !quoted;
        else
            words.back() += c;
    }
    return !quoted;
}

std::span<const shell_command_t* const> shell_commands()
{
    return registry();
}

const shell_command_t* find_shell_command(std::string_view name)
{
    const auto& commands = registry();
    const auto found = std::lower_bound(commands.begin(), commands.end(), name, name_less);
    return found != commands.end() && (*found)->name == name ? *found : nullptr;
}

qv_cshell_t* running_shell()
{
    return running;
}

} // namespace host

int shell_command_add_sorted(const shell_command_t* command)
{
    if (command == nullptr || command->name == nullptr || command->handler == nullptr ||
        command->help == nullptr)
        return -EINVAL;
    auto& commands = host::registry();
    const auto place = std::lower_bound(commands.begin(), commands.end(),
                                        std::string_view(command->name), host::name_less);
    if (place != commands.end() && std::string_view((*place)->name) == command->name)
        return -EEXIST;
    commands.insert(place, command);
    return 0;
}

qv_cshell_t* qv_cshell_alloc(const char* name)
{
    return new (std::nothrow) qv_cshell{name, host::LineEditor(host::complete_word), {}};
}

void qv_cshell_free(qv_cshell_t* shell)
{
    if (shell == nullptr)
        return;
    host::unwatch_all(*shell);
    delete shell;
}

void qv_cshell_prompt(qv_cshell_t* shell)
{
    qv_printf("%s> ", shell->name);
}

int qv_cshell_process_buf(qv_cshell_t* shell, const char* data, int length)
{
    const host::Running running(shell);
    std::string echo;
    for (int i = 0; i < length; ++i) {
        const host::LineEditor::Event event = shell->editor.feed(data[i], echo);
        const bool quiet = event == host::LineEditor::Event::none;
        if (quiet && echo.size() < host::echo_block)
            continue;
        host::flush(echo);
        if (!quiet && host::handle(*shell, event) == SHELL_EXIT)
            return SHELL_EXIT;
    }
    host::flush(echo);
    return SHELL_OK;
}
