// SPDX-License-Identifier: MIT
// What the console and the seed need of the configuration database beyond ap/config.h.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/store.h"

namespace host {

// Why a key or a value is refused: a negative errno, 0 when it is fine.
int check_key(std::string_view key);
int check_value(std::string_view value);

// Writes together. 0 or a negative errno.
int config_write(std::span<const Write> writes);

// As Store::read() and Store::list(), once the database is connected (-ENOTCONN before).
int config_read(std::string_view key, std::string_view& value);
int config_list(std::string_view prefix, std::vector<std::string>& keys);

} // namespace host
