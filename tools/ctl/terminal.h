// SPDX-License-Identifier: MIT
// The console for a person: the terminal's keys go there as they are typed, and it does the echo.
#pragma once

#include "connection.h"

namespace ctl {

// Until ^], or until either side ends. The terminal is then as it was before, whatever ended this
// but SIGKILL. Returns the exit status: 0, or `trouble` when the connection was lost.
int converse(Connection& connection);

} // namespace ctl
