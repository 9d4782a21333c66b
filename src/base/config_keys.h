// SPDX-License-Identifier: MIT
// Keys of the configuration database that more than one part of the daemon uses.
#pragma once

namespace power_man::key {

inline constexpr const char* platform_id = "ram.platform.id";

inline constexpr const char* external_supply = "ram.status.psumcu.events.external_supply";
inline constexpr const char* battery_status = "ram.status.battery.1.status";
inline constexpr const char* battery_temperature = "ram.status.battery.1.temperature";
inline constexpr const char* mainboard_temperature = "rmcfg.sys.mainboard.temperature";
inline constexpr const char* platform_hpa_state = "rmcfg.platform.hpa.temperature_state";
inline constexpr const char* hpa_temperature = "ram.status.hpa.temperature";
inline constexpr const char* hpa_temperature_state = "ram.status.hpa.temperature_state";

inline constexpr const char* usb_capability = "ram.platform.capabilities.usb";
inline constexpr const char* usb_enabled = "cfg.interfaces.usb.enabled";
inline constexpr const char* usb_extended = "cfg.interfaces.usb.extended_host_interface";
inline constexpr const char* usb_status = "ram.status.interfaces.usb.enabled";
inline constexpr const char* usb_extended_status =
    "ram.status.interfaces.usb.extended_host_interface";
inline constexpr const char* isdn_enabled = "cfg.interfaces.isdn.enabled";
inline constexpr const char* isdn_status = "ram.status.interfaces.isdn.enabled";

inline constexpr const char* usb_held = "ram.status.power_management.usb.pwr_controlled";
inline constexpr const char* usb_extended_held =
    "ram.status.power_management.usb.extended.pwr_controlled";
inline constexpr const char* close_connections = "ram.status.power_management.close_connections";
inline constexpr const char* poe_held = "ram.status.power_management.lan.poe.pwr_controlled";
inline constexpr const char* limit_background = "ram.status.power_management.limit_background";
inline constexpr const char* power_off = "ram.status.power_management.power_off";

} // namespace power_man::key
