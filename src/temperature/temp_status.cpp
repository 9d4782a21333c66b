// SPDX-License-Identifier: MIT
#include "temperature/temp_status.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "ap/config.h"
#include "ap/output.h"
#include "base/config_values.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "poe/pwr_mgr_poe.h"
#include "temperature/temp_desc.h"

namespace {

namespace key = power_man::key;

constexpr int no_amplifier = -1;

// A line that is printed while its key is not 0.
struct Limitation {
    const char* key;
    const char* line;
};

constexpr Limitation usb_off = {key::usb_held, "   USB - Off\n"};
constexpr Limitation usb = {key::usb_held, "   USB\n"};
constexpr Limitation usb_extended_off = {key::usb_extended_held, "   USB extern host - Off\n"};
constexpr Limitation usb_extended = {key::usb_extended_held, "   USB extern host\n"};
constexpr Limitation poe = {PwrMgrPoe::RAM_STATUS_PWR_MGR_LAN_POE, "   PoE - Off\n"};
constexpr Limitation background = {key::limit_background, "   Background connections - Limited\n"};
constexpr Limitation connections = {key::close_connections, "   Connections Closed\n"};
constexpr Limitation terminal_off = {key::power_off, "   Power Off terminal\n"};

constexpr std::array battery_limitations = {usb_off,    usb_extended_off, poe,
                                            background, connections,      terminal_off};
constexpr std::array module_limitations = {usb, usb_extended, background, connections,
                                           terminal_off};
constexpr std::array bdu_limitations = {background, connections, terminal_off};
constexpr std::array v150_limitations = {terminal_off};

struct Report {
    const char* platform;
    int sensor;
    bool battery_limits; // print the thresholds without supply too
    int amplifier;       // its sensor, or no_amplifier
    std::span<const Limitation> limitations;
};

const std::array<Report, 6> reports = {{
    {"qv1101A", power_man::battery, true, no_amplifier, battery_limitations},
    {"qv1202B", power_man::radio_module, true, power_man::hpa, module_limitations},
    {"qv1305A", power_man::radio_module_v640, true, no_amplifier, module_limitations},
    {"qv1403A", power_man::radio_module_v360, true, no_amplifier, module_limitations},
    {"qv2500A", power_man::radio_module_v150, true, no_amplifier, v150_limitations},
    {"qv1608B", power_man::radio_module_bdu, false, power_man::hpa_adu, bdu_limitations},
}};

std::optional<std::int32_t> read(const char* name)
{
    std::int32_t value = 0;
    if (config_read_int(name, &value) != 0)
        return std::nullopt;
    return value;
}

// An interval beyond the last one goes by the last one's name.
const char* state_name(const temp_sensor_desc_t& sensor, std::int32_t interval)
{
    const std::int32_t named = std::min(interval, power_man::last_interval(sensor));
    return sensor.intv_name[static_cast<std::size_t>(named)];
}

void print_sensor(int index, std::int32_t temperature, std::int32_t state_temperature)
{
    const temp_sensor_desc_t& sensor = temp_desc[static_cast<std::size_t>(index)];
    const temp_mon_rec_t& record = temp_mon_rec[static_cast<std::size_t>(index)];
    qv_printf("Temp sensor name : %s\n", sensor.name);
    qv_printf("Temperature      : %i\n", temperature);
    qv_printf("State-Temperature: %i\n", state_temperature);
    qv_printf("State            : %s\n", state_name(sensor, record.intv));
}

void print_limits(const Report& report)
{
    const auto index = static_cast<std::size_t>(report.sensor);
    const auto interval = static_cast<std::size_t>(temp_mon_rec[index].intv);
    const temp_range_t& alone = temp_desc[index].range_bat[interval];
    const temp_range_t& supplied = temp_desc[index].range_ac[interval];
    if (report.battery_limits)
        qv_printf("Temp limits (Bat): %i,%i\n", alone.min, alone.max);
    qv_printf("Temp limits (AC) : %i,%i\n", supplied.min, supplied.max);
    qv_printf("\n");
}

// The amplifier reports tenths of a degree. False when the report ends here.
bool print_amplifier(int index)
{
    const std::optional<std::int32_t> temperature = read(key::hpa_temperature);
    if (!temperature)
        return false;
    print_sensor(index, *temperature / 10, temp_mon_rec[static_cast<std::size_t>(index)].temp / 10);
    const std::optional<std::int32_t> state = read(key::hpa_temperature_state);
    if (!state)
        return false;
    const auto number = static_cast<std::uint32_t>(*state);
    qv_printf("HPA Temp state   : %s\n",
              number < temp_state_text.size() ? temp_state_text[number] : "Uknown");
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

void print_report(const Report& report)
{
    const std::optional<std::int32_t> supply = read(key::external_supply);
    if (!supply)
        return;
    const auto index = static_cast<std::size_t>(report.sensor);
    const std::optional<std::int32_t> temperature = read(temp_desc[index].key);
    if (!temperature)
        return;
    qv_printf("Terminal is powered by %s \n", *supply != 0 ? "AC" : "DC");
    qv_printf("\n");
    print_sensor(report.sensor, *temperature, temp_mon_rec[index].temp);
    print_limits(report);
    if (report.amplifier != no_amplifier && !print_amplifier(report.amplifier))
        return;
    print_limitations(report.limitations);
}

int temp_status(int argc, char**)
{
    if (argc != 1)
        return SHELL_USAGE;
    if (const Report* const report = power_man::find_platform_row(reports); report != nullptr)
        print_report(*report);
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
