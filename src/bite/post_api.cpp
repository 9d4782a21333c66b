// SPDX-License-Identifier: MIT
#include "bite/post_api.h"

#include <new>

#include "base/terminal.h"
#include "bite/bite_api.h"
#include "bite/self_test_client.h"

using power_man::post_kind;

namespace {

constexpr const char* extended_key = "ram.post.hnd.extended";

CBitePostApi::ePostResult result_of(int pass)
{
    return pass == 1 ? CBitePostApi::POST_PASSED : CBitePostApi::POST_FAILED;
}

// The object behind a handle; null, and an error, when the function is to do nothing.
CBitePostApi* api_of(const char* function, void* handle)
{
    return power_man::has_handle(function, handle, "POST API") ? static_cast<CBitePostApi*>(handle)
                                                               : nullptr;
}

CBitePostApi* api_of(const char* function, void* handle, std::uint32_t id)
{
    return power_man::has_handle_and_id(function, handle, id, "postId")
               ? static_cast<CBitePostApi*>(handle)
               : nullptr;
}

} // namespace

CBitePostApi::CBitePostApi() : callback_(nullptr), context_(nullptr) {}
CBitePostApi::~CBitePostApi() = default;

bool CBitePostApi::isPostReady() const
{
    return power_man::flag_is_set(post_kind.ready_key);
}

int CBitePostApi::registerPostReadyCB(void (*callback)(void*), void* context)
{
    callback_ = callback;
    context_ = context;
    return config_change_register(post_kind.ready_key, onPostReadyChange, this);
}

bool CBitePostApi::isPostExtended() const
{
    return power_man::flag_is_set(extended_key);
}

bool CBitePostApi::isPostAllowed(const CPostId& id) const
{
    return power_man::test_allowed(post_kind, *this, id);
}

int CBitePostApi::setPOST_start(const CPostId& id) const
{
    return power_man::send_test_state(post_kind, *this, id, ST_STARTED);
}

int CBitePostApi::reportPostResult(const CPostId& id, ePostResult result) const
{
    return power_man::send_test_state(post_kind, *this, id,
                                      result == POST_PASSED ? ST_PASSED : ST_FAILED);
}

int CBitePostApi::reportPostResult(const CPostId& id, ePostResult result, int info) const
{
    CBitePostApi::reportPostResult(id, result);
    return power_man::send_test_info(post_kind, *this, id, info);
}

void CBitePostApi::onPostReadyChange(unsigned int count, const config_data_t* records, void* user)
{
    const auto* const api = static_cast<const CBitePostApi*>(user);
    if (count == 0 || api == nullptr)
        return;
    if (power_man::flag_became_set(post_kind.ready_key, count, records) &&
        api->callback_ != nullptr)
        api->callback_(api->context_);
}

void* bite_postApiInit(_cbus_conn_t* connection)
{
    auto* const api = new (std::nothrow) CBitePostApi;
    if (api == nullptr)
        power_man::assertion_failed("post_api");
    api->init(connection);
    return api;
}

void bite_postApiClose(void* handle)
{
    // The ready flag may still be followed for it.
    if (handle != nullptr)
        config_change_deregister(post_kind.ready_key, CBitePostApi::onPostReadyChange, handle);
    delete static_cast<CBitePostApi*>(handle);
}

int bite_isPostReady(void)
{
    return power_man::flag_is_set(post_kind.ready_key) ? 1 : 0;
}

int bite_registerPostReadyCB(void* handle, void (*callback)(void*), void* context)
{
    CBitePostApi* const api = api_of(__func__, handle);
    return api != nullptr ? api->registerPostReadyCB(callback, context) : -1;
}

int bite_isPostExtended(void* handle)
{
    const CBitePostApi* const api = api_of(__func__, handle);
    return api != nullptr && api->isPostExtended() ? 1 : 0;
}

int bite_isPostAllowed(void* handle, std::uint32_t test)
{
    const CBitePostApi* const api = api_of(__func__, handle, test);
    return api != nullptr && api->isPostAllowed(CPostId(test)) ? 1 : 0;
}

int bite_setPOST_start(void* handle, std::uint32_t test)
{
    const CBitePostApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->setPOST_start(CPostId(test)) : -1;
}

int bite_PostResult(void* handle, std::uint32_t test, int pass)
{
    const CBitePostApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->reportPostResult(CPostId(test), result_of(pass)) : -1;
}

int bite_PostResInfo(void* handle, std::uint32_t test, int pass, int info)
{
    const CBitePostApi* const api = api_of(__func__, handle, test);
    return api != nullptr ? api->reportPostResult(CPostId(test), result_of(pass), info) : -1;
}
