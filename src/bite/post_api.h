// SPDX-License-Identifier: MIT
#pragma once

#include "ap/bus.h"
#include "ap/config.h"

// The daemon's client of the built-in test equipment for power-on self-tests. So far it waits
// for the equipment to become ready, and tells so.
class CBitePostApi {
public:
    CBitePostApi() = default;
    CBitePostApi(const CBitePostApi&) = default;
    CBitePostApi& operator=(const CBitePostApi&) = default;
    virtual ~CBitePostApi() = default;

    // The connection stays the caller's.
    virtual void init(_cbus_conn_t* connection);

    // Calls `callback` each time the equipment reports that it is ready. The object must not
    // move afterwards. Returns the result of the registration.
    virtual int registerPostReadyCB(void (*callback)(void*), void* context);

private:
    static void onPostReadyChange(unsigned int count, const config_data_t* records, void* user);

    _cbus_conn_t* connection_ = nullptr;
    void (*callback_)(void*) = nullptr;
    void* context_ = nullptr;
};
