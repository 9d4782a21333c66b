// SPDX-License-Identifier: MIT
#include "gpio/gpio_pin.h"

#include <fcntl.h>

#include "ap/device.h"
#include "ap/log.h"
#include "ap/text.h"
#include "base/device_file.h"

namespace {

constexpr const char* export_path = "/sys/class/gpio/export";
constexpr const char* unexport_path = "/sys/class/gpio/unexport";

bool give_number(const char* path, const char* pin)
{
    power_man::DeviceFile control(path, O_WRONLY);
    return !control.is_open() || control.write(pin);
}

} // namespace

namespace power_man {

PinPath pin_path(const char* pin, const char* file)
{
    PinPath path;
    qv_snprintf(path.data(), path.size(), "/sys/class/gpio/gpio%s%s", pin, file);
    return path;
}

bool export_pin(const char* pin)
{
    return give_number(export_path, pin);
}

bool unexport_pin(const char* pin)
{
    return give_number(unexport_path, pin);
}

} // namespace power_man

int gpio_exp_pin(const char* pin, const char* state)
{
    const power_man::PinPath directory = power_man::pin_path(pin, "");
    if (!device_exists(export_path))
        return -1; // a board without sysfs GPIO
    if (!device_exists(directory.data())) {
        if (!power_man::export_pin(pin))
            qv_slog(3, "write error");
        if (!device_exists(directory.data())) {
            qv_slog(4, "%s not found", directory.data());
            return -1;
        }
    }
    power_man::DeviceFile direction(power_man::pin_path(pin, "/direction").data(), O_WRONLY);
    if (!direction.is_open())
        return direction.fd();
    if (!direction.write(state))
        qv_slog(3, "write error");
    return direction.close();
}

int gpio_pin_present(const char* pin)
{
    if (!device_exists(export_path))
        return 0;
    return device_exists(power_man::pin_path(pin, "").data());
}
