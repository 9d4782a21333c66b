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

// True when the first record of the key in a batch of changes sets it to 1.
bool flag_became_set(const char* key, unsigned int count, const config_data_t* records);

// True, and READY is sent, when the handler has enabled the test; otherwise a notice says why.
bool test_allowed(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id);

// Both return the result of the send.
int send_test_state(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id,
                    CBite::eSelfTestState state);
int send_test_info(const SelfTestKind& kind, const CBiteHndApi& api, const CEventId& id, int info);

// Guards of the functions for C: false, and an error, for a null handle or identifier 0.
// `needed` is what the caller lacks, e.g. "postId" or "POST API".
bool has_handle(const char* function, const void* handle, const char* needed);
bool has_handle_and_id(const char* function, const void* handle, unsigned int id,
                       const char* needed);

} // namespace power_man
