// SPDX-License-Identifier: MIT
#pragma once

// Gives every key that the daemon relies on a value where it has none, in a fixed order, the
// managers' keys among them; both managers must be initialised. Nothing that is set is
// overwritten.
void pwr_man_create_config_default();
