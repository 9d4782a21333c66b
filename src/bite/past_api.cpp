// SPDX-License-Identifier: MIT
#include "bite/past_api.h"

#include <new>

#include "ap/log.h"
#include "base/terminal.h"
#include "bite/bite_api.h"
#include "bite/self_test_client.h"

using power_man::past_kind;

namespace {

CBitePastApi::ePastResult result_of(int pass)
{
    return pass == 1 ? CBitePastApi::PAST_PASSED : CBitePastApi::PAST_FAILED;
}

// The object behind a handle; null, and an error, when the function is to do nothing.
CBitePastApi* api_of(const char* function, void* handle, std::uint32_t id)
{
    return power_man::has_handle_and_id(function, handle, id, "pastId")
               ? static_cast<CBitePastApi*>(handle)
               : nullptr;
}

} // namespace

CBitePastApi::CBitePastApi() : callback_(nullptr), context_(nullptr) {}
CBitePastApi::~CBitePastApi() = default;

bool CBitePastApi::isPastReady() const
{
    return power_man::flag_is_set(past_kind.ready_key);
}

int CBitePastApi::registerPastReadyCB(void (*callback)(void*), void* context)
{
    qv_slog(7, "registerPastReadyCB");
    callback_ = callback;
    context_ = context;
    return config_change_register(past_kind.ready_key, onPastReadyChange, this);
}

bool CBitePastApi::isPastAllowed(const CPastId& id) const
{
    return power_man::test_allowed(past_kind, *this, id);
}

int CBitePastApi::setPAST_start(const CPastId& id) const
{
    return power_man::send_test_state(past_kind, *this, id, ST_STARTED);
}

int CBitePastApi::reportPastResult(const CPastId& id, ePastResult result) const
{
    return power_man::send_test_state(past_kind, *this, id,
                                      result == PAST_PASSED ? ST_PASSED : ST_FAILED);
}

int CBitePastApi::reportPastResult(const CPastId& id, ePastResult result, int info) const
{
    reportPastResult(id, result);
    return power_man::send_test_info(past_kind, *this, id, info);
}

void CBitePastApi::onPastReadyChange(unsigned int count, const config_data_t* records, void* user)
{
    const auto* const api = static_cast<const CBitePastApi*>(user);
    if (count == 0 || api == nullptr)
        return;
    if (power_man::flag_became_set(past_kind.ready_key, count, records) &&
        api->callback_ != nullptr)
        api->callback_(api->context_);
}

void* bite_pastApiInit(_cbus_conn_t* connection)
{
    auto* const api = new (std::nothrow) CBitePastApi;
    if (api == nullptr)
        power_man::assertion_failed("past_api");
    api->init(connection);
    return api;
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
    const CBitePastApi* const api = api_of(__func__, handle, test);
    return api != nullptr && api->isPastAllowed(CPastId(test)) ? 1 : 0;
}

int bite_setPAST_start(void* handle, std::uint32_t test)
{
    const CBitePastApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->setPAST_start(CPastId(test)) : -1;
}

int bite_PastResult(void* handle, std::uint32_t test, int pass)
{
    const CBitePastApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->reportPastResult(CPastId(test), result_of(pass)) : -1;
}

int bite_PastResInfo(void* handle, std::uint32_t test, int pass, int info)
{
    const CBitePastApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->reportPastResult(CPastId(test), result_of(pass), info) : -1;
}
