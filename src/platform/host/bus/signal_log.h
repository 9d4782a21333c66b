// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "host/base/clock.h"

namespace host {

// The signals sent last, for the console and the tests.
class SignalLog {
public:
    static constexpr std::size_t capacity = 64;
    static constexpr std::size_t name_length = 64;     // longer names are cut
    static constexpr std::size_t payload_length = 192; // as are longer payloads

    struct Signal {
        std::uint64_t time_ms;
        std::array<char, name_length> name;
        std::array<char, payload_length> payload;
        std::uint32_t length;          // as sent
        std::string_view kept() const; // of the payload
    };

    explicit SignalLog(const Clock& clock) : clock_(clock) {}

    void add(std::string_view name, std::string_view payload);

    std::uint64_t count() const { return count_; } // signals ever sent

    // The signal with that number, from 1; the last `capacity` of them are there.
    const Signal& signal(std::uint64_t number) const { return signals_[(number - 1) % capacity]; }

private:
    const Clock& clock_;
    std::array<Signal, capacity> signals_; // touched only as they come
    std::uint64_t count_ = 0;
};

} // namespace host
