// SPDX-License-Identifier: MIT
#include "post/self_test.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdint>

#include "ap/device.h"
#include "ap/log.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "base/device_file.h"
#include "base/terminal.h"
#include "gpio/gpio_pin.h"
#include "poe/pwr_mgr_poe.h"

namespace {

namespace key = power_man::key;

using power_man::DeviceFile;
using power_man::find_platform_row;
using power_man::tracing;

constexpr unsigned int module = 0x40000000;
constexpr unsigned int module_id = 0x00100000;

constexpr unsigned int temperature_test = 0x4013840C;

constexpr const char* isdn_power_path = "/sys/devices/platform/fpga.0/control/isdnpwr";
constexpr const char* over_current_path = "/sys/class/gpio/gpio81/value";

power_man::SelfTestContext self_test_context{};

const power_man::SelfTestContext& context()
{
    if (self_test_context.post_api == nullptr)
        power_man::assertion_failed("self_test");
    return self_test_context;
}

enum class Outcome { passed, failed, open }; // open: no result now, perhaps later

Outcome passed_if(bool good)
{
    return good ? Outcome::passed : Outcome::failed;
}

Outcome test_isdn_power()
{
    return passed_if(DeviceFile(isdn_power_path, O_RDWR).is_open());
}

// The phone manager starts and reports this test itself.
Outcome test_phones()
{
    context().phone->writePOSTResult(*context().post_api);
    return Outcome::open;
}

// The line is high while no port draws too much.
Outcome test_over_current_line()
{
    const DeviceFile line(over_current_path, O_RDONLY);
    if (!line.is_open()) {
        qv_slog(3, "failed to open %s", over_current_path);
        return Outcome::failed;
    }
    char level = 0;
    if (read(line.fd(), &level, 1) < 0) {
        qv_slog(3, "read error");
        return Outcome::failed;
    }
    return passed_if(level == '1');
}

struct SwitchPath {
    const char* platform;
    const char* path;
};
constexpr std::array switch_paths = {
    SwitchPath{"qv1202B", "/sys/bus/platform/drivers/qv820_switch/switch.4"},
    SwitchPath{"qv1608B", "/sys/devices/ocp.2/48030000.spi/spi_master/spi1/spi1.0/registers"},
};

Outcome test_ethernet_switch()
{
    const SwitchPath* const row = find_platform_row(switch_paths);
    return passed_if(row != nullptr && device_exists(row->path) != 0);
}

struct UsbLine {
    const char* platform;
    const char* chip; // must be there; null: none
    const char* pin;
};
constexpr std::array usb_lines = {
    UsbLine{"qv1101A", nullptr, "53"},
    UsbLine{"qv1202B", "/sys/class/gpio/gpiochip248", "249"},
    UsbLine{"qv1608B", nullptr, "200"},
};

Outcome test_usb_power_lines()
{
    const UsbLine* const row = find_platform_row(usb_lines);
    if (row == nullptr)
        return Outcome::open;
    return passed_if((row->chip == nullptr || device_exists(row->chip) != 0) &&
                     gpio_pin_present(row->pin) != 0);
}

struct TemperatureSource {
    const char* platform;
    const char* key;
    bool is_status; // the value decides; otherwise it is enough that there is one
};
constexpr std::array temperature_sources = {
    TemperatureSource{"qv1101A", key::battery_status, true},
    TemperatureSource{"qv1202B", key::mainboard_temperature, false},
    TemperatureSource{"qv1305A", key::mainboard_temperature, false},
    TemperatureSource{"qv1403A", key::mainboard_temperature, false},
    TemperatureSource{"qv2500A", key::mainboard_temperature, false},
    TemperatureSource{"qv1608B", key::mainboard_temperature, false},
};

Outcome test_temperature()
{
    const TemperatureSource* const row = find_platform_row(temperature_sources);
    if (row == nullptr)
        return Outcome::open;
    std::int32_t value = 0;
    if (config_read_int(row->key, &value) != 0) {
        config_change_register(row->key, context().temperature_changed, nullptr);
        return Outcome::open;
    }
    if (!row->is_status)
        return Outcome::passed;
    set_temperature_post_result(value);
    return Outcome::open;
}

struct SelfTest {
    const char* capability; // key that must not be 0; null: none needed
    const char* platform;   // the only model with this test; null: every one
    unsigned int test_id;   // 0: the check does without pwr_man_POST()
    Outcome (*check)();
};

constexpr SelfTest self_tests[] = {
    {"ram.platform.capabilities.isdn", nullptr, 0x40138406, test_isdn_power},
    {PwrMgrPhone::CAPABILITY_NO_SLICS, nullptr, 0, test_phones},
    {nullptr, "qv1608B", 0x40138407, test_over_current_line},
    {PwrMgrPoe::CAPABILITY_ETH_SW, nullptr, 0x40138410, test_ethernet_switch},
    {nullptr, nullptr, 0x4013840F, test_usb_power_lines},
    {nullptr, nullptr, temperature_test, test_temperature},
};

void report(unsigned int id, Outcome outcome)
{
    if (outcome == Outcome::open)
        return;
    context().post_api->reportPostResult(CPostId(id), outcome == Outcome::passed
                                                          ? CBitePostApi::POST_PASSED
                                                          : CBitePostApi::POST_FAILED);
}

void run(const SelfTest& test)
{
    if (test.capability != nullptr && read_capability(test.capability) == 0)
        return;
    if (test.platform != nullptr && !power_man::platform_is(test.platform))
        return;
    const unsigned int id = test.test_id != 0 ? pwr_man_POST(test.test_id) : 0;
    report(id, test.check());
}

bool battery_is_good(int status)
{
    std::int32_t temperature = 0;
    if (status != 0 || config_read_int(key::battery_temperature, &temperature) != 0)
        return false;
    // Misspelt as the support staff's filters have it.
    qv_slog(4, "set_temperture_post_result, temp:%d", temperature);
    return true;
}

bool temperature_is_good(int status)
{
    const TemperatureSource* const row = find_platform_row(temperature_sources);
    if (row == nullptr)
        return false;
    if (row->is_status)
        return battery_is_good(status);
    std::int32_t temperature = 0;
    return config_read_int(row->key, &temperature) == 0;
}

} // namespace

void power_man::set_self_test_context(const SelfTestContext& context)
{
    self_test_context = context;
}

void bite_ready_cb(void*)
{
    if (tracing(power_man::Trace::detail))
        qv_slogd("BITE handler ready callback\n");
    if (!context().post_api->isPostReady()) {
        if (tracing())
            qv_slogd("Power manager POST, isPostReady - Ready: %u\n", 0U);
        if (tracing(power_man::Trace::detail))
            qv_slogd("Could not send BITE handler ready message\n");
        return;
    }
    for (const SelfTest& test : self_tests)
        run(test);
}

unsigned int pwr_man_POST(unsigned int test_id)
{
    const CPostId id(module, module_id, test_id);
    if (tracing())
        qv_slogd("Power manager POST - event_id: %u (0x%x)\n", id.packed(), id.packed());
    if (context().post_api->isPostAllowed(id)) {
        if (tracing())
            qv_slogd("Power manager POST, isPostAllowed - Allowed: %u\n", 1U);
        context().post_api->setPOST_start(id);
    } else if (tracing()) {
        qv_slogd("Power manager POST, Disabled\n");
    }
    return id.packed();
}

void set_temperature_post_result(int status)
{
    const CPostId id(module, module_id, temperature_test);
    qv_slog(4, "set_temperature_post_result, status:%d, post_id:%x", status, id.packed());
    report(id.packed(), passed_if(temperature_is_good(status)));
}
