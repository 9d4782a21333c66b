// SPDX-License-Identifier: MIT
#pragma once

#include "ap/log.h"

namespace power_man {

// A broken precondition of the program's own: logs the source and the line, and aborts.
[[noreturn]] inline void assertion_failed(const char* source, int line = __builtin_LINE())
{
    qv_panic("*** ASSERT in %s at %d\n", source, line);
}

} // namespace power_man
