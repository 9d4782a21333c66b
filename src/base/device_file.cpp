// SPDX-License-Identifier: MIT
#include "base/device_file.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace power_man {

bool DeviceFile::write(std::string_view text)
{
    const ssize_t written = device_write(fd_, text.data(), text.size());
    if (written < 0)
        return false;
    if (static_cast<std::size_t>(written) == text.size())
        return true;
    errno = EIO; // a driver that takes half a command has not taken it
    return false;
}

bool DeviceFile::write_stream(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = device_write(fd_, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO; // it would never end
        if (written <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

int DeviceFile::close()
{
    const int fd = std::exchange(fd_, -1);
    return fd < 0 ? 0 : device_close(fd);
}

bool write_device_file(const char* path, std::string_view text)
{
    DeviceFile file(path, O_WRONLY | O_TRUNC);
    return file.is_open() && file.write(text) && file.close() == 0;
}

} // namespace power_man
