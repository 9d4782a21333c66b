// SPDX-License-Identifier: MIT
// Compares every followed key with what was last seen of it, and every key that this process
// wrote with what it wrote: after a reconnect, after new registrations, and now and then, since
// some changes have no event (a flushed database) or lose theirs.
//
//   listing ---> reading ---> finished
//
// Each step is one bounded round trip, so that a large database does not hold up the loop. A
// difference counts as a change only when, after a fence on the subscriber, no event of that
// key is on its way: that event will be delivered itself.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/redis/change_feed.h"
#include "host/redis/redis_subscriber.h"

namespace host {

class Comparison {
public:
    // What is to be done about what was found.
    struct Result {
        std::vector<std::pair<std::string, SeenValue>> changes; // to be delivered
        std::vector<std::string> lost; // keys of own writes, to be written again
    };

    // All must outlive the comparison.
    Comparison(RedisPipeline& pipeline, RedisSubscriber& subscriber, ChangeFeed& feed,
               OwnWrites& own)
        : pipeline_(pipeline), subscriber_(subscriber), feed_(feed), own_(own)
    {
    }

    // `reconnected`: a key without an earlier value is a change, not a beginning.
    // `older_data`: the server has been started again, and may have less than it had.
    // One that runs is begun afresh.
    void begin(bool reconnected, bool older_data);
    void stop() { phase_ = Phase::idle; }
    bool running() const { return phase_ != Phase::idle; }

    // One step. 0, or a negative errno: the connection must be closed then.
    int step(std::uint64_t deadline_us);

    // True when nothing is left to do but finish().
    bool complete() const { return phase_ == Phase::finishing; }

    // To be called right after a fence; ends the comparison.
    Result finish();

private:
    enum class Phase { idle, listing, reading, finishing };
    struct Candidate {
        std::string key;
        SeenValue value;
        std::size_t seen; // when it was read
    };
    struct Suspect {
        std::string key;
        std::uint64_t id;
    };

    int list_some(std::uint64_t deadline_us);
    void gather_keys();
    int read_some(std::uint64_t deadline_us);
    void look(const std::string& key, SeenValue value);
    bool is_lost(const std::string& key, const SeenValue& found);

    RedisPipeline& pipeline_;
    RedisSubscriber& subscriber_;
    ChangeFeed& feed_;
    OwnWrites& own_;
    Phase phase_ = Phase::idle;
    bool reconnected_ = false;
    bool older_data_ = false;
    std::string cursor_;
    std::vector<std::string> keys_;
    std::size_t next_ = 0;
    std::vector<Candidate> candidates_;
    std::vector<Suspect> suspects_;
};

} // namespace host
