// SPDX-License-Identifier: MIT
#include "host/bus/bus.h"

#include <cerrno>

#include "host/bus/signal_text.h"

namespace {

constexpr std::size_t longest_payload = std::size_t{64} * 1024;

} // namespace

int _cbus_conn_t::send(std::string_view name, std::string_view payload)
{
    if (payload.size() > longest_payload)
        return -EMSGSIZE;
    if (const int error = store_.publish(name, payload); error != 0)
        return error;
    signals_.add(name, payload);
    journal_.write("%s", describe(name, payload, payload.size()).c_str());
    return 0;
}

std::string _cbus_conn_t::describe(std::string_view name, std::string_view payload,
                                   std::size_t length) const
{
    return host::describe_signal(store_, name, payload, length);
}
