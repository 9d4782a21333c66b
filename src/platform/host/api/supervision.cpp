// SPDX-License-Identifier: MIT
#include "ap/supervision.h"

#include "host/host/host.h"

int appmgr_alive_fdloop_register(_fdloop_t* loop)
{
    return host::instance().supervision.give_signs(loop);
}

int appmgr_set_dead_time(unsigned int milliseconds)
{
    return host::instance().supervision.set_dead_time(milliseconds);
}

int appmgr_signal(void)
{
    return host::instance().supervision.announce_ready();
}

int appmgr_status(const char* text)
{
    return host::instance().supervision.set_status(text);
}
