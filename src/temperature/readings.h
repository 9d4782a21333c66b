// SPDX-License-Identifier: MIT
// Which of the readings that a model needs are there. What is lost is one line in the log at
// level 4, what comes back one at level 5; nothing is said while it lasts.
#pragma once

#include "models/model.h"

namespace power_man {

// From now on the model's sources, what an amplifier's state is copied from, and the external
// supply. What has no value yet is waited for in silence until report_missing_readings().
void begin_readings(const Model& model);

// A value has come to a key, or is there no more (or is no integer). Other keys than the above
// are ignored. True when the value was not there before.
bool note_reading(const char* key, bool present);

// To be called once, when the start is over: what is not there by now counts as lost.
void report_missing_readings();

// False while it cannot be read whether there is an external supply.
bool supply_is_known();

// False while the sensor's reading, or what it is copied from, counts as lost.
bool has_reading(const Sensor& sensor);

// The sensor of the model that is without a reading; null when all have one.
const Sensor* sensor_without_reading();

} // namespace power_man
