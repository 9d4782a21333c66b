// SPDX-License-Identifier: MIT
// Where the terminal's temperatures come from.
#pragma once

#include <string_view>

#include "ap/config.h"

// Every sensor back to its initial interval and temperature.
void init_temp_mon_rec();

// Follows the terminal's temperature keys and evaluates their present values once. Also asks
// the PSU MCU to publish the external supply, which every evaluation needs. A platform id that
// no model has, and none at all, is an alert.
void select_temp_sensors();

// Evaluates changed temperatures, amplifier states and supply, in the order of the records.
void temperature_change_cb(unsigned int nbr_of_rec, const config_data_t* data, void* user);

// Timer callback: copies the amplifier's temperature and state, and the readings that the model
// names, from the platform's keys to the status keys, and adds itself again.
int platform_temp_copy_cb(void* user);

namespace power_man {

struct Model;

inline constexpr unsigned int temp_copy_period_ms = 5000;

// Starts the copying where the protected model has an amplifier. To be called once for a model.
void start_temp_copy();

// Evaluates the present values of the model's readings, in the order of its sources.
void evaluate_readings(const Model& model);

// The alert about a platform id without a model, or about none at all.
void report_no_model(std::string_view id);

} // namespace power_man
