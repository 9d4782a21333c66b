// SPDX-License-Identifier: MIT
#include "host/host/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "host/base/integer.h"
#include "host/base/printable.h"

namespace host {
namespace {

constexpr std::size_t longest_shown = 60;

constexpr std::array known_variables = {
    "AP_BOARD_ROOT",    "AP_CONSOLE_PORT", "AP_DATABASE", "AP_DATABASE_PASSWORD_FILE",
    "AP_DATABASE_SEED", "AP_LOG_LEVEL",    "AP_TRACE"};

// A misspelt variable has no effect, and that may be a terminal without its database.
std::vector<std::string> unknown_variables()
{
    std::vector<std::string> unknown;
    for (char* const* entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::string_view name = text.substr(0, text.find('='));
        if (name.starts_with("AP_") && std::find(known_variables.begin(), known_variables.end(),
                                                 name) == known_variables.end())
            unknown.push_back(printable(name, longest_shown));
    }
    return unknown;
}

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

// Leaves `number` alone when the variable is not set.
bool read_number(const char* name, int least, int most, int& number, std::string& error)
{
    const std::string text = variable(name);
    if (text.empty())
        return true;
    const std::optional<std::int32_t> value = parse_integer(text);
    if (!value || *value < least || *value > most) {
        error = std::string(name) + ": '" + printable(text, longest_shown) +
                "' is not a number from " + std::to_string(least) + " to " + std::to_string(most);
        return false;
    }
    number = *value;
    return true;
}

bool read_board_root(std::string& root, std::string& error)
{
    root = variable("AP_BOARD_ROOT");
    if (root.empty())
        return true;
    while (root.size() > 1 && root.back() == '/')
        root.pop_back();
    struct stat info {};
    if (stat(root.c_str(), &info) != 0) {
        error = "AP_BOARD_ROOT: " + printable(root) + ": " + std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(info.st_mode)) {
        error = "AP_BOARD_ROOT: " + printable(root) + " is not a directory";
        return false;
    }
    return true;
}

} // namespace

std::optional<Settings> Settings::from_environment(std::string& error)
{
    Settings settings;
    settings.database = variable("AP_DATABASE");
    settings.password_file = variable("AP_DATABASE_PASSWORD_FILE");
    settings.seed_file = variable("AP_DATABASE_SEED");
    settings.trace = variable("AP_TRACE");
    settings.unknown = unknown_variables();
    if (!read_board_root(settings.board_root, error) ||
        !read_number("AP_CONSOLE_PORT", 1, 65535, settings.console_port, error) ||
        !read_number("AP_LOG_LEVEL", 0, 7, settings.log_level, error))
        return std::nullopt;
    return settings;
}

} // namespace host
