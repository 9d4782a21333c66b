// SPDX-License-Identifier: MIT
// The entry of the daemon. It has no options: the arguments are not looked at.
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string_view>

#include "ap/log.h"
#include "ap/loop.h"
#include "ap/shell.h"
#include "base/terminal.h"
#include "base/version.h"
#include "console/fdloop_telnetd.h"
#include "core/pwr_mgr_main.h"
#include "temperature/temp_sensors.h"

namespace {

constexpr int missing_loop_line = 1231; // by which the support staff know this fault

// A shell on the terminal for somebody who starts the daemon by hand, telnet otherwise.
void open_console()
{
    if (tcgetpgrp(STDIN_FILENO) == getpgrp())
        fdloop_shell_init(main_fdloop, "power_man");
    else
        fdloop_telnetd_init(main_fdloop, "tcp*127.0.0.1*2205", "power_man");
}

// Whatever is done now needs memory, the log too. Ended at once, the daemon is started again.
void out_of_memory()
{
    std::string_view line = "<1>power_man: out of memory\n";
    if (std::getenv("JOURNAL_STREAM") == nullptr)
        line.remove_prefix(3); // what only the journal understands
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    std::abort();
}

} // namespace

int main()
{
    std::set_new_handler(out_of_memory);
    pwr_mgr_poe = new PwrMgrPoe;
    pwr_mgr_phone = new PwrMgrPhone;
    tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
    qv_set_default_sig_handlers();
    main_fdloop = fdloop_init();
    if (main_fdloop == nullptr)
        qv_panic("*** ASSERT in %s at %d\n", "pwr_mgr_main", missing_loop_line);
    pwr_mgr_init();
    qv_slog(5, "power_man %s has started\n", power_man::version);
    open_console();
    power_man::start_temp_copy();
    const int result = fdloop_loop(main_fdloop);
    delete pwr_mgr_poe;
    delete pwr_mgr_phone;
    return result == 0 ? 0 : 1;
}
