// SPDX-License-Identifier: MIT
// The console's command `status`: what temperature management knows and does, in three forms.
#pragma once

#include <string>

#include "insight/state.h"

namespace power_man::insight {

std::string status_text(const State& state);

// One object; times are seconds since 1970, null where there is none.
std::string status_json(const State& state);

// OpenMetrics 1.0, for Prometheus.
std::string status_metrics(const State& state);

} // namespace power_man::insight
