// SPDX-License-Identifier: MIT
// Where the shared database is: "unix:/path" or "tcp:host:port", either with "#N" behind it for
// the database of that number.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct DatabaseAddress {
    std::string path; // of a Unix socket; empty: TCP
    std::string host; // a name, or a numeric address without brackets
    std::string port;
    int database = 0;

    // Nothing, and why in `error`, for a text of another form.
    static std::optional<DatabaseAddress> parse(std::string_view text, std::string& error);
};

struct Endpoint {
    sockaddr_storage address;
    socklen_t size;
};

// What the address stands for, never empty without `error`. A name is looked up, which may
// block for long: at start only, the result is kept for every later connection.
std::vector<Endpoint> find_endpoints(const DatabaseAddress& address, std::string& error);

// The first line of the file. Nothing, and why in `error`, when there is none.
std::optional<std::string> read_password(const std::string& file, std::string& error);

} // namespace host
