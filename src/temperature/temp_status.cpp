// SPDX-License-Identifier: MIT
#include "temperature/temp_status.h"

#include <optional>
#include <span>

#include "ap/config.h"
#include "ap/output.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "models/models.h"
#include "temperature/temp_desc.h"

namespace {

namespace key = power_man::key;

using power_man::Limitation;
using power_man::Model;

std::optional<std::int32_t> read(const char* name)
{
    std::int32_t value = 0;
    if (config_read_int(name, &value) != 0)
        return std::nullopt;
    return value;
}

void print_sensor(std::size_t number, std::int32_t temperature, std::int32_t state_temperature)
{
    const temp_sensor_desc_t& sensor = temp_desc[number];
    qv_printf("Temp sensor name : %s\n", sensor.name);
    qv_printf("Temperature      : %i\n", temperature);
    qv_printf("State-Temperature: %i\n", state_temperature);
    qv_printf("State            : %s\n",
              power_man::nearest_name(sensor, temp_mon_rec[number].intv));
}

void print_limits(std::size_t number, bool battery_limits)
{
    const auto interval = static_cast<std::size_t>(temp_mon_rec[number].intv);
    const temp_range_t& alone = temp_desc[number].range_bat[interval];
    const temp_range_t& supplied = temp_desc[number].range_ac[interval];
    if (battery_limits)
        qv_printf("Temp limits (Bat): %i,%i\n", alone.min, alone.max);
    qv_printf("Temp limits (AC) : %i,%i\n", supplied.min, supplied.max);
    qv_printf("\n");
}

// The amplifier reports tenths of a degree. False when the report ends here.
bool print_amplifier(std::size_t number)
{
    const std::optional<std::int32_t> temperature = read(key::hpa_temperature);
    if (!temperature)
        return false;
    print_sensor(number, *temperature / 10, temp_mon_rec[number].temp / 10);
    const std::optional<std::int32_t> state = read(key::hpa_temperature_state);
    if (!state)
        return false;
    const auto alarm = static_cast<std::uint32_t>(*state);
    qv_printf("HPA Temp state   : %s\n",
              alarm < temp_state_text.size() ? temp_state_text[alarm] : "Uknown");
    qv_printf("\n\n");
    return true;
}

void print_limitations(std::span<const Limitation> limitations)
{
    qv_printf("Power management limitation :\n");
    for (const Limitation& limitation : limitations) {
        if (power_man::read_or_zero(limitation.key) != 0)
            qv_printf("%s", limitation.line);
    }
    qv_printf("\n");
}

void print_report(const Model& model)
{
    const power_man::StatusReport& report = model.report;
    const std::optional<std::int32_t> supply = read(key::external_supply);
    if (!supply)
        return;
    const std::optional<std::int32_t> temperature = read(model.sensors[report.sensor].key);
    if (!temperature)
        return;
    qv_printf("Terminal is powered by %s \n", *supply != 0 ? "AC" : "DC");
    qv_printf("\n");
    const std::size_t number = power_man::sensor_number(model, report.sensor);
    print_sensor(number, *temperature, temp_mon_rec[number].temp);
    print_limits(number, report.battery_limits);
    if (report.amplifier != power_man::no_sensor &&
        !print_amplifier(
            power_man::sensor_number(model, static_cast<std::size_t>(report.amplifier))))
        return;
    print_limitations(report.limitations);
}

int temp_status(int argc, char**)
{
    if (argc != 1)
        return SHELL_USAGE;
    if (const Model* const model = power_man::current_model(); model != nullptr)
        print_report(*model);
    return SHELL_OK;
}

} // namespace

const shell_command_t temp_status_command = {
    "/bin",
    "temp_status",
    temp_status,
    4,
    "Shows status of the temperature related power management\n",
    {0, 0}};
