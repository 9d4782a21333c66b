// SPDX-License-Identifier: MIT
#include "ap/socket.h"

#include "host/host/host.h"

int socket_create_server(const char* address, int)
{
    return host::instance().sockets.create_server(address);
}

int socket_create_server_client(int listening, void*)
{
    return host::instance().sockets.accept(listening);
}
