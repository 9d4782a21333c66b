// SPDX-License-Identifier: MIT
#include "post/self_test.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ap/device.h"
#include "ap/log.h"
#include "base/assertion.h"
#include "base/config_values.h"
#include "base/device_file.h"
#include "base/terminal.h"
#include "gpio/gpio_pin.h"
#include "models/models.h"
#include "poe/pwr_mgr_poe.h"
#include "usb/isdn_power.h"

namespace {

using power_man::current_model;
using power_man::DeviceFile;
using power_man::Model;
using power_man::tracing;

constexpr unsigned int module = 0x40000000;
constexpr unsigned int module_id = 0x00100000;

constexpr unsigned int temperature_test = 0x4013840C;

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
    return passed_if(DeviceFile(power_man::isdn_control_file, O_RDWR).is_open());
}

// The phone manager starts and reports this test itself.
Outcome test_phones()
{
    context().phone->writePOSTResult(*context().post_api);
    return Outcome::open;
}

bool has_over_current_line()
{
    const Model* const model = current_model();
    return model != nullptr && model->usb.over_current_line != power_man::no_line;
}

// The line is high while no port draws too much.
Outcome test_over_current_line()
{
    const std::string number = std::to_string(current_model()->usb.over_current_line);
    const power_man::PinPath path = power_man::pin_path(number.c_str(), "/value");
    const DeviceFile line(path.data(), O_RDONLY);
    if (!line.is_open()) {
        qv_slog(3, "failed to open %s", path.data());
        return Outcome::failed;
    }
    char level = 0;
    if (read(line.fd(), &level, 1) < 0) {
        qv_slog(3, "read error");
        return Outcome::failed;
    }
    return passed_if(level == '1');
}

// The key whose value, or whose coming, decides the test of the temperature.
const char* deciding_key(const power_man::SelfTestDevices& devices)
{
    return devices.temperature_status != nullptr ? devices.temperature_status : devices.temperature;
}

Outcome test_ethernet_switch()
{
    const Model* const model = current_model();
    return passed_if(model != nullptr && model->self_test.ethernet_switch != nullptr &&
                     device_exists(model->self_test.ethernet_switch) != 0);
}

Outcome test_usb_power_lines()
{
    const Model* const model = current_model();
    if (model == nullptr || model->self_test.usb_pin == nullptr)
        return Outcome::open;
    const char* const chip = model->self_test.usb_chip;
    return passed_if((chip == nullptr || device_exists(chip) != 0) &&
                     gpio_pin_present(model->self_test.usb_pin) != 0);
}

Outcome test_temperature()
{
    const Model* const model = current_model();
    if (model == nullptr)
        return Outcome::open;
    std::int32_t value = 0;
    const char* const deciding = deciding_key(model->self_test);
    if (config_read_int(deciding, &value) != 0) {
        config_change_register(deciding, context().temperature_changed, nullptr);
        return Outcome::open;
    }
    if (model->self_test.temperature_status == nullptr)
        return Outcome::passed;
    set_temperature_post_result(value);
    return Outcome::open;
}

struct SelfTest {
    const char* capability; // key that must not be 0; null: none needed
    unsigned int test_id;   // 0: the check does without pwr_man_POST()
    Outcome (*check)();
    bool (*on_this_model)() = nullptr; // null: on every one
};

constexpr SelfTest self_tests[] = {
    {"ram.platform.capabilities.isdn", 0x40138406, test_isdn_power},
    {PwrMgrPhone::CAPABILITY_NO_SLICS, 0, test_phones},
    {nullptr, 0x40138407, test_over_current_line, has_over_current_line},
    {PwrMgrPoe::CAPABILITY_ETH_SW, 0x40138410, test_ethernet_switch},
    {nullptr, 0x4013840F, test_usb_power_lines},
    {nullptr, temperature_test, test_temperature},
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
    if (test.on_this_model != nullptr && !test.on_this_model())
        return;
    const unsigned int id = test.test_id != 0 ? pwr_man_POST(test.test_id) : 0;
    report(id, test.check());
}

bool temperature_is_good(int status)
{
    const Model* const model = current_model();
    if (model == nullptr)
        return false;
    const power_man::SelfTestDevices& devices = model->self_test;
    const bool has_status = devices.temperature_status != nullptr;
    std::int32_t temperature = 0;
    if ((has_status && status != 0) || config_read_int(devices.temperature, &temperature) != 0)
        return false;
    if (has_status) // misspelt as the support staff's filters have it
        qv_slog(4, "set_temperture_post_result, temp:%d", temperature);
    return true;
}

} // namespace

void power_man::set_self_test_context(const SelfTestContext& context)
{
    self_test_context = context;
}

bool power_man::decides_temperature_test(const char* key)
{
    for (const Model* const model : all_models()) {
        if (std::strcmp(deciding_key(model->self_test), key) == 0)
            return true;
    }
    return false;
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
