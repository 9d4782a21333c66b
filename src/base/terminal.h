// SPDX-License-Identifier: MIT
// What every part of the daemon shares: the terminal's platform id, the loop, the bus connection
// and the trace group. One thread uses all of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ap/bus.h"
#include "ap/log.h"
#include "ap/loop.h"

// Set by main(), null before.
extern qv_trace_group_t* tg_pwr_man;
extern _fdloop_t* main_fdloop;

// Set by pwr_mgr_init(), null before.
extern _cbus_conn_t* cbus_conn;

// What the function below has read; empty before, and when it has failed. To be read through it,
// but by whoever must not cause a line in the log.
extern char platform_id[16];

namespace power_man {

// That it can have, in characters: config_read_string() is told one byte less than there are.
inline constexpr std::size_t longest_platform_id = sizeof platform_id - 2;

// The text with '?' for all that is no printable ASCII: others have written the id.
std::string printable(std::string_view text);

} // namespace power_man

// The platform id, which names the terminal model: never null, empty when it cannot be read. It is
// read once; after a failure (logged at level 1) every call tries again.
const char* pwr_mgr_get_platform_id();

// Forgets it, so that the next call above reads it again.
void pwr_mgr_reset_platform_id();

namespace power_man {

// The letters of the trace group, as mask bits.
enum class Trace : std::uint32_t { common = 0x4, detail = 0x8 };

// True when lines of that letter are wanted; asked before every qv_slogd().
bool tracing(Trace letter = Trace::common);

} // namespace power_man
