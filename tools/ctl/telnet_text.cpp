// SPDX-License-Identifier: MIT
#include "telnet_text.h"

#include <utility>

namespace ctl {
namespace {

constexpr unsigned char parameters_end = 240;
constexpr unsigned char parameters_begin = 250;
constexpr unsigned char will = 251; // will, will not, do, do not: an option follows
constexpr unsigned char command_mark = 255;

} // namespace

void TelnetText::decode(std::string_view bytes, std::string& text)
{
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        const bool mark = code == command_mark;
        switch (state_) {
        case State::text:
            if (mark)
                state_ = State::command;
            else
                put(byte, text);
            break;
        case State::command:
            if (mark)
                put(byte, text); // doubled, it stands for itself
            state_ = after_command(code);
            break;
        case State::option:
            state_ = State::text;
            break;
        case State::parameters:
            if (mark)
                state_ = State::parameters_command;
            break;
        case State::parameters_command:
            state_ = code == parameters_end ? State::text : State::parameters;
            break;
        }
    }
}

TelnetText::State TelnetText::after_command(unsigned char code)
{
    if (code == parameters_begin)
        return State::parameters;
    return code >= will && code != command_mark ? State::option : State::text;
}

void TelnetText::put(char byte, std::string& text)
{
    if (std::exchange(after_return_, false)) {
        if (byte != '\n')
            text += '\r';
        if (byte == '\0')
            return; // telnet's way to send a carriage return alone
    }
    after_return_ = byte == '\r';
    if (!after_return_)
        text += byte;
}

} // namespace ctl
