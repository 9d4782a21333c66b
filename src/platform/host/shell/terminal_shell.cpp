// SPDX-License-Identifier: MIT
#include "host/shell/terminal_shell.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace host {
namespace {

constexpr std::size_t most_typed = 1024; // of what waits

// The one that has changed the terminal's modes: for signal handlers and the end of the process.
TerminalShell* holder = nullptr;

// Only what is typed next is concerned, so no output need be waited for. A process in the
// background would be stopped by this; its terminal is in other hands.
void switch_modes(const termios& modes)
{
    if (tcgetpgrp(STDIN_FILENO) == getpgrp())
        tcsetattr(STDIN_FILENO, TCSANOW, &modes);
}

} // namespace

TerminalShell::~TerminalShell()
{
    restore_modes();
    if (holder == this)
        holder = nullptr;
}

void TerminalShell::restore_modes() const
{
    if (modes_)
        switch_modes(*modes_);
}

void TerminalShell::restore_at_exit()
{
    if (holder != nullptr)
        holder->restore_modes();
}

// The system has put the default action back: it is taken here, once the terminal is restored.
// A stopped process comes back; so does one that nobody could continue, which is not stopped.
void TerminalShell::on_leaving_signal(int signal)
{
    const int saved = errno;
    restore_at_exit();
    raise(signal);
    if (holder != nullptr)
        switch_modes(holder->own_modes_);
    watch_leaving_signals();
    errno = saved;
}

// Those that end or stop the process without its exit handlers. Ignored ones stay so.
void TerminalShell::watch_leaving_signals()
{
    struct sigaction action {};
    action.sa_handler = on_leaving_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER | SA_RESTART);
    for (const int signal : {SIGABRT, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU}) {
        struct sigaction present {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
}

int TerminalShell::set_modes()
{
    termios modes{};
    if (tcgetattr(STDIN_FILENO, &modes) != 0)
        return errno == ENOTTY ? 0 : -errno; // a pipe serves as well
    if (std::atexit(restore_at_exit) != 0)
        return -ENOMEM;
    modes_ = modes;
    modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
    modes.c_iflag &= ~static_cast<tcflag_t>(IXON);
    modes.c_oflag &= ~static_cast<tcflag_t>(ONLCR);
    modes.c_cc[VINTR] = _POSIX_VDISABLE;
    modes.c_cc[VMIN] = 1;
    modes.c_cc[VTIME] = 0;
    own_modes_ = modes;
    holder = this;
    watch_leaving_signals();
    return tcsetattr(STDIN_FILENO, TCSADRAIN, &modes) == 0 ? 0 : -errno;
}

void TerminalShell::read_input()
{
    std::array<char, most_typed> data;
    const std::size_t room = most_typed - typed_.size();
    const ssize_t length = read(STDIN_FILENO, data.data(), room);
    if (room == 0 || (length < 0 && (errno == EAGAIN || errno == EINTR)))
        return;
    if (length <= 0) {
        at_end_ = true;
        loop_->remove(STDIN_FILENO, Condition::input);
        return;
    }
    typed_.append(data.data(), static_cast<std::size_t>(length));
    const std::size_t interrupt = typed_.rfind('\x03');
    if (shell_->listing() && interrupt != std::string::npos) {
        typed_.erase(0, interrupt + 1);
        shell_->interrupt_listing();
    }
    if (typed_.size() == most_typed)
        loop_->suspend(STDIN_FILENO);
}

// Handles one line of what was typed. The end of a listing asks for the next turn.
void TerminalShell::go_on()
{
    if (shell_->listing())
        return;
    bool leaves = at_end_ && typed_.empty();
    if (!typed_.empty()) {
        const std::size_t line = std::min(typed_.find_first_of("\r\n"), typed_.size() - 1) + 1;
        const std::string input = typed_.substr(0, line);
        typed_.erase(0, line);
        leaves = shell_->feed(input) == SHELL_EXIT;
        ask_turn();
    }
    loop_->resume(STDIN_FILENO);
    if (leaves)
        loop_->stop();
}

void TerminalShell::ask_turn()
{
    if (!std::exchange(turn_asked_, true))
        loop_->add_timer(0, on_turn, this);
}

int TerminalShell::on_turn(void* self)
{
    auto& terminal = *static_cast<TerminalShell*>(self);
    terminal.turn_asked_ = false;
    terminal.go_on();
    return 0;
}

int TerminalShell::on_input(int, void* self)
{
    auto& terminal = *static_cast<TerminalShell*>(self);
    terminal.read_input();
    terminal.ask_turn();
    return 0;
}

int TerminalShell::take_input()
{
    if (const int error = loop_->add(STDIN_FILENO, Condition::input, on_input, this); error != 0)
        return error;
    const int error = set_modes();
    if (error != 0)
        loop_->remove(STDIN_FILENO, Condition::input);
    return error;
}

int TerminalShell::open(_fdloop_t& loop, const char* name)
{
    if (shell_)
        return -EEXIST;
    loop_ = &loop;
    shell_ = std::make_unique<qv_cshell>(name, context_);
    shell_->on_listing_end([this] { ask_turn(); });
    if (const int error = take_input(); error != 0) {
        shell_.reset();
        log_.write(3, "No shell on the terminal: %s\n", std::strerror(-error));
        return error;
    }
    shell_->prompt();
    return 0;
}

} // namespace host
