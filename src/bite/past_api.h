// SPDX-License-Identifier: MIT
#pragma once

#include "ap/config.h"
#include "bite/bite_ids.h"
#include "bite/self_test_client.h"

// Client for periodic self-tests (PAST), used as CBitePostApi is; there is no extended test.
class CBitePastApi : public power_man::SelfTestClient {
public:
    enum ePastResult : int { PAST_PASSED = 0, PAST_FAILED = 1 }; // anything but 0 failed

    CBitePastApi();
    CBitePastApi(const CBitePastApi&) = default;
    CBitePastApi& operator=(const CBitePastApi&) = default;
    ~CBitePastApi() override;

    bool isPastReady() const;
    int registerPastReadyCB(void (*callback)(void*), void* context);
    bool isPastAllowed(const CPastId& id) const;
    int setPAST_start(const CPastId& id) const;
    int reportPastResult(const CPastId& id, ePastResult result) const;
    int reportPastResult(const CPastId& id, ePastResult result, int info) const;

    static void onPastReadyChange(unsigned int count, const config_data_t* records, void* user);
};
