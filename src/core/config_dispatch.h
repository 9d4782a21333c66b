// SPDX-License-Identifier: MIT
#pragma once

#include "ap/config.h"

// Change callback of the core, in the order of the records: the user's interface settings with
// the switching that follows from each, and the temperatures that a self-test result waits for.
// Records without a value are ignored.
void pwr_mgr_config_changed_cb(unsigned int nbr_of_rec, const config_data_t* data, void* user);
