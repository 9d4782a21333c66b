// SPDX-License-Identifier: MIT
// The daemon's power-on self-tests, which it reports to the terminal's BITE handler.
#pragma once

#include "ap/config.h"
#include "bite/post_api.h"
#include "phone/pwr_mgr_phone.h"

namespace power_man {

// What the tests need of the core. Everything must outlive the loop.
struct SelfTestContext {
    CBitePostApi* post_api;
    PwrMgrPhone* phone;

    // Called for the changes of a temperature key that a result waits for; is to call
    // set_temperature_post_result() with the new value.
    config_change_callback temperature_changed;
};

// To be called before everything below.
void set_self_test_context(const SelfTestContext& context);

// True for the keys that SelfTestContext::temperature_changed is called for on any model.
bool decides_temperature_test(const char* key);

} // namespace power_man

// Runs the tests of this terminal one after the other, if the handler is ready, and reports their
// results: to be called each time it becomes ready. `context` is not used. The result of the
// temperature test follows later when its temperature cannot be read yet.
void bite_ready_cb(void* context);

// Starts a test if the handler allows it. Returns its packed identifier, by which a result is to
// be reported in either case.
unsigned int pwr_man_POST(unsigned int test_id);

// Decides and reports the temperature test. `status` is that of the battery, where the terminal
// has one: 0 is good. Other terminals do not look at it.
void set_temperature_post_result(int status);
