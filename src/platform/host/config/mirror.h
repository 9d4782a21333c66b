// SPDX-License-Identifier: MIT
// What this process knows of a database that it shares: every key that it follows, has read or has
// written, and which of them are whose. No server is known here.
//
// A value's stamp is the moment of its last change, counted in changes. An answer of the server
// is as old as its question: one that was asked before the stamp is stale, and is not taken.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/store.h"

namespace host {

// An answer of the server.
struct Found {
    std::string key;
    std::uint64_t asked = 0; // the stamp of that moment
    Value value = {};
};

class Mirror {
public:
    enum class Arrival { sure, open, owed }; // owed: it has not arrived, and is to be sent again

    struct Entry {
        Value value = {};
        Value before = {}; // the server's, before own writes that have not arrived for sure
        std::uint64_t stamp = 0;
        bool own = false; // the value is this process's last write
        Arrival arrival = Arrival::sure;
        bool read = false;   // this process looks there
        bool missed = false; // who was told of the value could not act on it
    };

    Entry* find(std::string_view key);
    std::uint64_t stamp() const { return stamp_; }

    // What this process has read.
    void read(std::string_view key, const Value& value);

    // An own write. False: there is no room; it cannot be made up for if it gets lost.
    bool write(const Write& write);

    // A value that somebody else has written. False: it is stale.
    bool change(const Found& found);

    // A value that was read without anybody having told of it, after a reconnect for instance.
    // True when those who follow the key are to be told. An own write that was lost is owed then.
    // `older_data`: the server may have gone back to an earlier state; `tell_new`: all that stood
    // below the followed keys is known.
    bool compare(const Found& found, bool older_data, bool tell_new);

    // The keys below are the user's: see config_user_settings().
    void set_user_settings(std::string_view prefix) { settings_ = prefix; }

    // Keys without a dot at their end. False: it was followed already, or was not.
    bool follow(std::string_view key) { return followed_.emplace(key).second; }
    bool unfollow(const std::string& key) { return followed_.erase(key) > 0; }
    bool follows(std::string_view key) const;
    bool is_named(std::string_view key); // wanted itself, not only as one of a subtree

    // Forgets what nobody needs any more; the keys that changes are to be told of, those that are
    // followed first.
    std::vector<std::string> prune();

    // The keys whose own writes are owed, which are sent now.
    std::vector<std::string> take_owed();
    const auto& entries() const { return entries_; }

private:
    Entry* keep(std::string_view key, std::size_t limit);
    void set(Entry& entry, Value value, Arrival arrival);
    bool is_lost(const Found& found, const Entry& entry, bool older_data) const;

    std::map<std::string, Entry, std::less<>> entries_;
    std::set<std::string, std::less<>> followed_;
    std::string settings_;  // empty: there are none
    std::size_t bytes_ = 0; // of all values
    std::uint64_t stamp_ = 0;
};

} // namespace host
