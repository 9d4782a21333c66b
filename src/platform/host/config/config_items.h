// SPDX-License-Identifier: MIT
// Several keys of the configuration database in one call: as config_readv(), config_writev() and
// config_readm(), for C and so with C's blocks of memory.
#pragma once

#include "ap/config.h"
#include "host/config/configuration.h"

namespace host {

int read_items(Configuration& config, const char* prefix, unsigned int count, config_data_t* items);
int write_items(Configuration& config, const char* prefix, unsigned int count,
                const config_data_t* items);
int read_matching(Configuration& config, const char* pattern, unsigned int* count,
                  config_data_t** items);

} // namespace host
