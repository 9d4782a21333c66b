// SPDX-License-Identifier: MIT
#include "core/pwr_mgr_main.h"

#include "ap/config.h"
#include "ap/log.h"
#include "ap/shell.h"
#include "ap/supervision.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "core/config_defaults.h"
#include "core/config_dispatch.h"
#include "core/late_model.h"
#include "event_handler/event_client.h"
#include "insight/insight.h"
#include "post/self_test.h"
#include "temperature/temp_events.h"
#include "temperature/temp_sensors.h"
#include "temperature/temp_status.h"
#include "usb/isdn_power.h"
#include "usb/usb_fault_handler.h"
#include "usb/usb_power.h"

PwrMgrPoe* pwr_mgr_poe = nullptr;
PwrMgrPhone* pwr_mgr_phone = nullptr;
CBitePostApi post_api;

namespace {

namespace key = power_man::key;

constexpr const char* bus_name = "pwr_man.";

[[maybe_unused]] const int temp_status_added = shell_command_add_sorted(&temp_status_command);

void connect()
{
    cbus_conn = cbus_conn_create(main_fdloop, bus_name);
    if (cbus_conn == nullptr)
        qv_panic("Could not connect to cbus!");
    cbus_provide(cbus_conn, bus_name);
    cbus_filter(cbus_conn, bus_name);
    config_init_cbus(cbus_conn, 0);
    config_user_settings("cfg");
}

void start_supervision()
{
    appmgr_alive_fdloop_register(main_fdloop);
    power_man::set_dead_time();
    appmgr_signal();
}

void register_events()
{
    setEventConnection(cbus_conn);
    registerEventDefinition(power_man::temperature_event_definitions.data(),
                            power_man::temperature_event_definitions.size());
    registerEventDefinition(&usb_event_definition, 1);
}

} // namespace

void pwr_mgr_init()
{
    if (power_man::tracing())
        qv_slogd("pwr_man_init\n");
    connect();
    start_supervision();
    pwr_mgr_poe->init(cbus_conn);
    pwr_mgr_phone->init();
    register_events();
    pwr_man_create_config_default();
    pwr_mgr_register_to_config_changes();
    init_temp_mon_rec();
    power_man::insight::start({pwr_mgr_poe, pwr_mgr_phone});
    select_temp_sensors();
    pwr_mgr_apply_initial_config();
    post_api = CBitePostApi();
    post_api.init(cbus_conn);
    power_man::set_self_test_context({&post_api, pwr_mgr_phone, pwr_mgr_config_changed_cb});
    post_api.registerPostReadyCB(bite_ready_cb, nullptr);
    power_man::follow_platform_id();
}

void pwr_mgr_register_to_config_changes()
{
    pwr_mgr_poe->registerConfigChangesBeforePrimPsuSwUpdate();
    pwr_mgr_phone->registerForConfigChanges();
    for (const char* const name : {key::usb_enabled, key::usb_extended, key::isdn_enabled})
        config_change_register(name, pwr_mgr_config_changed_cb, nullptr);
}

void pwr_mgr_apply_initial_config()
{
    std::int32_t value = 0;
    pwr_mgr_phone->applyInitialConfig();
    if (config_read_int(key::usb_enabled, &value) == 0)
        apply_usb_config(0);
    if (config_read_int(key::isdn_enabled, &value) == 0)
        set_isdn_power(value);
    if (config_read_int(key::usb_extended, &value) == 0)
        config_write_int(key::usb_extended_status, value);
}
