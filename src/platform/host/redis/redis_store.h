// SPDX-License-Identifier: MIT
// The configuration database and the bus in a Redis server that several processes share.
//
// This process keeps a mirror of what it follows or has read. Two connections keep it true: the
// server tells on one of them (`messages_`) which keys others have changed; commands go out on
// the other (`commands_`), pipelined at the end of each callback.
//
//              connect()         both have greeted us          finish(): all has been read
//     down ---------------> connecting ---------> synchronising -------------------> live
//      ^  after 50 to 200 ms    |                      |                              |
//      +------------------------+-- any failure: drop() ------------------------------+
//
// To synchronise: begin to track, list the keys, read those that are mirrored or followed a piece
// at a time, compare, tell all differences together, write again what was lost. The same happens
// within "live" when other keys are to be tracked, or the database was flushed.
//
// A change of others: its key waits, is read together with the others that wait, and is told. The
// next are read when these have been delivered, those that are wanted by their own name first: what
// waits is never more than the keys that there are, and no flood is before heat.
//
// At the start everything is tracked, and a database of usual size read in one go: the many first
// reads cost no round trips. A connection that is lost while one of them waits ends the process.
#pragma once

#include <array>

#include "host/base/endpoint.h"
#include "host/config/mirror.h"
#include "host/loop/loop.h"
#include "host/redis/connection.h"
#include "host/redis/prefixes.h"
#include "host/redis/shared_store.h"
#include "host/redis/waiting_keys.h"

namespace host {

class RedisStore final : public Store, private Deferred, private CallbackEnd {
public:
    // How long the loop may be held up: by each call, and by all that begin in one callback.
    static constexpr std::uint64_t call_us = 250'000;
    static constexpr std::uint64_t callback_us = 750'000;
    static constexpr std::uint64_t start_us = 10'000'000; // by the start: nobody waits yet

    enum class State { down, connecting, synchronising, live };

    struct Access {
        std::string name; // as the user gave it, for messages
        std::vector<Endpoint> endpoints;
        std::string database; // its number
        std::string password; // empty: none
        GiveUp give_up;
    };

    // All of it must outlive the store.
    RedisStore(Access access, ChangeDispatcher& changes, Clock& clock, Log& log);
    RedisStore(const RedisStore&) = delete;
    RedisStore& operator=(const RedisStore&) = delete;
    ~RedisStore() override;

    // The first connection. Blocks, some seconds at most. False, and why, when it cannot be used.
    bool start(std::string& error);

    int read(std::string_view key, std::string_view& value) override;
    int look(std::span<const std::string> keys, std::vector<Value>& values) override;
    int write(std::span<const Write> writes) override;
    int list(std::string_view prefix, std::vector<std::string>& keys) override;
    void attach(_fdloop_t& loop) override;
    void follow(std::string_view key) override;
    void unfollow(std::string_view key) override;
    bool is_away() const override { return lost_ms_ != 0; }
    void set_user_settings(std::string_view prefix) override { mirror_.set_user_settings(prefix); }
    void repeat(std::string_view signal) override { repeated_.emplace(signal); }
    int publish(std::string_view name, std::string_view payload) override;

    State state() const { return state_; }

private:
    static constexpr std::size_t keys_at_once = 512; // of one round trip
    static constexpr std::string_view page_size = "1024";
    static constexpr std::size_t most_prefixes = 256; // each costs the server time at all writes
    static void ignore(const Reply&) {}

    enum class Phase { connecting, preparing, running }; // of the process
    struct Link : Connection {
        std::optional<Condition> watched = {}; // by the loop
    };

    // What callers want: redis_store.cpp.
    bool usable() const { return state_ == State::synchronising || state_ == State::live; }
    int ready() const;
    int wait_for(const Connection::Words& words, const Connection::Handler& handler);
    void send(std::span<const Write> writes);
    void send_owed();
    void settle();

    // The connections: redis_connection.cpp.
    void connect();
    void greeted(const Reply& reply);
    void refuse(const std::string& what, const Reply& reply);
    void become_live(std::size_t changes);
    void drop(const std::string& why, bool refused = false);
    void drop(int error); // nothing at 0
    void look_at(Link& link);
    void look_at_both();
    void look_later(bool soon);
    void serve(Link& link);
    void callback_ended() override;
    void log(int level, const std::string& what) const;

    // What keeps the mirror true: redis_mirroring.cpp.
    bool track(std::string_view key);
    void begin_tracking(const Prefixes::Set& prefixes, bool afresh);
    void synchronise();
    bool changes_wait() const;
    bool pending() const override;
    void run() override;
    void ask_changes();
    void ask(std::span<Found> found, void (RedisStore::*done)());
    void take_values(Reply& reply, std::size_t count, std::vector<Value>& values);
    std::string take_cursor(Reply& page);
    void take_page(Reply& page);
    void take_changes();
    void finish();
    void told(const Reply& message);

    Access access_;
    ChangeDispatcher& changes_;
    Clock& clock_;
    Log& log_;
    Mirror mirror_;
    Link commands_;
    Link messages_;
    const std::array<Link*, 2> both_ = {&commands_, &messages_};
    _fdloop_t* loop_ = nullptr;
    Phase phase_ = Phase::connecting;
    State state_ = State::down;
    bool complete_ = false;     // every key of the server is in the mirror; while preparing only
    std::uint64_t used_us_ = 0; // of the callback's budget
    Value value_;               // of the last read

    Prefixes tracked_;
    WaitingKeys named_;        // have changed
    WaitingKeys below_;        // the same, wanted only as parts of a subtree
    std::vector<Found> told_;  // of them, being read
    bool busy_ = false;        // waits for a page, or for values
    bool synchronise_ = false; // as soon as may be
    bool synchronising_ = false;
    std::string cursor_;       // of the next page; empty: there is none
    std::vector<Found> found_; // by the synchronisation
    std::size_t next_ = 0;     // of them, to be asked for
    bool older_data_ = false;  // see Mirror::compare()
    bool tell_new_ = false;
    bool newcomers_ = false; // are followed: not everything below them is known

    bool refusing_ = false; // the server, what is written
    std::size_t refusals_ = 0;
    bool sending_owed_ = false;
    std::set<std::string, std::less<>> repeated_;           // signals
    std::vector<std::pair<std::string, std::string>> sent_; // of them, with their payloads

    std::string client_id_;     // of the connection for messages
    std::string server_id_;     // another one after a restart of the server
    std::string failure_;       // of the last connection
    std::size_t greetings_ = 0; // that are to come
    std::size_t attempts_ = 0;
    std::uint64_t lost_ms_ = 0; // 0: it is not lost, or that was not logged yet
    std::uint64_t looked_us_ = 0;
    int look_timer_ = 0;
    bool look_soon_ = false; // the timer's, since an answer is wanted
};

} // namespace host
