// SPDX-License-Identifier: MIT
#include "host/shell/terminal_shell.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace host {
namespace {

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

int TerminalShell::on_input(int fd, void* self)
{
    auto& terminal = *static_cast<TerminalShell*>(self);
    std::array<char, 1024> data;
    const ssize_t length = read(fd, data.data(), data.size());
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    if (length > 0 &&
        terminal.shell_->feed({data.data(), static_cast<std::size_t>(length)}) == SHELL_OK)
        return 0;
    terminal.loop_->stop();
    return 1;
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
    if (const int error = take_input(); error != 0) {
        shell_.reset();
        log_.write(3, "No shell on the terminal: %s\n", std::strerror(-error));
        return error;
    }
    shell_->prompt();
    return 0;
}

} // namespace host
