// SPDX-License-Identifier: MIT
// What every part of the daemon shares: which terminal this is, the loop, the bus connection
// and the trace group. One thread uses all of it.
#pragma once

#include <cstdint>
#include <string_view>

#include "ap/bus.h"
#include "ap/log.h"
#include "ap/loop.h"

// Set by main(), null before.
extern qv_trace_group_t* tg_pwr_man;
extern _fdloop_t* main_fdloop;

// Set by pwr_mgr_init(), null before.
extern _cbus_conn_t* cbus_conn;

// What the function below has read; empty before. To be read through it only.
extern char platform_id[16];

// The terminal model, e.g. "qv1202B": never null, empty when it cannot be read. It is read once;
// after a failure (logged at level 1) every call tries again.
const char* pwr_mgr_get_platform_id();

// Forgets the model, so that the next call above reads it again.
void pwr_mgr_reset_platform_id();

namespace power_man {

// True when the terminal is exactly that model.
bool platform_is(const char* id);

// The row of a table for this terminal: the first whose `platform` is its id; null without one.
template <typename Table>
auto find_platform_row(const Table& table) -> decltype(&*table.begin())
{
    const std::string_view id = pwr_mgr_get_platform_id();
    for (const auto& row : table) {
        if (id == row.platform)
            return &row;
    }
    return nullptr;
}

// The letters of the trace group, as mask bits.
enum class Trace : std::uint32_t { common = 0x4, detail = 0x8 };

// True when lines of that letter are wanted; asked before every qv_slogd().
bool tracing(Trace letter = Trace::common);

// A broken precondition of the daemon's own: logs the source and the line, and aborts.
[[noreturn]] void assertion_failed(const char* source, int line = __builtin_LINE());

} // namespace power_man
