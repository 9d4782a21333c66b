// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string_view>

#include "models/model.h"

namespace power_man {

// Every model, in the order in which their sensors are numbered.
std::span<const Model* const> all_models();

// The model with exactly that platform id; null when there is none.
const Model* find_model(std::string_view id);

// That of this terminal; null when its platform id is unknown or, which is logged each time,
// cannot be read.
const Model* current_model();

} // namespace power_man
