// SPDX-License-Identifier: MIT
// Where the configuration database keeps its keys: in this process, or in a server that
// several processes share.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// One write; without a value the key is removed.
struct Write {
    std::string_view key;
    std::optional<std::string_view> value;
};

class Store {
public:
    virtual ~Store() = default;

    // The value of a key, valid until the next call. 0, -ENOENT, or another negative errno.
    virtual int read(std::string_view key, std::string_view& value) = 0;

    // Makes all the writes visible together. Every key written before this returns will be
    // reported to the change dispatcher, once for each write and in order.
    virtual int write(std::span<const Write> writes) = 0;

    // The keys that are `prefix` or stand below it, in order; all of them for an empty one.
    virtual int list(std::string_view prefix, std::vector<std::string>& keys) = 0;
};

// True when `key` is `prefix` or stands below it; a dot at the end of `prefix` makes no
// difference.
bool key_is_below(std::string_view key, std::string_view prefix);

} // namespace host
