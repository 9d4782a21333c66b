// SPDX-License-Identifier: MIT
// Stands in for the shared database where the Redis client library is missing.
#include "host/redis/shared_store.h"

namespace host {

std::unique_ptr<Store> open_shared_store(const Settings& settings, ChangeDispatcher&,
                                         std::string& error)
{
    error = "AP_DATABASE: '" + settings.database +
            "': built without hiredis, there is only the in-process database; unset it";
    return nullptr;
}

} // namespace host
