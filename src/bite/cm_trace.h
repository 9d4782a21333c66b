// SPDX-License-Identifier: MIT
#pragma once

namespace power_man {

// True when the traces of the CM event records are wanted.
bool tracing_cm();

} // namespace power_man
