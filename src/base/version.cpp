// SPDX-License-Identifier: MIT
#include "base/version.h"

namespace power_man {

const char* const version = POWER_MAN_VERSION;

} // namespace power_man
