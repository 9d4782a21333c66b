// SPDX-License-Identifier: MIT
#pragma once

#include "ap/config.h"
#include "bite/bite_ids.h"
#include "bite/self_test_client.h"

// Client for power-on self-tests (POST). For each test: isPostAllowed(), and when it is,
// setPOST_start(), the test, reportPostResult(). Nothing enforces that order, nothing blocks, and
// what the handler wants is read from the configuration database at each call. The functions
// that send return 0 or the bus's error. A copy uses the same connection and callback.
class CBitePostApi : public power_man::SelfTestClient {
public:
    enum ePostResult : int { POST_PASSED = 0, POST_FAILED = 1 }; // anything but 0 failed

    CBitePostApi();
    CBitePostApi(const CBitePostApi&) = default;
    CBitePostApi& operator=(const CBitePostApi&) = default;
    ~CBitePostApi() override;

    // True while the handler takes reports.
    virtual bool isPostReady() const;

    // Calls `callback` each time the handler becomes ready, from the loop. The registration is
    // never withdrawn: the object must stay where it is. Another callback takes the place of the
    // first. Returns the result of the registration.
    virtual int registerPostReadyCB(void (*callback)(void*), void* context);

    // True when the handler asks for the extended tests.
    virtual bool isPostExtended() const;

    // True, and the handler is told READY, when the test is enabled; a notice says why not.
    virtual bool isPostAllowed(const CPostId& id) const;

    virtual int setPOST_start(const CPostId& id) const;
    virtual int reportPostResult(const CPostId& id, ePostResult result) const;

    // The result of the second of two sends: both are made.
    virtual int reportPostResult(const CPostId& id, ePostResult result, int info) const;

    // Change callback of the ready flag; `user` is the object.
    static void onPostReadyChange(unsigned int count, const config_data_t* records, void* user);
};
