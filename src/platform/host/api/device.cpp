// SPDX-License-Identifier: MIT
#include "ap/device.h"

#include "host/host/host.h"

int device_open(const char* path, int flags)
{
    return host::instance().devices.open(path, flags);
}

ssize_t device_write(int fd, const void* data, size_t length)
{
    return host::instance().devices.write(fd, {static_cast<const char*>(data), length});
}

int device_close(int fd)
{
    return host::instance().devices.close(fd);
}

int device_exists(const char* path)
{
    return host::instance().devices.exists(path) ? 1 : 0;
}
