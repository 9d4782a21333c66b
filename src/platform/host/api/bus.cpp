// SPDX-License-Identifier: MIT
#include "ap/bus.h"

#include <cerrno>

#include "host/host/host.h"

_cbus_conn_t* cbus_conn_create(_fdloop_t* loop, const char* name)
{
    return loop == nullptr || name == nullptr || *name == '\0' ? nullptr
                                                               : host::instance().connect_bus(name);
}

// The daemon takes no signals: there are no names to serve and none to be chosen.
int cbus_provide(_cbus_conn_t* connection, const char* name)
{
    return connection == nullptr || name == nullptr ? -EINVAL : 0;
}

int cbus_filter(_cbus_conn_t* connection, const char* prefix)
{
    return connection == nullptr || prefix == nullptr ? -EINVAL : 0;
}

int cbus_send_signal(_cbus_conn_t* connection, const char* name, const void* data,
                     unsigned int length)
{
    if (connection == nullptr || name == nullptr || (data == nullptr && length > 0))
        return -EINVAL;
    return connection->send(name, {static_cast<const char*>(data), length});
}

void cbus_describe(const char* name, cbus_describer describer)
{
    host::instance().bus.set_describer(name, describer);
}

void cbus_repeat(const char* name)
{
    host::instance().store->repeat(name);
}
