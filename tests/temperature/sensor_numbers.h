// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// The numbers that the sensors of all models have always had.
namespace sensor {

enum Number : int { battery, radio_module, hpa, v640, v150, hpa_adu, bdu, v360 };

} // namespace sensor
