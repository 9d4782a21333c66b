// SPDX-License-Identifier: MIT
#include "bite/past_api.h"

#include <cstdint>

#include "ap/log.h"
#include "bite/bite_api.h"
#include "bite/c_handle.h"

using power_man::api_of;
using power_man::past_kind;

namespace {

CBitePastApi::ePastResult result_of(int pass)
{
    return pass == 1 ? CBitePastApi::PAST_PASSED : CBitePastApi::PAST_FAILED;
}

} // namespace

CBitePastApi::CBitePastApi() : SelfTestClient(past_kind) {}
CBitePastApi::~CBitePastApi() = default;

bool CBitePastApi::isPastReady() const
{
    return power_man::flag_is_set(past_kind.ready_key);
}

int CBitePastApi::registerPastReadyCB(void (*callback)(void*), void* context)
{
    qv_slog(7, "registerPastReadyCB");
    return follow_ready(callback, context, onPastReadyChange, this);
}

bool CBitePastApi::isPastAllowed(const CPastId& id) const
{
    return allowed(id);
}

int CBitePastApi::setPAST_start(const CPastId& id) const
{
    return send_state(id, ST_STARTED);
}

int CBitePastApi::reportPastResult(const CPastId& id, ePastResult result) const
{
    return report(id, result == PAST_PASSED);
}

int CBitePastApi::reportPastResult(const CPastId& id, ePastResult result, int info) const
{
    return report(id, result == PAST_PASSED, info);
}

void CBitePastApi::onPastReadyChange(unsigned int count, const config_data_t* records, void* user)
{
    if (const auto* const api = static_cast<const CBitePastApi*>(user); api != nullptr)
        api->ready_changed(count, records);
}

void* bite_pastApiInit(_cbus_conn_t* connection)
{
    return power_man::new_api<CBitePastApi>(connection, "past_api");
}

void bite_pastApiClose(void* handle)
{
    // The ready flag may still be followed for it.
    if (handle != nullptr)
        config_change_deregister(past_kind.ready_key, CBitePastApi::onPastReadyChange, handle);
    delete static_cast<CBitePastApi*>(handle);
}

int bite_isPastReady(void)
{
    return power_man::flag_is_set(past_kind.ready_key) ? 1 : 0;
}

int bite_registerPastReadyCB(void* handle, void (*callback)(void*))
{
    if (!power_man::has_handle(__func__, handle, "PAST API"))
        return -1;
    return static_cast<CBitePastApi*>(handle)->registerPastReadyCB(callback, handle);
}

int bite_isPastAllowed(void* handle, std::uint32_t test)
{
    const CBitePastApi* const api = api_of<CBitePastApi>(__func__, handle, test, "pastId");
    return api != nullptr && api->isPastAllowed(CPastId(test)) ? 1 : 0;
}

int bite_setPAST_start(void* handle, std::uint32_t test)
{
    const CBitePastApi* const api = api_of<CBitePastApi>(__func__, handle, test, "pastId");
    return api != nullptr ? api->setPAST_start(CPastId(test)) : -1;
}

int bite_PastResult(void* handle, std::uint32_t test, int pass)
{
    const CBitePastApi* const api = api_of<CBitePastApi>(__func__, handle, test, "pastId");
    return api != nullptr ? api->reportPastResult(CPastId(test), result_of(pass)) : -1;
}

int bite_PastResInfo(void* handle, std::uint32_t test, int pass, int info)
{
    const CBitePastApi* const api = api_of<CBitePastApi>(__func__, handle, test, "pastId");
    return api != nullptr ? api->reportPastResult(CPastId(test), result_of(pass), info) : -1;
}
