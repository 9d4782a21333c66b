// SPDX-License-Identifier: MIT
#include "bite/post_api.h"

#include <cstdint>

#include "bite/bite_api.h"
#include "bite/c_handle.h"

using power_man::api_of;
using power_man::post_kind;

namespace {

constexpr const char* extended_key = "ram.post.hnd.extended";

CBitePostApi::ePostResult result_of(int pass)
{
    return pass == 1 ? CBitePostApi::POST_PASSED : CBitePostApi::POST_FAILED;
}

} // namespace

CBitePostApi::CBitePostApi() : SelfTestClient(post_kind) {}
CBitePostApi::~CBitePostApi() = default;

bool CBitePostApi::isPostReady() const
{
    return power_man::flag_is_set(post_kind.ready_key);
}

int CBitePostApi::registerPostReadyCB(void (*callback)(void*), void* context)
{
    return follow_ready(callback, context, onPostReadyChange, this);
}

bool CBitePostApi::isPostExtended() const
{
    return power_man::flag_is_set(extended_key);
}

bool CBitePostApi::isPostAllowed(const CPostId& id) const
{
    return allowed(id);
}

int CBitePostApi::setPOST_start(const CPostId& id) const
{
    return send_state(id, ST_STARTED);
}

int CBitePostApi::reportPostResult(const CPostId& id, ePostResult result) const
{
    return report(id, result == POST_PASSED);
}

int CBitePostApi::reportPostResult(const CPostId& id, ePostResult result, int info) const
{
    return report(id, result == POST_PASSED, info);
}

void CBitePostApi::onPostReadyChange(unsigned int count, const config_data_t* records, void* user)
{
    if (const auto* const api = static_cast<const CBitePostApi*>(user); api != nullptr)
        api->ready_changed(count, records);
}

void* bite_postApiInit(_cbus_conn_t* connection)
{
    return power_man::new_api<CBitePostApi>(connection, "post_api");
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
    if (!power_man::has_handle(__func__, handle, "POST API"))
        return -1;
    return static_cast<CBitePostApi*>(handle)->registerPostReadyCB(callback, context);
}

int bite_isPostExtended(void* handle)
{
    if (!power_man::has_handle(__func__, handle, "POST API"))
        return 0;
    return static_cast<const CBitePostApi*>(handle)->isPostExtended() ? 1 : 0;
}

int bite_isPostAllowed(void* handle, std::uint32_t test)
{
    const CBitePostApi* const api = api_of<CBitePostApi>(__func__, handle, test, "postId");
    return api != nullptr && api->isPostAllowed(CPostId(test)) ? 1 : 0;
}

int bite_setPOST_start(void* handle, std::uint32_t test)
{
    const CBitePostApi* const api = api_of<CBitePostApi>(__func__, handle, test, "postId");
    return api != nullptr ? api->setPOST_start(CPostId(test)) : -1;
}

int bite_PostResult(void* handle, std::uint32_t test, int pass)
{
    const CBitePostApi* const api = api_of<CBitePostApi>(__func__, handle, test, "postId");
    return api != nullptr ? api->reportPostResult(CPostId(test), result_of(pass)) : -1;
}

int bite_PostResInfo(void* handle, std::uint32_t test, int pass, int info)
{
    const CBitePostApi* const api = api_of<CBitePostApi>(__func__, handle, test, "postId");
    return api != nullptr ? api->reportPostResult(CPostId(test), result_of(pass), info) : -1;
}
