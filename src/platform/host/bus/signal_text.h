// SPDX-License-Identifier: MIT
// Bus signals in words.
#pragma once

#include <string>
#include <string_view>

#include "host/config/store.h"

namespace host {

// As _cbus_conn_t::describe(); events are named as `store` recalls their names.
std::string describe_signal(Store& store, std::string_view name, std::string_view payload,
                            std::size_t length);

} // namespace host
