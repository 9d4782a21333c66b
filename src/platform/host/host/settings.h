// SPDX-License-Identifier: MIT
// The environment variables of this platform implementation.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

struct Settings {
    std::string database;      // AP_DATABASE, see database_address.h; empty: in this process
    std::string password_file; // AP_DATABASE_PASSWORD_FILE, for that; empty: no password
    std::string seed_file;     // AP_DATABASE_SEED
    std::string board_root; // AP_BOARD_ROOT, without a slash at its end; empty: the machine's own
    int console_port = 0;   // AP_CONSOLE_PORT; 0: the address as the daemon gives it
    int log_level = 5;      // AP_LOG_LEVEL
    std::string trace;      // AP_TRACE: "GROUP:LETTERS", several separated by ','
    std::vector<std::string> unknown; // variables that begin with AP_ and are none of these

    // What the environment says. A variable that cannot be used is one line in `error`.
    static std::optional<Settings> from_environment(std::string& error);
};

} // namespace host
