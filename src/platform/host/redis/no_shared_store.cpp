// SPDX-License-Identifier: MIT
// Stands in for the shared database where the Redis client library is missing.
#include "host/redis/shared_store.h"

namespace host {

std::unique_ptr<Store> open_shared_store(const SharedDatabase& database, ChangeDispatcher&, Clock&,
                                         Log&, GiveUp, std::string& error)
{
    error = "AP_DATABASE: '" + database.address +
            "': built without a client for it, there is only the in-process database; unset it";
    return nullptr;
}

} // namespace host
