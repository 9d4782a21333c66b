// SPDX-License-Identifier: MIT
#include "poe/pwr_mgr_open.h"

#include "ap/device.h"

int pwr_mgr_open(const char* file, int flags, ...)
{
    return device_open(file, flags);
}

int pwr_mgr_close(int fd)
{
    return device_close(fd);
}
