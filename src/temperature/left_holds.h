// SPDX-License-Identifier: MIT
// Holds that an earlier life of the daemon has left behind: the marks of consumers stay in the
// database when the daemon is killed, and nobody would ever give these consumers back.
#pragma once

#include "models/model.h"

namespace power_man {

// Gives back, with one line, what is marked as held and is held by no sensor of the model: once,
// and not before each of its sensors has been evaluated. True when that is done.
//
// The mark of a terminal that is being ended is none of these: the order stands until the
// terminal starts again, which empties the database's keys of this kind.
bool give_back_left_holds(const Model& model);

// Says what still waits for that, if anything does.
void report_left_holds(const Model& model);

} // namespace power_man
