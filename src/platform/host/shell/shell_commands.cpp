// SPDX-License-Identifier: MIT
// The commands that every shell has: what the daemon did and what state its platform is in.
#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <optional>

#include "ap/output.h"
#include "host/base/printable.h"
#include "host/host/host.h"
#include "host/log/trace.h"
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

void print_line(std::uint64_t number, std::uint64_t time_ms, std::string_view text)
{
    qv_printf("%" PRIu64 " %" PRIu64 ".%03u %s\n", number, time_ms / 1000U,
              static_cast<unsigned int>(time_ms % 1000U), printable(text).c_str());
}

// Help may have several lines; the first says what the command is for.
void print_summary(const shell_command_t& command)
{
    const std::string_view help = command.help;
    const std::string first(help.substr(0, help.find('\n')));
    qv_printf("%-12s %s\n", command.name, first.c_str());
}

int help(int argc, char** argv)
{
    if (argc > 2)
        return SHELL_USAGE;
    if (argc == 1) {
        for (const shell_command_t* command : shell_commands())
            print_summary(*command);
        return SHELL_OK;
    }
    if (const shell_command_t* const command = find_shell_command(argv[1]); command != nullptr)
        qv_puts(command->help);
    else
        qv_printf("help: %s: no such command\n", argv[1]);
    return SHELL_OK;
}

int leave(int argc, char**)
{
    return argc == 1 ? SHELL_EXIT : SHELL_USAGE;
}

int bus(int argc, char** argv)
{
    const auto wanted = argc == 1   ? std::optional(lines_unasked)
                        : argc == 2 ? parse_count(argv[1])
                                    : std::nullopt;
    if (!wanted)
        return SHELL_USAGE;
    const SignalLog& signals = instance().signals;
    const std::uint64_t shown =
        std::min<std::uint64_t>({*wanted, signals.count(), SignalLog::capacity});
    for (std::uint64_t number = signals.count() - shown + 1; number <= signals.count(); ++number) {
        const SignalLog::Signal& signal = signals.signal(number);
        print_line(number, signal.time_ms,
                   describe_signal(signal.name.data(), signal.kept(), signal.length));
    }
    return SHELL_OK;
}

int journal(int argc, char** argv)
{
    const Journal& lines = instance().journal;
    const std::uint64_t last = lines.last();
    std::uint64_t from = last < lines_unasked ? 1 : last - lines_unasked + 1;
    if (argc == 2) {
        const auto behind = parse_count(argv[1]);
        if (!behind)
            return SHELL_USAGE;
        if (*behind >= last)
            return SHELL_OK;
        from = *behind + 1;
        if (from < lines.first()) {
            qv_printf("lines %" PRIu64 " to %" PRIu64 " are forgotten\n", from, lines.first() - 1);
            from = lines.first();
        }
    } else if (argc > 2) {
        return SHELL_USAGE;
    }
    for (std::uint64_t number = from; number <= last; ++number) {
        const Journal::Line line = lines.line(number);
        print_line(line.number, line.time_ms, line.text);
    }
    return SHELL_OK;
}

void print_trace_group(const qv_trace_group_t& group)
{
    std::string on;
    for (unsigned int bit = 0; bit < 26; ++bit) {
        if (group.enabled != 0 && (group.mask & (1U << bit)) != 0)
            on += static_cast<char>('A' + bit);
    }
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

int trace(int argc, char** argv)
{
    if (argc == 1) {
        for_each_trace_group(print_trace_group);
        return SHELL_OK;
    }
    if (argc != 3)
        return SHELL_USAGE;
    qv_trace_group_t* const group = find_trace_group(argv[1]);
    const std::string_view letters = argv[2];
    if (group == nullptr) {
        qv_printf("trace: %s: no such group\n", argv[1]);
    } else if (letters == "off") {
        group->enabled = 0;
    } else if (letters.empty() || !std::all_of(letters.begin(), letters.end(),
                                               [](char c) { return c >= 'A' && c <= 'Z'; })) {
        qv_printf("trace: %s: write capital letters, or off\n", argv[2]);
    } else {
        std::string error;
        if (!enable_traces(std::string(argv[1]) + ":" + argv[2], error))
            qv_puts((error + "\n").c_str());
    }
    return SHELL_OK;
}

int loop(int argc, char**)
{
    if (argc != 1)
        return SHELL_USAGE;
    if (!instance().loop) {
        qv_puts("loop: there is none\n");
        return SHELL_OK;
    }
    const LoopStatistics& statistics = instance().loop->statistics();
    qv_printf("callbacks %" PRIu64 "\nlongest callback %" PRIu64 " us\nwake-ups %" PRIu64 "\n",
              statistics.callbacks, statistics.longest_callback_us, statistics.wake_ups);
    return SHELL_OK;
}

constexpr shell_command_t own(const char* name, shell_handler handler, const char* help_text)
{
    return {"/bin", name, handler, 4, help_text, {0, 0}};
}

// Constant: other files' static objects look commands up before this file's would be made.
constexpr std::array<shell_command_t, 7> own_commands{
    own("bus", bus, "Shows the last signals sent: bus [COUNT]\n"),
    own("config", config_command,
        "Reads and writes the configuration database: config SUBCOMMAND\n"
        "  get KEY\n"
        "  set KEY VALUE [KEY VALUE...]   all written together\n"
        "  del KEY\n"
        "  list [PREFIX]\n"
        "  watch [KEY]                    shows changes of the key and below as they come\n"
        "  unwatch KEY\n"),
    own("exit", leave, "Ends this shell\n"),
    own("help", help, "Shows what commands there are: help [COMMAND]\n"),
    own("journal", journal,
        "Shows what the daemon did: journal [NUMBER]\n"
        "  NUMBER: the lines behind that number; the last 20 without it\n"),
    own("loop", loop, "Shows how busy the event loop was\n"),
    own("trace", trace, "Shows and switches traces: trace [GROUP LETTERS|off]\n"),
};

} // namespace

std::span<const shell_command_t> own_shell_commands()
{
    return own_commands;
}

} // namespace host
