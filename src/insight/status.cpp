// SPDX-License-Identifier: MIT
#include "insight/status.h"

#include <string_view>

#include "ap/output.h"
#include "insight/commands.h"

namespace power_man::insight {
namespace {

constexpr int answers[] = {SHELL_OK, SHELL_ANSWER + 1, SHELL_ANSWER + 3}; // by Condition

} // namespace

int status(int argc, char** argv)
{
    std::string (*form)(const State&) = status_text;
    if (argc > 2)
        return SHELL_USAGE;
    if (argc == 2) {
        const std::string_view option = argv[1];
        if (option != "--json" && option != "--openmetrics")
            return SHELL_USAGE;
        form = option == "--json" ? status_json : status_metrics;
    }
    const State state = present_state();
    qv_puts(form(state).c_str());
    return answers[static_cast<std::size_t>(state.condition())];
}

void offer_status(const char* before, shell_offer offer, void* list)
{
    if (*before != '\0')
        return;
    offer(list, "--json");
    offer(list, "--openmetrics");
}

} // namespace power_man::insight
