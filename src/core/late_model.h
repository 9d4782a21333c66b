// SPDX-License-Identifier: MIT
// A terminal that cannot say at the daemon's start which model it is may say so later.
#pragma once

namespace power_man {

// The time without a sign of life after which the daemon counts as dead, where the terminal's
// model states one.
void set_dead_time();

// Follows the platform id. A terminal without a known model becomes the one that a later id names:
// what the start has left out for want of a model is done then, in the start's order. The loop,
// the console and all else run on. A terminal that has its model keeps it until the daemon is
// started again; an id that says otherwise is logged.
void follow_platform_id();

} // namespace power_man
