// SPDX-License-Identifier: MIT
#include "bite/event_api.h"

#include <cstdint>

#include "ap/log.h"
#include "bite/bite_api.h"
#include "bite/c_handle.h"

namespace {

const CBiteEventApi* api_of(const char* function, void* handle, std::uint32_t event)
{
    return power_man::api_of<CBiteEventApi>(function, handle, event, "eventId");
}

static_assert(BITE_EVENT_OFF == int{CBite::EV_OFF} && BITE_EVENT_ON == int{CBite::EV_ON} &&
              BITE_EVENT_NONE == int{CBite::EV_NONE});

CBite::eEvState state_of(int state)
{
    return static_cast<CBite::eEvState>(state);
}

} // namespace

int CBiteEventApi::reportCM(const CCmEventId& id, eEvState state, int info) const
{
    sendText("bite.cm.state", "id.%u.cm.state=%d", id.packed(), static_cast<int>(state));
    return sendText("bite.cm.info", "id.%u.cm.info=%d", id.packed(), info);
}

int CBiteEventApi::reportEvent(const CEventId& id, eEvState state, int info) const
{
    return sendText("bite.event.state", "id.%u.ev.state=%d:info=%d", id.packed(),
                    static_cast<int>(state), info);
}

void* bite_eventApiInit(_cbus_conn_t* connection)
{
    return power_man::new_api<CBiteEventApi>(connection, "event_api");
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
