// SPDX-License-Identifier: MIT
#include "board_directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host/base/descriptor.h"
#include "poe/pwr_mgr_poe.h"

namespace replay {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view gpio = "/sys/class/gpio/";
constexpr std::string_view chip_name = "gpiochip";

// Empty, or errno's text.
std::string write_file(const std::string& path, std::string_view text, int flags)
{
    const host::Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, 0600));
    const ssize_t written = file ? write(file.get(), text.data(), text.size()) : -1;
    if (written == static_cast<ssize_t>(text.size()))
        return {};
    return path + ": " + std::strerror(written < 0 ? errno : ENOSPC);
}

} // namespace

BoardDirectory::BoardDirectory(const power_man::Model& model)
{
    const char* const place = std::getenv("TMPDIR");
    std::string name = std::string(place != nullptr && *place == '/' ? place : "/tmp") +
                       "/power_man-replay-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        error_ = "no directory for the board: " + name + ": " + std::strerror(errno);
        return;
    }
    root_ = name;
    if (model.usb.over_current_line != power_man::no_line)
        wires_[model.usb.over_current_line] = true; // pulled up: low means a short circuit
    put_wires();
    put(std::string(gpio) + "export", "");
    put(std::string(gpio) + "unexport", "");
    put_chip("gpiochip0", "0", "4096"); // whatever lines the model has
    for (const char* const path : {model.usb.chip, model.self_test.usb_chip}) {
        if (path == nullptr)
            continue;
        const std::string_view directory = std::string_view(path).substr(gpio.size());
        put_chip(directory, directory.substr(chip_name.size()), "1");
    }
    if (model.self_test.usb_pin != nullptr)
        put_line(model.self_test.usb_pin);
    put("/sys/devices/platform/fpga.0/control/isdnpwr", "0\n");
    if (model.poe == power_man::PoeSwitching::fpga)
        put(PwrMgrPoe::V820_SYSFS_POE, "0\n");
    for (const char* const slic : {"slic0.0", "slic0.1", "slic1.0", "slic1.1"})
        put(std::string("/dev/") + slic, "-");
    if (model.self_test.ethernet_switch != nullptr)
        put(model.self_test.ethernet_switch, "");
}

BoardDirectory::~BoardDirectory()
{
    std::error_code ignored;
    if (!root_.empty())
        fs::remove_all(root_, ignored);
}

void BoardDirectory::put(std::string_view path, std::string_view text)
{
    const std::string file = root_ + std::string(path);
    std::error_code failed;
    fs::create_directories(fs::path(file).parent_path(), failed);
    const std::string error =
        failed ? file + ": " + failed.message() : write_file(file, text, O_CREAT | O_TRUNC);
    if (error_.empty())
        error_ = error;
}

void BoardDirectory::put_chip(std::string_view directory, std::string_view first,
                              std::string_view count)
{
    const std::string chip = std::string(gpio).append(directory);
    put(chip + "/base", std::string(first) + "\n");
    put(chip + "/ngpio", std::string(count) + "\n");
}

// One that the board's own start-up has exported.
void BoardDirectory::put_line(std::string_view number)
{
    const std::string line = std::string(gpio).append("gpio").append(number);
    put(line + "/value", "0\n");
    put(line + "/direction", "in\n");
    put(line + "/edge", "none\n");
    put(line + "/active_low", "0\n");
}

void BoardDirectory::put_wires()
{
    std::string rows;
    for (const auto& [line, high] : wires_)
        rows += std::to_string(line) + (high ? " 1\n" : " 0\n");
    put("/lines", rows);
}

bool BoardDirectory::set_wire(int line, bool high)
{
    wires_[line] = high;
    put_wires();
    const std::string directory = root_ + std::string(gpio) + "gpio" + std::to_string(line);
    const host::Descriptor direction(
        open((directory + "/direction").c_str(), O_RDONLY | O_CLOEXEC));
    char first = '\0';
    if (direction && read(direction.get(), &first, 1) == 1 && first == 'i') {
        const std::string error = write_file(directory + "/value", high ? "1\n" : "0\n", 0);
        if (error_.empty())
            error_ = error;
    }
    return error_.empty();
}

} // namespace replay
