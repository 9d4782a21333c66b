// SPDX-License-Identifier: MIT
// The shell's door to the configuration database.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "ap/output.h"
#include "host/base/printable.h"
#include "host/shell/commands.h"
#include "host/shell/shell.h"

namespace host {
namespace {

constexpr std::size_t longest_listed_value = 160;
constexpr std::size_t keys_in_a_piece = 50; // of a list: one call of the database

struct Subcommand {
    std::string_view name;
    std::size_t least_words;
    std::size_t most_words;
    int (*run)(qv_cshell& shell, Arguments words);
    bool takes_key;
};

int fail(std::string_view what, int error)
{
    qv_puts(("config: " + printable(what) + ": " + std::strerror(-error) + "\n").c_str());
    return SHELL_FAILED;
}

// What is in the database now; what the daemon keeps at hand stays as it is.
int look_at(qv_cshell& shell, const std::string& key, std::string& value)
{
    std::vector<Value> found;
    if (const int error = shell.context().config.look({&key, 1}, found); error != 0)
        return error;
    value = found.front().value_or("");
    return found.front() ? 0 : -ENOENT;
}

int get(qv_cshell& shell, Arguments words)
{
    std::string value;
    if (const int error = look_at(shell, words[0], value); error != 0)
        return fail(words[0], error);
    qv_puts((printable(value) + "\n").c_str());
    return SHELL_OK;
}

int set(qv_cshell& shell, Arguments words)
{
    if (words.size() % 2 != 0)
        return SHELL_USAGE;
    std::vector<Write> writes;
    for (std::size_t i = 0; i < words.size(); i += 2) {
        if (const int error = check_key(words[i]); error != 0)
            return fail(words[i], error);
        writes.push_back({words[i], words[i + 1]});
    }
    const int error = shell.context().config.write(writes);
    return error == 0 ? SHELL_OK : fail(words[0], error);
}

int del(qv_cshell& shell, Arguments words)
{
    std::string value;
    int error = look_at(shell, words[0], value);
    const Write write{words[0], std::nullopt};
    if (error == 0)
        error = shell.context().config.write({&write, 1});
    return error == 0 ? SHELL_OK : fail(words[0], error);
}

int list(qv_cshell& shell, Arguments words)
{
    const std::string_view prefix = words.empty() ? "" : words[0];
    std::vector<std::string> keys;
    if (const int error = shell.context().config.list(prefix, keys); error != 0)
        return fail(words.empty() ? "list" : prefix, error);
    Configuration& config = shell.context().config;
    shell.list([&config, keys = std::move(keys), next = std::size_t{0}](std::string& text) mutable {
        const auto rest = std::span(keys).subspan(next);
        const auto piece = rest.first(std::min(keys_in_a_piece, rest.size()));
        std::vector<Value> values;
        if (const int error = config.look(piece, values); error != 0) {
            text += std::string("config: ") + std::strerror(-error) + "\n";
            return false;
        }
        for (std::size_t i = 0; i < piece.size(); ++i) {
            if (values[i]) // else a neighbour has removed it
                text += printable(piece[i]) + " = " + printable(*values[i], longest_listed_value) +
                        "\n";
        }
        next += piece.size();
        return next < keys.size();
    });
    return SHELL_OK;
}

int watch(qv_cshell& shell, Arguments words)
{
    if (!words.empty()) {
        const int error = shell.watches().add(words[0]);
        return error == 0 ? SHELL_OK : fail(words[0], error);
    }
    for (const std::string& key : shell.watches().keys())
        qv_puts((key + "\n").c_str());
    return SHELL_OK;
}

int unwatch(qv_cshell& shell, Arguments words)
{
    const int error = shell.watches().remove(words[0]);
    return error == 0 ? SHELL_OK : fail(words[0], error);
}

constexpr std::size_t any = LineEditor::longest_line;

constexpr std::array<Subcommand, 6> subcommands{{
    {"del", 1, 1, del, true},
    {"get", 1, 1, get, true},
    {"list", 0, 1, list, true},
    {"set", 2, any, set, true},
    {"unwatch", 1, 1, unwatch, false},
    {"watch", 0, 1, watch, true},
}};

const Subcommand* find_subcommand(std::string_view name)
{
    for (const Subcommand& subcommand : subcommands) {
        if (subcommand.name == name)
            return &subcommand;
    }
    return nullptr;
}

// One level of the dotted names at a time: a key's part up to the next dot.
void complete_key(const qv_cshell& shell, std::string_view word,
                  std::vector<std::string>& candidates)
{
    const std::size_t last_dot = word.rfind('.');
    const std::string_view above =
        last_dot == std::string_view::npos ? "" : word.substr(0, last_dot);
    std::vector<std::string> keys;
    if (shell.context().config.list(above, keys) != 0)
        return;
    for (const std::string& key : keys) {
        if (!key.starts_with(word))
            continue;
        const std::size_t dot = key.find('.', word.size());
        std::string candidate = key.substr(0, dot == std::string::npos ? dot : dot + 1);
        if (candidates.empty() || candidates.back() != candidate)
            candidates.push_back(std::move(candidate));
    }
}

} // namespace

int config_command(qv_cshell& shell, Arguments arguments)
{
    if (arguments.empty())
        return SHELL_USAGE;
    const Subcommand* const subcommand = find_subcommand(arguments.front());
    const Arguments words = arguments.subspan(1);
    if (subcommand == nullptr || words.size() < subcommand->least_words ||
        words.size() > subcommand->most_words)
        return SHELL_USAGE;
    return subcommand->run(shell, words);
}

void complete_config(const qv_cshell& shell, std::string_view before, std::string_view word,
                     std::vector<std::string>& candidates)
{
    std::vector<std::string> words;
    split_words(before, words);
    if (words.empty()) {
        for (const Subcommand& subcommand : subcommands) {
            if (subcommand.name.starts_with(word))
                candidates.emplace_back(subcommand.name);
        }
        return;
    }
    const Subcommand* const subcommand = find_subcommand(words.front());
    if (subcommand == nullptr || words.size() > subcommand->most_words)
        return;
    const bool at_key = subcommand->most_words != any || words.size() % 2 == 1;
    if (subcommand->takes_key && at_key)
        complete_key(shell, word, candidates);
    for (const std::string& key : shell.watches().keys()) {
        if (!subcommand->takes_key && key.starts_with(word))
            candidates.push_back(key);
    }
}

} // namespace host
