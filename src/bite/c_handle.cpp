// SPDX-License-Identifier: MIT
#include "bite/c_handle.h"

#include "ap/log.h"

namespace power_man {

bool has_handle(const char* function, const void* handle, const char* needed)
{
    if (handle == nullptr)
        qv_slog(3, "%s: Handle is NULL - no initialized %s\n", function, needed);
    return handle != nullptr;
}

bool has_handle_and_id(const char* function, const void* handle, unsigned int id,
                       const char* needed)
{
    const bool usable = handle != nullptr && id != 0;
    if (!usable)
        qv_slog(3, "%s: Handle or %s is NULL - (%p/%d)\n", function, needed, handle,
                static_cast<int>(id));
    return usable;
}

} // namespace power_man
