// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace power_man {

// As fdputs() to standard output. That is shared with other processes, which would notice
// O_NONBLOCK, and its reader may stand still: nobody waits for it. Lines that it does not take at
// once are dropped; when it goes on, "N lines were dropped" stands in their place.
int write_standard_output(std::string_view text);

} // namespace power_man
