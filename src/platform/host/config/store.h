// SPDX-License-Identifier: MIT
// Where the configuration database keeps its keys: in this process, or in a server that
// several processes share.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct _fdloop_t;

namespace host {

// One write; without a value the key is removed.
struct Write {
    std::string_view key;
    std::optional<std::string_view> value;
};

// What is in a key: nothing when there is no such key, or no value of ours in it.
using Value = std::optional<std::string>;

class Store {
public:
    virtual ~Store() = default;

    // The value of a key, valid until the next call. 0, -ENOENT, or another negative errno. The
    // process is taken to need the key again: a store that is shared keeps it at hand.
    virtual int read(std::string_view key, std::string_view& value) = 0;

    // The values of many keys, for somebody who only looks; `values` gets one for each.
    virtual int look(std::span<const std::string> keys, std::vector<Value>& values) = 0;

    // Makes all the writes visible together. Every key written before this returns will be
    // reported to the change dispatcher, once for each write and in order.
    virtual int write(std::span<const Write> writes) = 0;

    // The keys that are `prefix` or stand below it, in order; all of them for an empty one.
    virtual int list(std::string_view prefix, std::vector<std::string>& keys) = 0;

    // The rest concerns only a store that is shared with other processes.

    // Serves its connections from the loop, which it outlives.
    virtual void attach(_fdloop_t&) {}

    // Changes of the key, and of all below it, are wanted from the server; to be called before
    // the change dispatcher is told. Writes made before are not reported to the newcomer.
    virtual void follow(std::string_view) {}

    // Somebody has left that key; others may follow it still.
    virtual void unfollow(std::string_view) {}

    // It was reached, cannot be now, and is looked for.
    virtual bool is_away() const { return false; }

    // As config_user_settings() and cbus_repeat().
    virtual void set_user_settings(std::string_view) {}
    virtual void repeat(std::string_view) {}

    // Sends a signal to other processes. 0, or a negative errno.
    virtual int publish(std::string_view, std::string_view) { return 0; }
};

// True when `key` is `prefix` or stands below it; a dot at the end of `prefix` makes no
// difference.
bool key_is_below(std::string_view key, std::string_view prefix);

} // namespace host
