// SPDX-License-Identifier: MIT
// What this process wrote into the shared database: the last value of each key, to write it
// again when the server has lost it, and the values whose events are still to come.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "host/config/store.h"

namespace host {

// Settings are their user's: an older value of one is not ours to put right.
bool is_setting(std::string_view key);

class OwnWrites {
public:
    using Value = std::optional<std::string>; // none: removed

    // A key's last value from here.
    struct Last {
        Value value;
        std::uint64_t id;
        bool uncertain; // it may not have reached the server
    };

    // The value of a write whose event arrives. A silent one is no change for anybody here: it
    // restored what had been known.
    struct Event {
        std::uint64_t id;
        Value value;
        bool silent;
    };

    // Notes a write under an id that grows. False when no more keys can be remembered.
    bool note(std::uint64_t id, const Write& write, bool uncertain);
    void expect_event(std::uint64_t id, const Write& write, bool silent);

    // The event of the oldest write to that key that the server has confirmed.
    std::optional<Event> take_event(std::string_view key);

    // The server's answers come in the order of the ids.
    void confirmed(std::uint64_t id) { confirmed_ = id; }
    void refused(std::uint64_t id);
    void expect_no_event(std::uint64_t id, const std::string& key);

    // The connection is gone: no more events, no more answers.
    void connection_lost();

    // It has been seen in the server.
    void arrived(const std::string& key) { last_.find(key)->second.uncertain = false; }

    // Somebody else has given the key another value: it is theirs now.
    void give_up(const std::string& key) { last_.erase(key); }

    const std::map<std::string, Last, std::less<>>& last() const { return last_; }

private:
    std::map<std::string, Last, std::less<>> last_;
    std::unordered_map<std::string, std::deque<Event>> events_;
    std::uint64_t confirmed_ = 0;
};

} // namespace host
