// SPDX-License-Identifier: MIT
#include "bite/self_test_client.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "ap/log.h"
#include "ap/text.h"

namespace power_man {
namespace {

using Text = std::array<char, 40>; // keys and payloads: the longest has 35 characters

int send(const CBiteHndApi& api, const char* signal, const Text& payload)
{
    const std::size_t length = std::strlen(payload.data()) + 1;
    return api.sendMsg(signal, payload.data(), static_cast<unsigned int>(length));
}

} // namespace

bool flag_is_set(const char* key)
{
    std::int32_t value = 0;
    return config_read_int(key, &value) == 0 && value == 1;
}

bool flag_became_set(const char* key, unsigned int count, const config_data_t* records)
{
    for (const config_data_t& record : std::span(records, count)) {
        if (std::strcmp(record.key, key) == 0)
            return record.data != nullptr && *static_cast<const std::int32_t*>(record.data) == 1;
    }
    return false;
}

bool test_allowed(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id)
{
    Text key;
    qv_snprintf(key.data(), key.size(), "ram.%s.id.%u.enable", kind.word, id.packed());
    std::int32_t enabled = 0;
    const int result = config_read_int(key.data(), &enabled);
    if (result == 0 && enabled == 1) {
        send_test_state(kind, api, id, CBite::ST_READY);
        return true;
    }
    qv_slog(5,
            "%s not allowed ID: Module=%d, Module ID=%d, Test ID=%d. %sEnabled, Config %sOK(%d)\n",
            kind.name, static_cast<int>(id.moduleNumber()), static_cast<int>(id.moduleIdNumber()),
            static_cast<int>(id.testId()), enabled == 1 ? "" : "Not ", result == 0 ? "" : "NOT ",
            result);
    return false;
}

int send_test_state(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id,
                    CBite::eSelfTestState state)
{
    Text payload;
    qv_snprintf(payload.data(), payload.size(), "id.%u.%s.state=%d", id.packed(), kind.word,
                static_cast<int>(state));
    return send(api, kind.state_signal, payload);
}

int send_test_info(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id, int info)
{
    Text payload;
    qv_snprintf(payload.data(), payload.size(), "id.%u.%s.info=%d", id.packed(), kind.word, info);
    return send(api, kind.info_signal, payload);
}

bool has_handle(const char* function, const void* handle, const char* needed)
{
    if (handle == nullptr)
        qv_slog(3, "%s: Handle is NULL - no initialized %s\n", function, needed);
    return handle != nullptr;
}

bool has_handle_and_id(const char* function, const void* handle, unsigned int id,
                       const char* needed)
{
    const bool usable = handle != nullptr && id != 0;
    if (!usable)
        qv_slog(3, "%s: Handle or %s is NULL - (%p/%d)\n", function, needed, handle,
                static_cast<int>(id));
    return usable;
}

} // namespace power_man
