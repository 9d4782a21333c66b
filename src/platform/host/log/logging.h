// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace host {

// Takes a log line in place of standard error; `level` is syslog's, 7 for traces too.
using LogSink = void (*)(int level, std::string_view text);

// For tests; null for standard error again.
void set_log_sink(LogSink sink);

} // namespace host
