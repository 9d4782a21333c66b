// SPDX-License-Identifier: MIT
// The bus. A signal is remembered, for the console and the tests, and goes to whoever shares the
// database with this process: without a shared one, to nobody.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "ap/bus.h"

namespace host {

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

    void add(std::string_view name, std::string_view payload);

    std::uint64_t count() const { return count_; } // signals ever sent

    // The signal with that number, from 1; the last `capacity` of them are there.
    const Signal& signal(std::uint64_t number) const { return signals_[(number - 1) % capacity]; }

private:
    std::array<Signal, capacity> signals_; // touched only as they come
    std::uint64_t count_ = 0;
};

// One line for a person: "raise EV_AP_TEMP_LOW", "signal NAME \"text\"", or the bytes in
// hexadecimal. `payload` may be cut; `length` is what was sent.
std::string describe_signal(std::string_view name, std::string_view payload, std::size_t length);

} // namespace host

struct _cbus_conn_t {
    _fdloop_t* loop;
};
