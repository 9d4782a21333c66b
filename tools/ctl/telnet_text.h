// SPDX-License-Identifier: MIT
// Telnet's bytes made text: without its commands, and with LF for CR LF.
//
// The server's offers are not answered: it does what this client wants without being asked, and
// takes an answer that the network cuts in two for something typed.
#pragma once

#include <string>
#include <string_view>

namespace ctl {

class TelnetText {
public:
    // Appends the text of the bytes, which may be cut anywhere: what is half there is kept.
    void decode(std::string_view bytes, std::string& text);

private:
    enum class State { text, command, option, parameters, parameters_command };

    void put(char byte, std::string& text);
    static State after_command(unsigned char code);

    State state_ = State::text;
    bool after_return_ = false;
};

} // namespace ctl
