// SPDX-License-Identifier: MIT
#pragma once

#include <termios.h>

#include <memory>
#include <optional>
#include <string>

#include "host/log/log.h"
#include "host/loop/loop.h"
#include "host/shell/shell.h"

namespace host {

// The shell on the process's own terminal: one at most. The editor wants every key at once, without
// the kernel's echo, ^C too; other keys that make signals keep doing so. Flow control is off: ^S
// would stop the log. Line ends come from the program, so that the kernel must not add to them.
// Whoever gets the terminal next finds it as it was.
class TerminalShell {
public:
    // Both must outlive the object.
    TerminalShell(const ShellContext& context, Log& log) : context_(context), log_(log) {}
    TerminalShell(const TerminalShell&) = delete;
    TerminalShell& operator=(const TerminalShell&) = delete;
    ~TerminalShell();

    // As fdloop_shell_init().
    int open(_fdloop_t& loop, const char* name);

private:
    static int on_input(int fd, void* self);
    static int on_turn(void* self);
    void read_input();
    void go_on();
    void ask_turn();
    static void on_leaving_signal(int signal);
    static void restore_at_exit();
    static void watch_leaving_signals();
    int take_input();
    int set_modes();
    void restore_modes() const;

    const ShellContext& context_;
    Log& log_;
    _fdloop_t* loop_ = nullptr;
    std::unique_ptr<qv_cshell> shell_;
    std::string typed_;            // and not yet handled: one line a turn of the loop
    bool at_end_ = false;          // of the input
    bool turn_asked_ = false;      // on_turn() will be called
    std::optional<termios> modes_; // as they were
    termios own_modes_{};
};

} // namespace host
