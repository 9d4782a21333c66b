// SPDX-License-Identifier: MIT
#include "base/config_values.h"

#include "ap/config.h"
#include "ap/log.h"

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

int read_capability(const char* name)
{
    std::int32_t value = 0;
    if (config_read_int(name, &value) != 0)
        qv_slog(4, "This capabilities %s is not available in this product", name);
    return value;
}
