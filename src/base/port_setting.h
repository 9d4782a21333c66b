// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace power_man {

// What the key of a port's setting says behind the prefix that its interface's keys share.
struct PortSetting {
    std::int32_t port;
    std::string_view rest; // behind the number, e.g. ".enabled"
};

// Takes such a key apart. The number is read as scanf reads one: blanks and a sign may stand
// before it. Nothing for a key of another form, or with a number that no 32 bits could hold: more
// than nine digits after leading zeros are beyond every port.
std::optional<PortSetting> parse_port_setting(std::string_view key, std::string_view prefix);

} // namespace power_man
