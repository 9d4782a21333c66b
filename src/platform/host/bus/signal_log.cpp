// SPDX-License-Identifier: MIT
#include "host/bus/signal_log.h"

#include <algorithm>

namespace host {

std::string_view SignalLog::Signal::kept() const
{
    return {payload.data(), std::min<std::size_t>(length, payload.size())};
}

void SignalLog::add(std::string_view name, std::string_view payload)
{
    Signal& signal = signals_[count_ % capacity];
    ++count_;
    signal.time_ms = clock_.now_ms();
    signal.name.fill('\0');
    std::copy_n(name.begin(), std::min(name.size(), name_length - 1), signal.name.begin());
    std::copy_n(payload.begin(), std::min(payload.size(), payload_length), signal.payload.begin());
    signal.length = static_cast<std::uint32_t>(payload.size());
}

} // namespace host
