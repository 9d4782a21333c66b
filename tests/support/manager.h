// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstdlib>
#include <string>

#include "host/base/descriptor.h"

// The service manager's end of the socket, which it names in NOTIFY_SOCKET.
class Manager {
public:
    explicit Manager(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        sockaddr_un address{AF_UNIX, {}};
        path.copy(address.sun_path, sizeof address.sun_path);
        if (path[0] == '@')
            address.sun_path[0] = '\0';
        const auto size = static_cast<socklen_t>(sizeof address.sun_family + path.size());
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
        setenv("NOTIFY_SOCKET", path.c_str(), 1);
    }
    // The messages since the last call.
    std::string heard() const
    {
        std::string all;
        std::array<char, 256> message{};
        ssize_t length = 0;
        while ((length = recv(socket_.get(), message.data(), message.size(), 0)) > 0)
            all.append(message.data(), static_cast<std::size_t>(length)).append(" ");
        return all;
    }

private:
    host::Descriptor socket_;
};
