// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace replay {

// True for a key that the daemon itself writes: its results, not what it reacts to. The copies of
// an amplifier's readings are among them; their originals are not.
bool is_own_key(std::string_view key);

} // namespace replay
