// SPDX-License-Identifier: MIT
#pragma once

#include "models/model.h"

namespace power_man {

// The configuration database, which all readings come through, is out of reach or back.
void note_database(bool away);
bool database_is_away();

// Tells the service manager, in words, how the terminal is protected from heat, when that has
// changed since the last call: as which model, what is in the way of it, or which sensors are hot
// and since when. Null: there is no model.
void show_status(const Model* model);

} // namespace power_man
