// SPDX-License-Identifier: MIT
// What goes on around the evaluations, so that nothing of it is silent: readings that are lost,
// evaluations that were skipped, holds that an earlier life of the daemon has left behind, and
// the words in which the service manager shows the state.
#pragma once

#include "models/model.h"

namespace power_man {

// Looks after the readings of that model from now on; null where there is none. Called when the
// readings are followed and have been evaluated once. What is to be said at the end of the start
// comes from the first turn of the loop.
void begin_protection(const Model* model);

// The model that the daemon protects; null before the above, and without one.
const Model* protected_model();

// Tells the service manager when the state has changed.
void update_status();

} // namespace power_man
