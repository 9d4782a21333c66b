// SPDX-License-Identifier: MIT
#include "insight/insight.h"

#include "insight/commands.h"
#include "insight/memory.h"
#include "insight/state.h"

namespace power_man::insight {
namespace {

constexpr std::uintptr_t ordinary = 4;

constexpr shell_command_t command(const char* name, shell_handler handler, const char* help)
{
    return {"/bin", name, handler, ordinary, help, {0, 0}};
}

struct Row {
    shell_command_t command;
    shell_completer completer;
};

constexpr Row rows[] = {
    {command("status", status,
             "Shows what protects the terminal, and what it holds back: status "
             "[--json|--openmetrics]\n"
             "  For a script: 0 normal, 1 limited, 3 not protected\n"),
     offer_status},
    {command("why", why,
             "Says why something is on or off: why [usb|extended|poe [PORT]|phone [PORT]|isdn|\n"
             "                                      background|connections|SENSOR]\n"
             "  Without a word all that is not as it should be\n"),
     offer_why},
    {command("thresholds", thresholds,
             "Shows where a sensor's intervals begin and end, and what follows: thresholds "
             "[SENSOR]\n"),
     offer_sensor},
    {command("whatif", whatif,
             "Tells what a reading would do, and does nothing: whatif SENSOR READING [supply "
             "on|off]\n"
             "  READING: degrees Celsius; of an amplifier its state, by name or 0 to 6\n"),
     offer_whatif},
    {command("history", history,
             "Shows what a sensor read: history SENSOR [TIME] [--csv]\n"
             "  TIME: up to 24h, e.g. 30m; 6h without it. Minutes are kept for 2 h, then quarters "
             "of an hour\n"),
     offer_history},
};

} // namespace

void start(const Parts& parts)
{
    set_parts(parts);
    start_over();
    for (const Row& row : rows) {
        shell_command_add_sorted(&row.command);
        shell_command_complete(row.command.name, row.completer);
    }
}

void start_over()
{
    start_memory(present_model());
}

} // namespace power_man::insight
