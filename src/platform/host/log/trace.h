// SPDX-License-Identifier: MIT
// Trace groups as the environment and the console switch them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "ap/log.h"

namespace host {

// Switches on what "GROUP:LETTERS[,GROUP:LETTERS...]" names; an empty text switches nothing.
// False, with one line in `error`, when a group or a letter is not known; nothing is switched
// then.
bool enable_traces(std::string_view wanted, std::string& error);

// The group of that name, null when there is none.
qv_trace_group_t* find_trace_group(std::string_view name);

void for_each_trace_group(const std::function<void(qv_trace_group_t&)>& visit);

} // namespace host
