// SPDX-License-Identifier: MIT
// Runs commands on the console of power_man, for scripts and for people.
#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "command_line.h"
#include "connection.h"
#include "console.h"
#include "output.h"
#include "terminal.h"

namespace {

using namespace ctl;

constexpr const char* usage =
    "Usage: power_manctl [OPTION...] [COMMAND [WORD...]]\n"
    "Runs a command on the console of power_man; 'power_manctl help' lists them. Without one: the\n"
    "console itself, or, when standard input is no terminal, each line of it as a command.\n"
    "\n"
    "  --host ADDRESS     IPv4 address of the console, 127.0.0.1 unless told\n"
    "  --port NUMBER      its port; else AP_CONSOLE_PORT, else 2205\n"
    "  --timeout SECONDS  how long it may be silent, 10 unless told\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 done, 1 failed or another answer of the command, 2 not run or not answered.\n";

struct Options {
    Address address;
    std::chrono::seconds patience{10};
    std::span<char* const> words;
};

// A number from 1 to `most`.
std::optional<int> parse_number(std::string_view what, std::string_view text, int most)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc{} && stop == end && number >= 1 && number <= most)
        return number;
    complain(std::string(what) + ": '" + std::string(text) + "' is not a number from 1 to " +
             std::to_string(most));
    return std::nullopt;
}

bool take_port(Options& options, std::string_view what, const char* text)
{
    const std::optional<int> port = parse_number(what, text, 65535);
    options.address.port = static_cast<std::uint16_t>(port.value_or(0));
    return port.has_value();
}

// The exit status when there is nothing more to do.
std::optional<int> take_options(Options& options, int argc, char** argv)
{
    constexpr std::array<option, 6> known{{{"help", no_argument, nullptr, 'h'},
                                           {"host", required_argument, nullptr, 'H'},
                                           {"port", required_argument, nullptr, 'p'},
                                           {"timeout", required_argument, nullptr, 't'},
                                           {"version", no_argument, nullptr, 'v'},
                                           {nullptr, 0, nullptr, 0}}};
    std::string_view port_name = "AP_CONSOLE_PORT";
    const char* port = std::getenv(port_name.data());
    if (port != nullptr && *port == '\0')
        port = nullptr; // as good as unset, as for the daemon
    int letter = 0;
    while ((letter = getopt_long(argc, argv, "+", known.data(), nullptr)) != -1) {
        switch (letter) {
        case 'h':
            return print(usage) ? 0 : trouble;
        case 'v':
            return print("power_manctl " VERSION "\n") ? 0 : trouble;
        case 'H':
            options.address.host = optarg;
            break;
        case 'p':
            port = optarg;
            port_name = "--port";
            break;
        case 't':
            if (const auto seconds = parse_number("--timeout", optarg, 86400))
                options.patience = std::chrono::seconds(*seconds);
            else
                return trouble;
            break;
        default:
            return trouble; // getopt has said why
        }
    }
    if (port != nullptr && !take_port(options, port_name, port))
        return trouble;
    options.words = {argv + optind, static_cast<std::size_t>(argc - optind)};
    return std::nullopt;
}

// `exit` is obeyed here: the console's answer would be to hang up.
int run_one(Connection& connection, const std::string& line)
{
    return line == "exit" ? 0 : Console(connection).run(line).value_or(trouble);
}

int run_input(Connection& connection)
{
    Console console(connection);
    int status = 0;
    std::string line;
    while (next_line(line) && line != "exit") {
        if (line.empty())
            continue;
        if (!check_line(line)) {
            status = trouble;
            continue;
        }
        const std::optional<int> result = console.run(line);
        if (!result)
            return trouble;
        status = *result;
    }
    return status;
}

// Where the starter has closed a standard descriptor, the connection must not take its place: what
// is written there fails instead.
void fill_standard_descriptors()
{
    int fd = 0;
    while ((fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0 && fd <= STDERR_FILENO) {
    }
    close(fd);
}

} // namespace

int main(int argc, char** argv)
{
    fill_standard_descriptors();
    Options options;
    if (const std::optional<int> status = take_options(options, argc, argv))
        return *status;
    std::optional<std::string> line;
    if (!options.words.empty() && !(line = join_words(options.words)))
        return trouble;
    Connection connection(options.patience);
    if (!connection.open(options.address))
        return trouble;
    if (line)
        return run_one(connection, *line);
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0)
        return converse(connection);
    return run_input(connection);
}
