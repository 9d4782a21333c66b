// SPDX-License-Identifier: MIT
// The shell on the process's own terminal. The editor wants every key at once, without the
// kernel's echo; keys that make signals keep doing so. Flow control is off: ^S would block the
// daemon in its next line of output. Whoever gets the terminal next finds it as it was.
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "ap/log.h"
#include "ap/shell.h"
#include "host/loop/loop.h"

namespace host {
namespace {

struct TerminalShell {
    _fdloop_t* loop = nullptr;
    qv_cshell_t* shell = nullptr;
    std::optional<termios> modes; // as they were
    termios own_modes{};
};

TerminalShell terminal;

// Only what is typed next is concerned, so no output need be waited for. A process in the
// background would be stopped by this; its terminal is in other hands.
void switch_modes(const termios& modes)
{
    if (tcgetpgrp(STDIN_FILENO) == getpgrp())
        tcsetattr(STDIN_FILENO, TCSANOW, &modes);
}

void restore_modes()
{
    if (terminal.modes)
        switch_modes(*terminal.modes);
}

void watch_leaving_signals();

// The system has put the default action back: it is taken here, once the terminal is restored.
// A stopped process comes back; so does one that nobody could continue, which is not stopped.
void on_leaving_signal(int signal)
{
    const int saved = errno;
    restore_modes();
    raise(signal);
    switch_modes(terminal.own_modes);
    watch_leaving_signals();
    errno = saved;
}

// Those that end or stop the process without its exit handlers. Ignored ones stay so.
void watch_leaving_signals()
{
    struct sigaction action {};
    action.sa_handler = on_leaving_signal;
    action.sa_flags = SA_RESETHAND | SA_NODEFER | SA_RESTART;
    for (const int signal : {SIGABRT, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU}) {
        struct sigaction present {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
}

int set_modes()
{
    termios modes{};
    if (tcgetattr(STDIN_FILENO, &modes) != 0)
        return errno == ENOTTY ? 0 : -errno; // a pipe serves as well
    terminal.modes = modes;
    modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
    modes.c_iflag &= ~static_cast<tcflag_t>(IXON);
    modes.c_cc[VMIN] = 1;
    modes.c_cc[VTIME] = 0;
    terminal.own_modes = modes;
    if (std::atexit(restore_modes) != 0)
        return -ENOMEM;
    watch_leaving_signals();
    return tcsetattr(STDIN_FILENO, TCSADRAIN, &modes) == 0 ? 0 : -errno;
}

int on_input(int fd, void*)
{
    std::array<char, 1024> data;
    const ssize_t length = read(fd, data.data(), data.size());
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    if (length > 0 &&
        qv_cshell_process_buf(terminal.shell, data.data(), static_cast<int>(length)) == SHELL_OK)
        return 0;
    terminal.loop->stop();
    return 1;
}

int take_input(_fdloop_t& loop)
{
    if (const int error = loop.add(STDIN_FILENO, Condition::input, on_input, nullptr); error != 0)
        return error;
    const int error = set_modes();
    if (error != 0)
        loop.remove(STDIN_FILENO, Condition::input);
    return error;
}

} // namespace
} // namespace host

int fdloop_shell_init(_fdloop_t* loop, const char* name)
{
    host::TerminalShell& terminal = host::terminal;
    if (loop == nullptr || name == nullptr)
        return -EINVAL;
    if (terminal.shell != nullptr)
        return -EEXIST;
    qv_cshell_t* const shell = qv_cshell_alloc(name);
    if (const int error = shell != nullptr ? host::take_input(*loop) : -ENOMEM; error != 0) {
        qv_cshell_free(shell);
        qv_slog(3, "No shell on the terminal: %s\n", std::strerror(-error));
        return error;
    }
    terminal.shell = shell;
    terminal.loop = loop;
    qv_cshell_prompt(shell);
    return 0;
}
