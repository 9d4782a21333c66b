// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/change_dispatcher.h"
#include "host/config/store.h"
#include "host/log/journal.h"

namespace host {

// Why a key or a value is refused: a negative errno, 0 when it is fine.
int check_key(std::string_view key);
int check_value(std::string_view value);

// Whose write it is: a person's is always noted in the journal, the program's own as write_set() of
// Journal has it.
enum class Writer { person, program };

// The configuration database as its users see it: checked keys and values, and each write noted in
// the journal. Every call fails with -ENOTCONN before connect(). All that it is given must outlive
// it.
class Configuration {
public:
    Configuration(Store& store, ChangeDispatcher& changes, Journal& journal)
        : store_(store), changes_(changes), journal_(journal)
    {
    }

    // Whether the calls below are answered.
    void connect(bool connected = true) { connected_ = connected; }
    bool connected() const { return connected_; }

    // The value of a key, valid until the next call. 0, -ENOENT, or another negative errno.
    int read(std::string_view key, std::string_view& value);

    // The values of many keys, for somebody who only looks: `values` gets one for each.
    int look(std::span<const std::string> keys, std::vector<Value>& values);

    // Writes together: 0, or a negative errno and nothing is written.
    int write(std::span<const Write> writes, Writer writer = Writer::person);

    // The keys that are `prefix` or stand below it, in order; all of them for an empty one.
    int list(std::string_view prefix, std::vector<std::string>& keys);

    // As config_change_register() and config_change_deregister().
    int follow(std::string_view key, config_change_callback callback, void* user);
    int unfollow(std::string_view key, config_change_callback callback, void* user);

private:
    void note(const Write& write, Writer writer);

    Store& store_;
    ChangeDispatcher& changes_;
    Journal& journal_;
    bool connected_ = false;
};

} // namespace host
