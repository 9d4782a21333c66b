// SPDX-License-Identifier: MIT
#pragma once

#include "ap/config.h"

// Change callback of the core: the user's interface settings, each with the switching that
// follows from it, in the order of the records. Records without a value are ignored.
void pwr_mgr_config_changed_cb(unsigned int nbr_of_rec, const config_data_t* data, void* user);
