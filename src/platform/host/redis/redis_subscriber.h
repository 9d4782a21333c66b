// SPDX-License-Identifier: MIT
// The connection for events: which keys are followed, and which arriving message counts.
//
// A followed key K takes two subscriptions, one to the key's channel and one to the pattern of
// everything below it. A write may so arrive several times, when "a" and "a.b" are followed:
// only the message of the broadest acknowledged subscription that covers the key counts.
// Acknowledgements arrive in line with the messages, so that nothing is counted twice or not
// at all while subscriptions come and go.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/redis/call_budget.h"
#include "host/redis/redis_link.h"

namespace host {

class RedisSubscriber {
public:
    // `budget` must outlive the subscriber.
    RedisSubscriber(CallBudget& budget, int database);

    // Takes a link that is being opened, says who we are, and asks for every followed key.
    void open(std::unique_ptr<RedisLink> link, const std::string& password);
    void close();
    RedisLink* link() { return link_.get(); }

    // A key without a dot at its end. Asks the server again when it is followed already. What
    // stood in it at that time becomes known with remember_all().
    void follow(std::string_view key);
    void unfollow(std::string_view key);

    enum class Coverage {
        none,
        unknown, // only by keys that came after the last remember_all(): there is no earlier value
        known
    };
    Coverage coverage(std::string_view key) const;
    void remember_all();
    const auto& followed() const { return followed_; }

    // Takes what has arrived, a bounded piece of it, without waiting; appends the keys of the
    // events that count. 0, or a negative errno: the subscriber must be closed then.
    int take(std::vector<std::string>& events);

    // Waits until everything asked so far is acknowledged; all that was written before this
    // call has its events in `events` then. As take(); -ETIMEDOUT at the deadline.
    int fence(std::vector<std::string>& events, std::uint64_t deadline_us);

    // Nothing is unacknowledged.
    bool settled() const { return awaited_ == 0; }
    std::uint64_t asked_us() const { return asked_us_; } // when the last thing was asked

    // The key whose events are only noted here, to see whether the server tells of writes.
    const std::string& sentinel() const { return sentinel_; }
    bool sentinel_returned() const { return sentinel_set_ && sentinel_removed_; }
    void forget_sentinel() { sentinel_set_ = sentinel_removed_ = false; }

    // Why the server refused something; empty when it did not.
    const std::string& refusal() const { return refusal_; }

private:
    struct Followed {
        bool channel_acknowledged = false;
        bool pattern_acknowledged = false;
        bool value_known = false; // see remember_all()
    };

    std::string channel(std::string_view key) const { return prefix_ + std::string(key); }
    std::string pattern(std::string_view key) const;
    void ask(std::initializer_list<std::string_view> words);
    int handle_replies(std::vector<std::string>& events);
    void handle(const redisReply& reply, std::vector<std::string>& events);
    void acknowledge(std::string_view kind, std::string_view name);
    void arrive(std::string_view pattern, std::string_view channel, std::string_view event,
                std::vector<std::string>& events);
    bool counts(std::string_view key, std::string_view pattern) const;

    CallBudget& budget_;
    std::string prefix_; // of the channels of keys
    std::string sentinel_;
    std::unique_ptr<RedisLink> link_;
    std::map<std::string, Followed, std::less<>> followed_;
    std::map<std::string, std::string, std::less<>> keys_of_patterns_;
    std::size_t awaited_ = 0; // acknowledgements
    std::uint64_t asked_us_ = 0;
    std::string refusal_;
    bool sentinel_set_ = false;
    bool sentinel_removed_ = false;
};

} // namespace host
