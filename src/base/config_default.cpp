// SPDX-License-Identifier: MIT
#include "base/config_default.h"

#include "ap/config.h"

namespace power_man {

void write_default(const char* key, std::int32_t value)
{
    int status = 0;
    if (config_status(key, &status) != 0 || status == 0)
        config_write_int(key, value);
}

} // namespace power_man
