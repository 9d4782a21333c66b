// SPDX-License-Identifier: MIT
#include "core/late_model.h"

#include <array>
#include <string>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/loop.h"
#include "ap/supervision.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "core/pwr_mgr_main.h"
#include "insight/insight.h"
#include "models/models.h"
#include "post/self_test.h"
#include "temperature/protection.h"
#include "temperature/temp_sensors.h"
#include "usb/usb_power.h"

namespace power_man {
namespace {

std::string reported; // the last id of no use

// Quietly, and as it is now; empty when it cannot be read.
std::string present_id()
{
    std::array<char, longest_platform_id + 1> id{};
    return config_read_string(key::platform_id, id.data(), id.size()) == 0 ? id.data() : "";
}

// In the order of pwr_mgr_init(): all that asks for the model. Phones and ISDN are the same on
// every terminal, and a call may be going on.
void start_over(const Model& model)
{
    qv_slog(5, "The terminal is a %s: starting over as such\n", model.id);
    pwr_mgr_reset_platform_id();
    set_dead_time();
    init_temp_mon_rec();
    insight::start_over();
    select_temp_sensors();
    std::int32_t value = 0;
    if (config_read_int(key::usb_enabled, &value) == 0)
        apply_usb_config(0);
    pwr_mgr_poe->switchAgain();
    start_temp_copy();
    if (post_api.isPostReady()) // then the tests have failed, or were left out
        bite_ready_cb(nullptr);
}

void look_at_platform_id()
{
    const std::string id = present_id();
    const Model* const now = protected_model();
    const Model* const wanted = find_model(id);
    if (id.empty() || (now != nullptr && now == wanted))
        return;
    if (now == nullptr && wanted != nullptr) {
        start_over(*wanted);
        return;
    }
    if (reported == id)
        return;
    reported = id;
    if (now != nullptr) {
        qv_slog(4, "%s has changed: the terminal stays a %s until the daemon is started again\n",
                key::platform_id, now->id);
        return;
    }
    pwr_mgr_reset_platform_id();
    report_no_model(pwr_mgr_get_platform_id());
    update_status();
}

void platform_id_changed(unsigned int, const config_data_t*, void*)
{
    look_at_platform_id();
}

int look_once(void*)
{
    look_at_platform_id();
    return 0;
}

} // namespace

void set_dead_time()
{
    const Model* const model = current_model();
    if (model != nullptr && model->dead_time_ms != 0)
        appmgr_set_dead_time(model->dead_time_ms);
}

void follow_platform_id()
{
    reported = present_id();
    config_change_register(key::platform_id, platform_id_changed, nullptr);
    // What was written after the start has read it and before now is reported to nobody.
    fdloop_timer_add(main_fdloop, 0, look_once, nullptr);
}

} // namespace power_man
