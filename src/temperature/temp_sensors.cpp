// SPDX-License-Identifier: MIT
#include "temperature/temp_sensors.h"

#include <cstring>
#include <span>

#include "ap/log.h"
#include "ap/loop.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_level.h"

namespace {

namespace key = power_man::key;

constexpr const char* subscribe_external_supply =
    "ram.status.psumcu.events.subscribe.external_supply.pwr_mgr";
constexpr const char* subscribe_temperature_threshold =
    "ram.status.psumcu.events.subscribe.treshold.temperature.pwr_mgr";

// What a key's value means to its sensor.
enum class Reading {
    temperature,
    alarm, // an amplifier's state
    supply // selects the sensor's thresholds: its temperature is evaluated again
};

struct Source {
    const char* key;
    Reading reading;
    int sensor;
    const char* title; // of its trace line
};

struct Copy {
    const char* from;
    const char* to;
};

struct TerminalSources {
    const char* platform;
    const char* subscription; // to be written as 1 before the keys are followed; null: none
    std::span<const Source> sources;
    bool amplifier; // its readings are to be copied
    std::span<const Copy> more_copies;
};

constexpr Source battery_sources[] = {
    {key::battery_temperature, Reading::temperature, power_man::battery, " Battery 1, temperature"},
    {key::external_supply, Reading::supply, power_man::battery, " RAM_STATUS_EXT_SUPPLY changed"},
};
constexpr Source module_and_hpa_sources[] = {
    {key::mainboard_temperature, Reading::temperature, power_man::radio_module,
     " RadioModule, temperature"},
    {key::hpa_temperature_state, Reading::alarm, power_man::hpa, " HPA temperature state changed"},
};
constexpr Source v640_sources[] = {{key::mainboard_temperature, Reading::temperature,
                                    power_man::radio_module_v640, " RadioModule, temperature"}};
constexpr Source v360_sources[] = {{key::mainboard_temperature, Reading::temperature,
                                    power_man::radio_module_v360, " RadioModule, temperature"}};
constexpr Source v150_sources[] = {{key::mainboard_temperature, Reading::temperature,
                                    power_man::radio_module_v150, " RadioModule, temperature"}};
constexpr Source bdu_and_adu_sources[] = {
    {key::mainboard_temperature, Reading::temperature, power_man::radio_module_bdu,
     " RadioModule, temperature"},
    {key::hpa_temperature_state, Reading::alarm, power_man::hpa_adu,
     " HPA temperature state changed"},
};

// The state last: its write is what the amplifier's sensor follows.
constexpr Copy hpa_copies[] = {
    {"rmcfg.platform.hpa.temperature", key::hpa_temperature},
    {"rmcfg.platform.hpa.temperature_state", key::hpa_temperature_state},
};
constexpr Copy acm_copies[] = {
    {"rmcfg.platform.acm.temperature", "ram.status.acm.temperature"},
    {"rmcfg.platform.acm.temperature_state", "ram.status.acm.temperature_state"},
};

const std::array<TerminalSources, 6> terminals = {{
    {"qv1101A", subscribe_temperature_threshold, battery_sources, false, {}},
    {"qv1202B", nullptr, module_and_hpa_sources, true, {}},
    {"qv1305A", nullptr, v640_sources, false, {}},
    {"qv1403A", nullptr, v360_sources, false, {}},
    {"qv2500A", nullptr, v150_sources, false, {}},
    {"qv1608B", nullptr, bdu_and_adu_sources, true, acm_copies},
}};

// Evaluates a sensor with the value that its key has now; not at all when there is none.
void evaluate_present(const Source& source, const char* name)
{
    std::int32_t value = 0;
    if (config_read_int(name, &value) != 0)
        return;
    if (source.reading == Reading::alarm)
        temp_action(source.sensor, value, 0);
    else
        temp_action(source.sensor, 0, value);
}

void evaluate_change(const Source& source, std::int32_t value)
{
    if (power_man::tracing())
        qv_slogd(source.reading == Reading::supply ? "%s, %d\n" : "%s=%d\n", source.title, value);
    switch (source.reading) {
    case Reading::temperature:
        temp_action(source.sensor, 0, value);
        break;
    case Reading::alarm:
        temp_action(source.sensor, value, 0);
        break;
    case Reading::supply:
        evaluate_present(source, temp_desc[static_cast<std::size_t>(source.sensor)].key);
        break;
    }
}

void copy_readings(std::span<const Copy> copies)
{
    for (const Copy& copy : copies) {
        std::int32_t value = 0;
        if (config_read_int(copy.from, &value) == 0)
            config_write_int(copy.to, value);
    }
}

const Source* find_source(const TerminalSources& terminal, const char* name)
{
    for (const Source& source : terminal.sources) {
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
    const TerminalSources* const terminal = power_man::find_platform_row(terminals);
    if (terminal == nullptr)
        return;
    if (terminal->subscription != nullptr)
        config_write_int(terminal->subscription, 1);
    for (const Source& source : terminal->sources)
        config_change_register(source.key, temperature_change_cb, nullptr);
    for (const Source& source : terminal->sources) {
        if (source.reading != Reading::supply)
            evaluate_present(source, source.key);
    }
}

void temperature_change_cb(unsigned int nbr_of_rec, const config_data_t* data, void*)
{
    if (nbr_of_rec == 0)
        return;
    if (power_man::tracing())
        qv_slogd("temperature_change_cb, nbr_of_rec=%d, %s\n", static_cast<int>(nbr_of_rec),
                 data[0].key);
    const TerminalSources* const terminal = power_man::find_platform_row(terminals);
    if (terminal == nullptr)
        return;
    for (const config_data_t& record : std::span(data, nbr_of_rec)) {
        const Source* const source = find_source(*terminal, record.key);
        if (source != nullptr && record.data != nullptr)
            evaluate_change(*source, *static_cast<const std::int32_t*>(record.data));
        else if (power_man::tracing())
            qv_slogd("Unknown string, %s = ***\n", record.key);
    }
}

int platform_temp_copy_cb(void*)
{
    copy_readings(hpa_copies);
    if (const TerminalSources* const terminal = power_man::find_platform_row(terminals);
        terminal != nullptr)
        copy_readings(terminal->more_copies);
    fdloop_timer_add(main_fdloop, power_man::temp_copy_period_ms, platform_temp_copy_cb, nullptr);
    return 0;
}

namespace power_man {

bool has_temp_copy()
{
    const TerminalSources* const terminal = find_platform_row(terminals);
    return terminal != nullptr && terminal->amplifier;
}

} // namespace power_man
