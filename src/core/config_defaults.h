// SPDX-License-Identifier: MIT
#pragma once

// Gives every key that the daemon relies on a value where it has none. It does not write any
// default yet.
void pwr_man_create_config_default();
