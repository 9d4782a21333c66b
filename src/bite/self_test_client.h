// SPDX-License-Identifier: MIT
// What the clients for power-on and for periodic self-tests have in common: everything but the
// words in their keys, signals and messages.
#pragma once

#include "ap/config.h"
#include "bite/bite_ids.h"
#include "bite/hnd_api.h"

namespace power_man {

struct SelfTestKind {
    const char* name;         // in messages
    const char* word;         // in payloads and in keys of single tests
    const char* ready_key;    // 1 while the handler takes reports
    const char* state_signal; // "id.N.WORD.state=S"
    const char* info_signal;  // "id.N.WORD.info=I"
};

inline constexpr SelfTestKind post_kind = {"POST", "post", "ram.post.hnd.ready", "bite.post.state",
                                           "bite.post.info"};
inline constexpr SelfTestKind past_kind = {"PAST", "past", "ram.past.hnd.ready", "bite.past.state",
                                           "bite.past.info"};

// True when that key reads as 1.
bool flag_is_set(const char* key);

class SelfTestClient : public CBiteHndApi {
protected:
    explicit SelfTestClient(const SelfTestKind& kind) : kind_(&kind) {}

    // Calls `callback` each time the handler becomes ready. `changed` is a change callback that
    // hands its records for `self` to ready_changed(). The result of the registration.
    int follow_ready(void (*callback)(void*), void* context, config_change_callback changed,
                     void* self);
    void ready_changed(unsigned int count, const config_data_t* records) const;

    // True, and READY is sent, when the handler has enabled the test; otherwise a notice says why.
    bool allowed(const CEventId& id) const;

    // The results are those of the send; with an info, of the second of two.
    int send_state(const CEventId& id, eSelfTestState state) const;
    int report(const CEventId& id, bool passed) const;
    int report(const CEventId& id, bool passed, int info) const;

private:
    const SelfTestKind* kind_;
    void (*callback_)(void*) = nullptr;
    void* context_ = nullptr;
};

} // namespace power_man
