// SPDX-License-Identifier: MIT
// The commands' handlers, and what may follow behind each.
#pragma once

#include "ap/shell.h"
#include "insight/insight.h"

namespace power_man::insight {

int status(int argc, char** argv);
int why(int argc, char** argv);
int thresholds(int argc, char** argv);
int whatif(int argc, char** argv);
int history(int argc, char** argv);

// Completers.
void offer_status(const char* before, shell_offer offer, void* list);
void offer_why(const char* before, shell_offer offer, void* list);
void offer_sensor(const char* before, shell_offer offer, void* list);
void offer_whatif(const char* before, shell_offer offer, void* list);
void offer_history(const char* before, shell_offer offer, void* list);

void set_parts(const Parts& parts); // for why()

} // namespace power_man::insight
