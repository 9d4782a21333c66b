// SPDX-License-Identifier: MIT
#include "base/terminal.h"

#include <algorithm>

#include "ap/config.h"
#include "base/config_keys.h"

qv_trace_group_t* tg_pwr_man = nullptr;
_fdloop_t* main_fdloop = nullptr;
_cbus_conn_t* cbus_conn = nullptr;
char platform_id[16] = "";

const char* pwr_mgr_get_platform_id()
{
    const char* const key = power_man::key::platform_id;
    if (platform_id[0] == '\0' &&
        config_read_string(key, platform_id, sizeof platform_id - 1) != 0) {
        qv_slog(1, "Failed to read config: %s", key);
        platform_id[0] = '\0';
    }
    return platform_id;
}

void pwr_mgr_reset_platform_id()
{
    platform_id[0] = '\0';
}

namespace power_man {

std::string printable(std::string_view text)
{
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return line;
}

bool tracing(Trace letter)
{
    return tg_pwr_man != nullptr && tg_pwr_man->enabled != 0 &&
           (tg_pwr_man->mask & static_cast<std::uint32_t>(letter)) != 0;
}

} // namespace power_man
