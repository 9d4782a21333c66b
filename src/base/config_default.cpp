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

std::int32_t read_or_zero(const char* key)
{
    std::int32_t value = 0;
    config_read_int(key, &value);
    return value;
}

} // namespace power_man
