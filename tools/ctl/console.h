// SPDX-License-Identifier: MIT
// Commands on the console's shell. Behind each the shell is asked for the result, with a word that
// nobody can guess: what comes before that answer is the command's output, whatever it looks like.
//
//     power_man> config get key          prompt, and the command's echo
//     5                                  its output
//     power_man> result 3f0c...          prompt, and the echo of the question: the mark
//     3f0c... 0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "connection.h"

namespace ctl {

class Console {
public:
    explicit Console(Connection& connection) : connection_(connection) {}

    // Runs the line, prints its output as it comes, and returns its status; nothing after a
    // complaint, when the console is of no more use. "config watch KEY" goes on until that.
    std::optional<int> run(const std::string& line);

private:
    bool more(Connection::Wait wait = Connection::Wait::patiently);
    bool take_line(std::string& line, Connection::Wait wait = Connection::Wait::patiently);
    bool skip_echo(const std::string& line);
    bool print_until(const std::string& mark);
    std::optional<int> follow(const std::string& question, const std::string& token);

    Connection& connection_;
    std::string received_; // and not used yet
    std::string prompt_;
    std::string unasked_; // what came in place of an echo
};

} // namespace ctl
