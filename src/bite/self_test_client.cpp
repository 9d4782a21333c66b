// SPDX-License-Identifier: MIT
#include "bite/self_test_client.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>

#include "ap/log.h"
#include "ap/text.h"
#include "base/config_changes.h"

namespace power_man {

bool flag_is_set(const char* key)
{
    std::int32_t value = 0;
    return config_read_int(key, &value) == 0 && value == 1;
}

int SelfTestClient::follow_ready(void (*callback)(void*), void* context,
                                 config_change_callback changed, void* self)
{
    callback_ = callback;
    context_ = context;
    return config_change_register(kind_->ready_key, changed, self);
}

// The first record of the key decides for the batch.
void SelfTestClient::ready_changed(unsigned int count, const config_data_t* records) const
{
    std::optional<bool> ready;
    for_each_change(count, records, [&](const char* key, const std::int32_t* value) {
        if (!ready && std::strcmp(key, kind_->ready_key) == 0)
            ready = value != nullptr && *value == 1;
    });
    if (ready.value_or(false) && callback_ != nullptr)
        callback_(context_);
}

bool SelfTestClient::allowed(const CEventId& id) const
{
    std::array<char, 40> key; // the longest has 31 characters
    qv_snprintf(key.data(), key.size(), "ram.%s.id.%u.enable", kind_->word, id.packed());
    std::int32_t enabled = 0;
    const int result = config_read_int(key.data(), &enabled);
    if (result == 0 && enabled == 1) {
        send_state(id, ST_READY);
        return true;
    }
    qv_slog(5,
            "%s not allowed ID: Module=%d, Module ID=%d, Test ID=%d. %sEnabled, Config %sOK(%d)\n",
            kind_->name, static_cast<int>(id.moduleNumber()), static_cast<int>(id.moduleIdNumber()),
            static_cast<int>(id.testId()), enabled == 1 ? "" : "Not ", result == 0 ? "" : "NOT ",
            result);
    return false;
}

int SelfTestClient::send_state(const CEventId& id, eSelfTestState state) const
{
    return sendText(kind_->state_signal, "id.%u.%s.state=%d", id.packed(), kind_->word,
                    static_cast<int>(state));
}

int SelfTestClient::report(const CEventId& id, bool passed) const
{
    return send_state(id, passed ? ST_PASSED : ST_FAILED);
}

int SelfTestClient::report(const CEventId& id, bool passed, int info) const
{
    report(id, passed);
    return sendText(kind_->info_signal, "id.%u.%s.info=%d", id.packed(), kind_->word, info);
}

} // namespace power_man
