// SPDX-License-Identifier: MIT
#include "bite/event_api.h"

#include <array>
#include <cstring>
#include <new>

#include "ap/log.h"
#include "ap/text.h"
#include "base/terminal.h"
#include "bite/bite_api.h"
#include "bite/self_test_client.h"

namespace {

using Payload = std::array<char, 49>;

int send(const CBiteEventApi& api, const char* signal, const Payload& payload)
{
    const std::size_t length = std::strlen(payload.data()) + 1;
    return api.sendMsg(signal, payload.data(), static_cast<unsigned int>(length));
}

CBite::eEvState state_of(int state)
{
    return static_cast<CBite::eEvState>(state);
}

// The object behind a handle; null, and an error, when the function is to do nothing.
CBiteEventApi* api_of(const char* function, void* handle, std::uint32_t id)
{
    return power_man::has_handle_and_id(function, handle, id, "eventId")
               ? static_cast<CBiteEventApi*>(handle)
               : nullptr;
}

} // namespace

int CBiteEventApi::reportCM(const CCmEventId& id, eEvState state, int info) const
{
    Payload payload;
    qv_snprintf(payload.data(), payload.size(), "id.%u.cm.state=%d", id.packed(),
                static_cast<int>(state));
    send(*this, "bite.cm.state", payload);
    qv_snprintf(payload.data(), payload.size(), "id.%u.cm.info=%d", id.packed(), info);
    return send(*this, "bite.cm.info", payload);
}

int CBiteEventApi::reportEvent(const CEventId& id, eEvState state, int info) const
{
    Payload payload;
    qv_snprintf(payload.data(), payload.size(), "id.%u.ev.state=%d:info=%d", id.packed(),
                static_cast<int>(state), info);
    return send(*this, "bite.event.state", payload);
}

void* bite_eventApiInit(_cbus_conn_t* connection)
{
    auto* const api = new (std::nothrow) CBiteEventApi;
    if (api == nullptr)
        power_man::assertion_failed("event_api");
    api->init(connection);
    return api;
}

void bite_eventApiClose(void* handle)
{
    if (handle == nullptr)
        qv_slog(4, "%s: trying to free NULL ptr\n", __func__);
    delete static_cast<CBiteEventApi*>(handle);
}

void bite_cmResult(void* handle, std::uint32_t event, int state)
{
    if (const CBiteEventApi* const api = api_of(__func__, handle, event); api != nullptr)
        api->reportCM(CCmEventId(event), state_of(state), 0);
}

void bite_cmResInfo(void* handle, std::uint32_t event, int state, int info)
{
    if (const CBiteEventApi* const api = api_of(__func__, handle, event); api != nullptr)
        api->reportCM(CCmEventId(event), state_of(state), info);
}

void bite_eventResult(void* handle, std::uint32_t event, int state)
{
    if (const CBiteEventApi* const api = api_of(__func__, handle, event); api != nullptr)
        api->reportEvent(CEventId(event), state_of(state), 0);
}

void bite_eventResInfo(void* handle, std::uint32_t event, int state, int info)
{
    if (const CBiteEventApi* const api = api_of(__func__, handle, event); api != nullptr)
        api->reportEvent(CEventId(event), state_of(state), info);
}
