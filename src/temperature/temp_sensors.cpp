// SPDX-License-Identifier: MIT
#include "temperature/temp_sensors.h"

#include <cstring>
#include <span>
#include <string_view>

#include "ap/log.h"
#include "ap/loop.h"
#include "base/config_changes.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "models/models.h"
#include "temperature/protection.h"
#include "temperature/readings.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_level.h"

namespace {

namespace key = power_man::key;

using power_man::Copy;
using power_man::Model;
using power_man::Reading;
using power_man::Source;

constexpr const char* subscribe_external_supply =
    "ram.status.psumcu.events.subscribe.external_supply.pwr_mgr";

// The state last: its write is what the amplifier's sensor follows.
constexpr Copy amplifier_copies[] = {
    {"rmcfg.platform.hpa.temperature", key::hpa_temperature},
    {key::platform_hpa_state, key::hpa_temperature_state},
};

int number_of(const Model& model, const Source& source)
{
    return static_cast<int>(power_man::sensor_number(model, source.sensor));
}

void evaluate(Reading reading, int sensor, std::int32_t value)
{
    if (reading == Reading::alarm)
        temp_action(sensor, value, 0);
    else
        temp_action(sensor, 0, value);
}

// Evaluates a sensor with the value that a key has now; not at all when there is none.
void evaluate_present(Reading reading, int sensor, const char* name)
{
    std::int32_t value = 0;
    if (config_read_int(name, &value) == 0)
        evaluate(reading, sensor, value);
}

void evaluate_change(const Model& model, const Source& source, std::int32_t value)
{
    if (power_man::tracing())
        qv_slogd(source.reading == Reading::supply ? "%s, %d\n" : "%s=%d\n", source.title, value);
    const int sensor = number_of(model, source);
    if (source.reading == Reading::supply)
        evaluate_present(Reading::temperature, sensor, model.sensors[source.sensor].key);
    else
        evaluate(source.reading, sensor, value);
}

void copy_readings(std::span<const Copy> copies)
{
    for (const Copy& copy : copies) {
        std::int32_t value = 0;
        const bool present = config_read_int(copy.from, &value) == 0;
        power_man::note_reading(copy.from, present);
        if (present)
            config_write_int(copy.to, value);
    }
}

const Source* find_source(const Model& model, const char* name)
{
    for (const Source& source : model.sources) {
        if (std::strcmp(source.key, name) == 0)
            return &source;
    }
    return nullptr;
}

} // namespace

void init_temp_mon_rec()
{
    for (std::size_t i = 0; i < temp_desc.size(); ++i) {
        temp_mon_rec[i].intv = temp_desc[i].init_intv;
        temp_mon_rec[i].temp = temp_desc[i].init_temp;
    }
}

void select_temp_sensors()
{
    config_write_int(subscribe_external_supply, 1);
    const std::string_view id = pwr_mgr_get_platform_id();
    const Model* const model = power_man::find_model(id);
    if (model == nullptr) {
        power_man::report_no_model(id);
        power_man::begin_protection(nullptr);
        return;
    }
    if (model->subscription != nullptr)
        config_write_int(model->subscription, 1);
    for (const Source& source : model->sources)
        config_change_register(source.key, temperature_change_cb, nullptr);
    power_man::evaluate_readings(*model);
    power_man::begin_protection(model);
}

void temperature_change_cb(unsigned int nbr_of_rec, const config_data_t* data, void*)
{
    if (nbr_of_rec == 0)
        return;
    if (power_man::tracing())
        qv_slogd("temperature_change_cb, nbr_of_rec=%d, %s\n", static_cast<int>(nbr_of_rec),
                 data[0].key);
    const Model* const model = power_man::current_model();
    if (model == nullptr)
        return;
    power_man::for_each_change(nbr_of_rec, data,
                               [model](const char* name, const std::int32_t* value) {
                                   const Source* const source = find_source(*model, name);
                                   if (source != nullptr && value != nullptr)
                                       evaluate_change(*model, *source, *value);
                                   else if (power_man::tracing())
                                       qv_slogd("Unknown string, %s = ***\n", name);
                               });
}

int platform_temp_copy_cb(void*)
{
    copy_readings(amplifier_copies);
    if (const Model* const model = power_man::current_model(); model != nullptr)
        copy_readings(model->copies);
    power_man::update_status();
    fdloop_timer_add(main_fdloop, power_man::temp_copy_period_ms, platform_temp_copy_cb, nullptr);
    return 0;
}

namespace power_man {

void start_temp_copy()
{
    const Model* const model = protected_model();
    if (model != nullptr && has_amplifier(*model))
        fdloop_timer_add(main_fdloop, temp_copy_period_ms, platform_temp_copy_cb, nullptr);
}

void evaluate_readings(const Model& model)
{
    for (const Source& source : model.sources) {
        if (source.reading != Reading::supply)
            evaluate_present(source.reading, number_of(model, source), source.key);
    }
}

void report_no_model(std::string_view id)
{
    constexpr const char* consequence = "the terminal is NOT protected from heat";
    if (id.empty()) {
        qv_slog(1, "No platform id can be read from %s; %s\n", key::platform_id, consequence);
        return;
    }
    qv_slog(1, "No such model: %s; %s\n", printable(id).c_str(), consequence);
}

} // namespace power_man
