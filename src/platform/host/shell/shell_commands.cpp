// SPDX-License-Identifier: MIT
// The commands that every shell has: what the daemon did and what state its platform is in.
#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <optional>

#include "ap/output.h"
#include "host/base/printable.h"
#include "host/base/wall_time.h"
#include "host/shell/commands.h"
#include "host/shell/shell.h"

namespace host {
namespace {

constexpr std::uint64_t lines_unasked = 20; // of the journal and the bus

std::optional<std::uint64_t> parse_count(std::string_view text)
{
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return number;
}

std::int64_t now(const Clock& clock)
{
    return clock.wall_ms(clock.now_ms());
}

void print_line(const Clock& clock, std::uint64_t number, std::uint64_t time_ms,
                std::string_view text)
{
    qv_printf("%" PRIu64 " %s %s\n", number,
              wall_time_text(clock.wall_ms(time_ms), now(clock)).c_str(), printable(text).c_str());
}

// Help may have several lines; the first says what the command is for.
void print_summary(const Command& command)
{
    const std::string_view help = command.help;
    qv_printf("%-12s %s\n", std::string(command.name).c_str(),
              std::string(help.substr(0, help.find('\n'))).c_str());
}

int help(qv_cshell&, Arguments arguments)
{
    if (arguments.size() > 1)
        return SHELL_USAGE;
    if (arguments.empty()) {
        for (const Command& command : all_commands())
            print_summary(command);
        return SHELL_OK;
    }
    const auto command = find_command(arguments[0]);
    if (!command) {
        qv_printf("help: %s: no such command\n", arguments[0]);
        return SHELL_FAILED;
    }
    qv_puts(command->help);
    return SHELL_OK;
}

int leave(qv_cshell&, Arguments arguments)
{
    return arguments.empty() ? SHELL_EXIT : SHELL_USAGE;
}

int bus(qv_cshell& shell, Arguments arguments)
{
    const auto wanted = arguments.empty()       ? std::optional(lines_unasked)
                        : arguments.size() == 1 ? parse_count(arguments[0])
                                                : std::nullopt;
    if (!wanted)
        return SHELL_USAGE;
    const _cbus_conn_t& bus = shell.context().bus;
    const SignalLog& signals = bus.sent();
    const std::uint64_t shown =
        std::min<std::uint64_t>({*wanted, signals.count(), SignalLog::capacity});
    for (std::uint64_t number = signals.count() - shown + 1; number <= signals.count(); ++number) {
        const SignalLog::Signal& signal = signals.signal(number);
        print_line(shell.context().clock, number, signal.time_ms,
                   bus.describe(signal.name.data(), signal.kept(), signal.length));
    }
    return SHELL_OK;
}

// The first line that was written at that time or later; last() + 1 without one.
std::uint64_t first_since(const Journal& lines, const Clock& clock, std::int64_t time)
{
    std::uint64_t number = lines.first();
    while (number <= lines.last() && clock.wall_ms(lines.line(number).time_ms) < time)
        ++number;
    return number;
}

// The first line to be shown, forgotten ones included; none when the arguments are not understood.
std::optional<std::uint64_t> first_wanted(const ShellContext& context, Arguments arguments)
{
    const Journal& lines = context.journal;
    const auto with_last = [&](std::uint64_t count) {
        return lines.last() - std::min<std::uint64_t>({count, lines.last(), Journal::capacity}) + 1;
    };
    if (arguments.empty())
        return with_last(lines_unasked);
    const std::string_view option = arguments[0];
    if (option == journal_options[0] && arguments.size() == 2) {
        const auto count = parse_count(arguments[1]);
        return count ? std::optional(with_last(*count)) : std::nullopt;
    }
    if (option == journal_options[1] && arguments.size() <= 3) {
        std::string text;
        for (const char* const word : arguments.subspan(1))
            text.append(text.empty() ? "" : " ").append(word);
        const auto time = parse_wall_time(text, now(context.clock));
        return time ? std::optional(first_since(lines, context.clock, *time)) : std::nullopt;
    }
    const auto behind = arguments.size() == 1 ? parse_count(option) : std::nullopt;
    return behind ? std::optional(std::min(*behind, lines.last()) + 1) : std::nullopt;
}

int journal(qv_cshell& shell, Arguments arguments)
{
    const Journal& lines = shell.context().journal;
    std::optional<std::uint64_t> from = first_wanted(shell.context(), arguments);
    if (!from)
        return SHELL_USAGE;
    if (*from < lines.first()) {
        qv_printf("lines %" PRIu64 " to %" PRIu64 " are forgotten\n", *from, lines.first() - 1);
        from = lines.first();
    }
    for (std::uint64_t number = *from; number <= lines.last(); ++number) {
        const Journal::Line line = lines.line(number);
        print_line(shell.context().clock, line.number, line.time_ms, line.text);
    }
    return SHELL_OK;
}

std::string letters_of(std::uint32_t mask)
{
    std::string letters;
    for (unsigned int bit = 0; bit < 26; ++bit) {
        if ((mask & (1U << bit)) != 0)
            letters += static_cast<char>('A' + bit);
    }
    return letters;
}

void print_trace_group(const qv_trace_group_t& group)
{
    const std::string on = letters_of(group.enabled != 0 ? group.mask : 0);
    qv_printf("%s: %s\n", group.name, on.empty() ? "off" : on.c_str());
    std::string_view letters = group.letters;
    while (!letters.empty()) {
        const std::string_view line = letters.substr(0, letters.find('\n'));
        letters.remove_prefix(std::min(letters.size(), line.size() + 1));
        std::string shown(line);
        std::replace(shown.begin(), shown.end(), '\t', ' ');
        qv_printf("  %s\n", printable(shown).c_str());
    }
}

int trace(qv_cshell& shell, Arguments arguments)
{
    TraceGroups& groups = shell.context().traces;
    if (arguments.empty()) {
        for (const qv_trace_group_t& group : groups.all())
            print_trace_group(group);
        for (const auto& [name, mask] : groups.awaited())
            qv_printf("%s: %s, once it is there\n", printable(name).c_str(),
                      letters_of(mask).c_str());
        return SHELL_OK;
    }
    if (arguments.size() != 2)
        return SHELL_USAGE;
    const std::string_view letters = arguments[1];
    if (letters == "off") {
        groups.switch_off(arguments[0]);
        return SHELL_OK;
    }
    const auto mask = trace_mask(letters);
    if (!mask) {
        qv_printf("trace: %s: write capital letters, or off\n", arguments[1]);
        return SHELL_FAILED;
    }
    groups.switch_on(arguments[0], *mask);
    if (groups.find(arguments[0]) == nullptr)
        qv_printf("trace: %s: no such group yet\n", arguments[0]);
    return SHELL_OK;
}

int loop(qv_cshell& shell, Arguments arguments)
{
    if (!arguments.empty())
        return SHELL_USAGE;
    if (!shell.context().loop) {
        qv_puts("loop: there is none\n");
        return SHELL_FAILED;
    }
    const LoopStatistics& statistics = shell.context().loop->statistics();
    qv_printf("callbacks %" PRIu64 "\nlongest callback %" PRIu64 " us\nwake-ups %" PRIu64 "\n",
              statistics.callbacks, statistics.longest_callback_us, statistics.wake_ups);
    return SHELL_OK;
}

// A program that talks to a shell finds the end of a command's output by a word of its own.
int result(qv_cshell& shell, Arguments arguments)
{
    if (arguments.size() != 1)
        return SHELL_USAGE;
    qv_printf("%s %d\n", arguments[0], shell.status());
    return SHELL_ANSWER + shell.status(); // what was the last command stays it
}

// Constant: other files' static objects look commands up before this file's would be made.
constexpr std::array<OwnCommand, 8> commands{{
    {"bus", bus, "Shows the last signals sent: bus [COUNT]\n"},
    {"config", config_command,
     "Reads and writes the configuration database: config SUBCOMMAND\n"
     "  get KEY\n"
     "  set KEY VALUE [KEY VALUE...]   all written together\n"
     "  del KEY\n"
     "  list [PREFIX]\n"
     "  watch [KEY]                    shows changes of the key and below as they come\n"
     "  unwatch KEY\n"},
    {"exit", leave, "Ends this shell\n"},
    {"help", help, "Shows what commands there are: help [COMMAND]\n"},
    {"journal", journal,
     "Shows what the daemon did: journal [NUMBER]\n"
     "  NUMBER          the lines behind that number; the last 20 without it\n"
     "  --last COUNT    that many lines\n"
     "  --since TIME    HH:MM[:SS], or YYYY-MM-DD HH:MM[:SS]\n"},
    {"loop", loop, "Shows how busy the event loop was\n"},
    {"result", result,
     "Shows how the last command ended: result WORD\n"
     "  The word and 0 for success, 1 for failure or wrong use, or the command's answer\n"},
    {"trace", trace, "Shows and switches traces: trace [GROUP LETTERS|off]\n"},
}};

} // namespace

std::span<const OwnCommand> own_commands()
{
    return commands;
}

} // namespace host
