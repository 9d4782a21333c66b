// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <string_view>

#include "output.h"

namespace ctl {
namespace {

constexpr char leave_key = '\x1d'; // ^]
constexpr char telnet_mark = '\xff';

// For the signal handlers: fixed before they are.
termios modes_before;
termios own_modes;

void watch_leaving_signals();

// A process in the background would be stopped by this; its terminal is in other hands.
void switch_modes(const termios& modes)
{
    if (tcgetpgrp(STDIN_FILENO) == getpgrp())
        tcsetattr(STDIN_FILENO, TCSANOW, &modes); // what has hung up needs none
}

// The system has put the default action back: it is taken here, once the terminal is restored.
// A stopped process comes back.
void on_leaving_signal(int signal)
{
    const int saved = errno;
    switch_modes(modes_before);
    raise(signal);
    switch_modes(own_modes);
    watch_leaving_signals();
    errno = saved;
}

// Ignored ones stay so.
void watch_leaving_signals()
{
    struct sigaction action {};
    action.sa_handler = on_leaving_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER | SA_RESTART);
    for (const int signal :
         {SIGABRT, SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGTTIN, SIGTTOU}) {
        struct sigaction present {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
}

// Every key comes at once, as one byte or more, and none of them makes a signal.
class KeyMode {
public:
    KeyMode()
    {
        if (tcgetattr(STDIN_FILENO, &modes_before) != 0)
            return;
        own_modes = modes_before;
        own_modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG | IEXTEN);
        own_modes.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR | ISTRIP | IXON);
        own_modes.c_cc[VMIN] = 1;
        own_modes.c_cc[VTIME] = 0;
        watch_leaving_signals();
        switch_modes(own_modes);
    }
    ~KeyMode()
    {
        own_modes = modes_before; // for a signal that comes from now on
        switch_modes(modes_before);
    }
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;
};

enum class Ended { no, by_user, by_console, in_trouble };

Ended forward_keys(Connection& connection)
{
    std::array<char, 1024> keys;
    const ssize_t length = read(STDIN_FILENO, keys.data(), keys.size());
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return Ended::no;
    if (length <= 0)
        return Ended::by_user; // the terminal is gone
    std::string typed(keys.data(), static_cast<std::size_t>(length));
    const std::size_t end = typed.find(leave_key);
    const bool leaving = end != std::string::npos;
    typed.resize(leaving ? end : typed.size());
    // Telnet would have it doubled; the console knows no such letter and would take the byte
    // behind the two for a part of a command.
    std::erase(typed, telnet_mark);
    if (!connection.send(typed))
        return Ended::in_trouble;
    return leaving ? Ended::by_user : Ended::no;
}

Ended talk(Connection& connection, bool& typed, char& last_shown)
{
    std::array<pollfd, 2> sides{{{connection.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    if (poll(sides.data(), sides.size(), -1) < 0)
        return Ended::no; // a signal
    if (sides[0].revents != 0) {
        std::string text;
        const Connection::Received received = connection.receive_now(text);
        last_shown = text.empty() ? last_shown : text.back();
        if (!print(text))
            return Ended::in_trouble;
        if (received == Connection::Received::end)
            return Ended::by_console;
    }
    typed = typed || sides[1].revents != 0;
    return sides[1].revents != 0 ? forward_keys(connection) : Ended::no;
}

} // namespace

int converse(Connection& connection)
{
    const KeyMode mode;
    std::string greeting;
    connection.receive_now(greeting); // as open() has left it
    if (!print(greeting))
        return trouble;
    char last_shown = greeting.empty() ? '\n' : greeting.back();
    bool typed = false;
    Ended ended = Ended::no;
    while (ended == Ended::no)
        ended = talk(connection, typed, last_shown);
    if (last_shown != '\n')
        print("\n");
    if (ended == Ended::by_user)
        return 0;
    // A shell that was told to end closes the line that told it so. A daemon that dies does not.
    if (ended == Ended::by_console && typed && last_shown == '\n')
        return 0;
    if (ended == Ended::by_console)
        connection.complain("the connection was lost");
    return trouble;
}

} // namespace ctl
