// SPDX-License-Identifier: MIT
#include "gpio/gpio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "ap/device.h"
#include "ap/log.h"
#include "base/device_file.h"
#include "gpio/gpio_pin.h"

namespace {

constexpr std::uint8_t unreadable = 255;

} // namespace

Gpio::Gpio(unsigned int number) : direction(DIR_IN), fd(-1), gpioNumber(number), exported(false) {}

Gpio::~Gpio()
{
    if (fd != -1)
        Gpio::uninitialize();
}

void Gpio::initialize(unsigned int number, dir_t wanted)
{
    gpioNumber = number;
    initialize(wanted);
}

void Gpio::initialize(const std::string& path, dir_t wanted)
{
    filePath = path;
    initialize(wanted);
}

void Gpio::initialize(dir_t wanted)
{
    closeValueFile();
    if (filePath.empty()) {
        initializeFilePath();
        exportGpio();
    }
    openGpioFile();
    setDirection(wanted);
}

void Gpio::initializeFilePath()
{
    if (filePath.empty())
        filePath = power_man::pin_path(std::to_string(gpioNumber).c_str(), "").data();
}

void Gpio::exportGpio()
{
    if (exported)
        return;
    power_man::export_pin(std::to_string(gpioNumber).c_str());
    exported = true;
}

void Gpio::unexportGpio()
{
    if (!exported)
        return;
    power_man::unexport_pin(std::to_string(gpioNumber).c_str());
    filePath.clear();
    exported = false;
}

void Gpio::openGpioFile()
{
    if (filePath.empty())
        return;
    const std::string name = filePath + "/value";
    qv_slog(7, "%s '%s'\n", "openGpioFile", name.c_str());
    fd = device_open(name.c_str(), O_RDWR);
    if (fd == -1) {
        const std::string reason = std::strerror(errno);
        qv_slog(3, "open: %s\n", reason.c_str());
        throw std::runtime_error("open: " + reason);
    }
}

void Gpio::closeValueFile()
{
    if (fd != -1)
        device_close(fd);
    fd = -1;
}

void Gpio::setDirection(dir_t wanted)
{
    if (filePath.empty())
        return;
    const std::string name = filePath + "/direction";
    power_man::write_device_file(name.c_str(), wanted != DIR_IN ? "out" : "in");
    direction = wanted;
}

void Gpio::setValue(int value) const
{
    if (direction == DIR_IN)
        throw std::logic_error("Cannot set the value of an input gpio");
    if (filePath.empty())
        return;
    const std::string name = filePath + "/value";
    power_man::write_device_file(name.c_str(), value != 0 ? "1" : "0");
}

std::uint8_t Gpio::getValue()
{
    if (filePath.empty()) {
        qv_slog(3, "Gpio::getValue_: called without known gpio file");
        return unreadable;
    }
    std::array<char, 16> text;
    const ssize_t length = pread(fd, text.data(), text.size(), 0);
    if (length < 0)
        qv_slog(3, "pread error: %s\n", std::strerror(errno));
    return length > 0 ? static_cast<std::uint8_t>(text[0]) : unreadable;
}

void Gpio::uninitialize()
{
    if (fd == -1)
        return;
    unexportGpio();
    closeValueFile();
}

unsigned int Gpio::getGpioNumber() const
{
    return gpioNumber;
}

int Gpio::getFd() const
{
    return fd;
}

bool Gpio::isCurrent() const
{
    struct stat held {};
    struct stat present {};
    const power_man::DeviceFile file((filePath + "/value").c_str(), O_RDONLY);
    return file.is_open() && fstat(fd, &held) == 0 && fstat(file.fd(), &present) == 0 &&
           held.st_dev == present.st_dev && held.st_ino == present.st_ino;
}

bool Gpio::isGone() const
{
    char level = 0;
    return pread(fd, &level, 1, 0) < 0 && errno == ENODEV;
}
