// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace power_man {

// Gives a key a value where it has none; a value that is set is never overwritten. When the
// database cannot tell, the default is written. A default that cannot be written is missing
// later, which every reader copes with.
void write_default(const char* key, std::int32_t value);

// The integer at a key; 0 when it cannot be read.
std::int32_t read_or_zero(const char* key);

} // namespace power_man

// The integer at a capability key, 0 (and a warning) when it cannot be read.
int read_capability(const char* key);
