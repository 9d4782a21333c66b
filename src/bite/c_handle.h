// SPDX-License-Identifier: MIT
// Objects as handles for C.
#pragma once

#include <new>

#include "ap/bus.h"
#include "base/assertion.h"

namespace power_man {

// False, and an error, for a null handle; the other for identifier 0 too. `needed` is what the
// caller lacks, e.g. "POST API" or "postId".
bool has_handle(const char* function, const void* handle, const char* needed);
bool has_handle_and_id(const char* function, const void* handle, unsigned int id,
                       const char* needed);

// The object behind a handle; null, and an error, when the function is to do nothing.
template <typename Api>
Api* api_of(const char* function, void* handle, unsigned int id, const char* needed)
{
    return has_handle_and_id(function, handle, id, needed) ? static_cast<Api*>(handle) : nullptr;
}

// A handle, to be deleted by the caller; ends the process when there is no memory.
template <typename Api>
void* new_api(_cbus_conn_t* connection, const char* source, int line = __builtin_LINE())
{
    auto* const api = new (std::nothrow) Api;
    if (api == nullptr)
        assertion_failed(source, line);
    api->init(connection);
    return api;
}

} // namespace power_man
