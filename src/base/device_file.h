// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "ap/device.h"

namespace power_man {

// An open device file, closed at the end of the scope. Not to be copied.
class DeviceFile {
public:
    // `flags` are open's. A failure leaves the file closed, with errno saying why.
    DeviceFile(const char* path, int flags) : fd_(device_open(path, flags)) {}

    // Takes a descriptor of device_open() over.
    explicit DeviceFile(int fd) : fd_(fd) {}

    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;
    ~DeviceFile() { close(); }

    // Descriptor 0 counts as a failure: a daemon whose standard input is closed would take it
    // for a device.
    bool is_open() const { return fd_ > 0; }
    int fd() const { return fd_; }

    // Writes all of `text` at once; false with errno otherwise.
    bool write(std::string_view text);

    // For a driver that reads a stream: goes on where a short write has stopped. False with errno
    // when it does not take all of it.
    bool write_stream(std::string_view text);

    // The result of close(2); 0 when it is closed already.
    int close();

private:
    int fd_;
};

// Opens, writes and closes. False with errno when a step fails.
bool write_device_file(const char* path, std::string_view text);

} // namespace power_man
