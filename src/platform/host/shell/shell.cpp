// SPDX-License-Identifier: MIT
#include "host/shell/shell.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ap/output.h"
#include "host/shell/commands.h"

namespace host {
namespace {

constexpr std::size_t echo_block = 4096; // echo is written in pieces of about that size

void flush(std::string& echo)
{
    if (!echo.empty())
        qv_puts(echo.c_str());
    echo.clear();
}

// A wrong use and a result of no meaning are failures.
int status_of(int result)
{
    if (result >= SHELL_ANSWER)
        return result - SHELL_ANSWER;
    return result == SHELL_OK ? 0 : 1;
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

} // namespace host

using host::LineEditor;

qv_cshell::qv_cshell(const char* name, const host::ShellContext& context)
    : name_(name), context_(context),
      editor_([this](std::string_view before, std::string_view word,
                     std::vector<std::string>& candidates) { complete(before, word, candidates); }),
      watches_(context.config, name, editor_, listing_)
{
}

void qv_cshell::prompt() const
{
    qv_printf("%s> ", name_);
}

void qv_cshell::complete(std::string_view before, std::string_view word,
                         std::vector<std::string>& candidates) const
{
    before.remove_prefix(std::min(before.find_first_not_of(' '), before.size()));
    const std::string_view command = before.substr(0, before.find(' '));
    std::string_view arguments = before.substr(command.size());
    arguments.remove_prefix(std::min(arguments.find_first_not_of(' '), arguments.size()));
    if (command == "config") {
        host::complete_config(*this, before.substr(command.size()), word, candidates);
    } else if (command == "journal") {
        for (const std::string_view option : host::journal_options) {
            if (option.starts_with(word))
                candidates.emplace_back(option);
        }
    } else if (command.empty() || command == "help") {
        for (const host::Command& candidate : host::all_commands()) {
            if (candidate.name.starts_with(word))
                candidates.emplace_back(candidate.name);
        }
    } else {
        host::complete_added(command, arguments, candidates);
    }
}

void qv_cshell::list(host::Listing::Source source)
{
    std::string text;
    if (!source(text)) {
        qv_puts(text.c_str());
        return;
    }
    const auto ended = [this] { listing_ended_(); };
    listing_ = std::make_unique<host::Listing>(*context_.loop, fdloop_telnet_get_fd(), text,
                                               std::move(source), std::string(name_) + "> ", ended);
    if (const int error = listing_->start(); error != 0) {
        listing_.reset();
        qv_printf("The list cannot be shown: %s\n", std::strerror(-error));
    }
}

int qv_cshell::run_line(std::string_view line)
{
    std::vector<std::string> words;
    int result = SHELL_FAILED;
    if (!host::split_words(line, words))
        qv_puts("A closing '\"' is missing\n");
    else if (words.empty())
        return SHELL_OK; // and the command before it is still the last one
    else
        result = run_words(words);
    status_ = host::status_of(result);
    return result;
}

int qv_cshell::run_words(std::vector<std::string>& words)
{
    const std::optional<host::Command> command = host::find_command(words.front());
    if (!command) {
        qv_printf("%s: no such command; try 'help'\n", words.front().c_str());
        return SHELL_FAILED;
    }
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    const int result = host::run_command(*command, *this, pointers);
    if (result == SHELL_USAGE)
        qv_puts(command->help);
    return result;
}

// SHELL_EXIT, or 0 to go on.
int qv_cshell::handle(LineEditor::Event event)
{
    if (event == LineEditor::Event::end)
        return SHELL_EXIT;
    if (event == LineEditor::Event::too_long) {
        qv_printf("Longer than %zu characters: not run\n", LineEditor::longest_line);
        status_ = host::status_of(SHELL_FAILED);
    }
    if (event == LineEditor::Event::line && run_line(editor_.line()) == SHELL_EXIT)
        return SHELL_EXIT;
    if (listing())
        return SHELL_OK;
    std::string echo;
    prompt();
    editor_.draw(echo);
    host::flush(echo);
    return SHELL_OK;
}

int qv_cshell::feed(std::string_view typed)
{
    std::string echo;
    for (const char byte : typed) {
        if (listing())
            listing_.reset();
        const LineEditor::Event event = editor_.feed(byte, echo);
        const bool quiet = event == LineEditor::Event::none;
        if (quiet && echo.size() < host::echo_block)
            continue;
        host::flush(echo);
        if (!quiet && handle(event) == SHELL_EXIT)
            return SHELL_EXIT;
    }
    host::flush(echo);
    return SHELL_OK;
}
