// SPDX-License-Identifier: MIT
#include "host/bus/bus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/base/clock.h"
#include "host/host/host.h"

namespace {

constexpr unsigned int longest_payload = 64U * 1024U;

} // namespace

namespace host {

std::string_view SignalLog::Signal::kept() const
{
    return {payload.data(), std::min<std::size_t>(length, payload.size())};
}

void SignalLog::add(std::string_view name, std::string_view payload)
{
    Signal& signal = signals_[count_ % capacity];
    ++count_;
    signal.time_ms = clock::now_ms();
    signal.name.fill('\0');
    std::copy_n(name.begin(), std::min(name.size(), name_length - 1), signal.name.begin());
    std::copy_n(payload.begin(), std::min(payload.size(), payload_length), signal.payload.begin());
    signal.length = static_cast<std::uint32_t>(payload.size());
}

} // namespace host

_cbus_conn_t* cbus_conn_create(_fdloop_t* loop, const char* name)
{
    if (loop == nullptr || name == nullptr || *name == '\0')
        return nullptr;
    if (!host::instance().bus) // one for the whole process
        host::instance().bus = std::make_unique<_cbus_conn_t>(_cbus_conn_t{loop});
    return host::instance().bus.get();
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
    if (length > longest_payload)
        return -EMSGSIZE;
    const std::string_view payload(static_cast<const char*>(data), length);
    if (const int error = host::instance().store->publish(name, payload); error != 0)
        return error;
    host::instance().signals.add(name, payload);
    host::instance().journal.write("%s", host::describe_signal(name, payload, length).c_str());
    return 0;
}
