// SPDX-License-Identifier: MIT
#include "bite/post_api.h"

#include <cstdint>
#include <cstring>
#include <span>

namespace {

constexpr const char* ready_key = "ram.post.hnd.ready";

} // namespace

void CBitePostApi::init(_cbus_conn_t* connection)
{
    connection_ = connection;
}

int CBitePostApi::registerPostReadyCB(void (*callback)(void*), void* context)
{
    callback_ = callback;
    context_ = context;
    return config_change_register(ready_key, onPostReadyChange, this);
}

void CBitePostApi::onPostReadyChange(unsigned int count, const config_data_t* records, void* user)
{
    auto* const api = static_cast<CBitePostApi*>(user);
    if (count == 0 || api == nullptr)
        return;
    for (const config_data_t& record : std::span(records, count)) {
        if (std::strcmp(record.key, ready_key) != 0)
            continue;
        const bool ready =
            record.data != nullptr && *static_cast<const std::int32_t*>(record.data) == 1;
        if (ready && api->callback_ != nullptr)
            api->callback_(api->context_);
        return;
    }
}
