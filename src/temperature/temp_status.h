// SPDX-License-Identifier: MIT
#pragma once

#include "ap/shell.h"

// The console command that shows what temperature management knows and does. It takes no
// arguments (SHELL_USAGE otherwise) and ends early, without a message, where a key of the report
// cannot be read.
extern const shell_command_t temp_status_command;
