// SPDX-License-Identifier: MIT
// Phrases that several commands use.
#pragma once

#include <string>
#include <vector>

#include "insight/state.h"

namespace power_man::insight {

// "PoE off", "fan full speed": what an action does, in order.
std::vector<std::string> parts_in_words(const ActionRow& action);

// "the Radio Module rose to 71 C (above 70)", "the HPA reported state 1 (Too High)".
// `who` is "the Radio Module" or "it".
std::string crossing_text(const SensorState& sensor, std::int32_t lower, const Crossings& crossing,
                          const std::string& who);
std::string with_article(const SensorState& sensor); // "the Radio Module"

// "the Radio Module falls below 65 C", "the HPA reports state 0 (Normal)": when a sensor that is
// above the boundary `lower` comes back over it.
std::string return_text(const SensorState& sensor, std::int32_t lower, bool supplied);

// Says that the model is unknown; SHELL_FAILED.
int refuse_without_model();

} // namespace power_man::insight
