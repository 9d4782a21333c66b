// SPDX-License-Identifier: MIT
// The spine of the daemon: what exists once per process, and the order of the start.
#pragma once

#include "bite/post_api.h"
#include "phone/pwr_mgr_phone.h"
#include "poe/pwr_mgr_poe.h"

// Owned by main(): made before pwr_mgr_init(), deleted after the loop.
extern PwrMgrPoe* pwr_mgr_poe;
extern PwrMgrPhone* pwr_mgr_phone;

// Lives from before main() to the end of the process.
extern CBitePostApi post_api;

// Connects to the bus and the database, starts every part and registers its callbacks. Needs
// `main_fdloop` and both managers; ends the process when there is no bus.
void pwr_mgr_init();

// Its two steps that deal with the interfaces: to follow their settings, and to apply them once.
void pwr_mgr_register_to_config_changes();
void pwr_mgr_apply_initial_config();
