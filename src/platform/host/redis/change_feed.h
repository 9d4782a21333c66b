// SPDX-License-Identifier: MIT
// From events to changes. An event names a key and carries no value: the value is read when the
// change is about to be delivered, with one round trip for all events that wait.
//
// So the last change of a key always shows what was in it after its event. An earlier one of
// this process's own writes carries the value of that write; an earlier one of somebody else
// shows the later value too.
//
// Memory is bounded: when too many events wait, only the last of each key is kept; when even
// those are too many, all are dropped, and a comparison of all keys has to find the changes.
#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/config/change_dispatcher.h"
#include "host/redis/own_writes.h"
#include "host/redis/read_ahead.h"
#include "host/redis/redis_pipeline.h"

namespace host {

// A value of the database as it is read for deliveries and comparisons: its first KiB. A
// missing key, an empty value and a value that is no string are all nothing.
using SeenValue = std::optional<std::string>;

void ask_seen_value(RedisPipeline& pipeline, std::string_view key);
SeenValue seen_value(const redisReply& reply);
SeenValue seen_value(const OwnWrites::Value& value); // as it would be read

// Whole values, as callers read them: two answers for each. A missing key is not an empty value.
void ask_value(RedisPipeline& pipeline, std::string_view key);
ReadAhead::Answer value_answer(const redisReply& found, const redisReply& exists);

// A negative errno when an answer is another error than that of a value that is no string: the
// server loads its data, or lets us read no more. Nothing may be concluded from it then.
int refused_read(std::span<const Reply> replies);

class ChangeFeed {
public:
    static constexpr std::size_t most_waiting = 4096;

    // All must outlive the feed.
    ChangeFeed(ChangeDispatcher& changes, RedisPipeline& pipeline, OwnWrites& own,
               ReadAhead& read_ahead)
        : changes_(changes), pipeline_(pipeline), own_(own), read_ahead_(read_ahead)
    {
    }

    // Takes the keys of arrived events. False: events were dropped.
    bool add(std::vector<std::string>& keys);

    bool waiting() const { return !waiting_.empty(); }
    std::unordered_set<std::string_view> waiting_keys() const; // valid until the next call
    void forget_waiting() { waiting_.clear(); }

    // Reads the values of some of the waiting events, and queues the changes. 0, or a negative
    // errno: the pipeline must be closed then.
    int settle(std::uint64_t deadline_us);

    // Queues changes that no event told of, in one batch.
    void deliver(std::span<const std::pair<std::string, SeenValue>> changes);

    // What was last delivered, or found there before anything was: a hash, 0 for nothing.
    std::size_t last_seen(const std::string& key) const;
    static std::size_t hash(const SeenValue& value);
    void set_seen(const std::string& key, const SeenValue& value);

    // Whatever is in the key now is a change for the next comparison.
    void doubt(const std::string& key);

    const std::unordered_map<std::string, std::size_t>& seen() const { return seen_; }

private:
    using Values = std::unordered_map<std::string_view, SeenValue>;
    void fold();
    void queue(std::span<const std::string> keys, const Values& values);

    ChangeDispatcher& changes_;
    RedisPipeline& pipeline_;
    OwnWrites& own_;
    ReadAhead& read_ahead_;
    std::deque<std::string> waiting_; // keys, in the order of their events
    std::unordered_map<std::string, std::size_t> seen_;
};

} // namespace host
