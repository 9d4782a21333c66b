// SPDX-License-Identifier: MIT
#include "core/config_defaults.h"

void pwr_man_create_config_default() {}
