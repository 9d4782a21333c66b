// SPDX-License-Identifier: MIT
// The configuration database and the bus in a Redis server that several processes share.
//
// Two connections: the pipeline for commands, used synchronously with a deadline, and the
// subscriber for events, served by the loop. They live and die together:
//
//     down ---------> connecting ---------> subscribed ---------> snapshot ---------> live
//      ^   backoff,    |    both answer,      |    events come       |    compared,     |
//      |   50 ms       |    all subscriptions |    (a sentinel is    |    differences   |
//      |   to 2 s      |    acknowledged      |    written)          |    queued        |
//      +---------------+----------------------+----------------------+------------------+
//                        any failure: calls fail at once (-ENOTCONN)
//
// In "snapshot" and "live" calls are answered. Every failure goes to "down", and is one log line
// with the one about the way back; a connection is never used again after a call that timed out.
// Only "subscribed" waits for the server, within one deadline.
#pragma once

#include "host/loop/loop.h"
#include "host/redis/comparison.h"
#include "host/redis/database_address.h"
#include "host/redis/shared_store.h"

namespace host {

class RedisStore final : public Store,
                         private Deferred,
                         private CallbackEnd,
                         private PipelineOwner {
public:
    enum class State { down, connecting, subscribed, snapshot, live };

    struct Access {
        std::string name; // as the user gave it, for messages
        std::vector<Endpoint> endpoints;
        std::string password; // empty: none
        int database;
    };

    // All of it must outlive the store.
    RedisStore(Access access, ChangeDispatcher& changes, const Clock& clock, Log& log);
    RedisStore(const RedisStore&) = delete;
    RedisStore& operator=(const RedisStore&) = delete;
    ~RedisStore() override;

    // The first connection, before there is a loop. Blocks, some seconds at most. False, and why
    // in `error`, when the server cannot be used.
    bool start(std::string& error);

    int read(std::string_view key, std::string_view& value) override;
    int write(std::span<const Write> writes) override;
    int list(std::string_view prefix, std::vector<std::string>& keys) override;
    void attach(_fdloop_t& loop) override;
    void follow(std::string_view key) override;
    void unfollow(std::string_view key) override;
    int recall(std::string_view key, std::string_view& value) override;
    int publish(std::string_view name, std::string_view payload) override;

    State state() const { return state_; }

    // Compares now what is compared each minute. Nothing while the server is away.
    void compare();

private:
    enum class Verdict { good, loading, refused };

    static constexpr const char* no_answer = "it does not answer";
    static constexpr std::string_view definition_signal = "event_handler.registerEventDefinition";

    // The connection: redis_connection.cpp.
    bool open_links(std::string& error);
    void watch_links(Condition condition);
    int watch_link(const RedisLink& link, Condition condition);
    void unwatch_links();
    void continue_connecting();
    bool handshake_done(std::string& error);
    const std::string& refusal() const;
    void log_refusal(const std::string& error);
    void become_usable();
    void become_live(std::size_t changes);
    void drop(const std::string& reason);
    void drop(int error);
    void schedule_connect();
    static std::string failure_text(int error);
    Verdict check_server(std::string& error);
    Verdict check_events(bool& returned, std::string& refused_write, std::uint64_t deadline_us,
                         std::string& error);
    Verdict ask_for_events(bool takes_no_writes, std::uint64_t deadline_us, std::string& error);
    Verdict try_start(std::string& error);
    bool await_handshake(std::string& error);
    int answers(std::vector<Reply>& replies, std::uint64_t deadline_us);

    // Served by the loop.
    bool pending() const override;
    void run() override;
    void callback_ended() override;
    void write_finished(const WriteResult& result) override;
    void links_ready(bool subscriber);
    void add_events(std::vector<std::string>& events);
    void finish_comparison();
    void restore(std::span<const std::string> keys);
    void watch_for_answers();
    void note_refusal(const std::string& error);

    bool usable() const { return state_ == State::snapshot || state_ == State::live; }
    int ready() const;
    int failed_read(int error);
    void remember(std::span<const Write> writes, bool sent, bool silent);

    Access access_;
    ChangeDispatcher& changes_;
    const Clock& clock_;
    Log& log_;
    CallBudget budget_;
    RedisPipeline pipeline_{budget_, *this};
    RedisSubscriber subscriber_;
    OwnWrites own_;
    ReadAhead read_ahead_;
    ChangeFeed feed_{changes_, pipeline_, own_, read_ahead_};
    Comparison comparison_{pipeline_, subscriber_, feed_, own_};
    _fdloop_t* loop_ = nullptr;
    State state_ = State::down;
    std::size_t endpoint_ = 0; // to be tried next
    std::uint64_t delay_ms_ = 0;
    std::uint64_t lost_ms_ = 0;
    std::uint64_t live_ms_ = 0;
    std::uint64_t write_id_ = 0;
    int connect_timer_ = 0; // the next attempt, or the end of the patience with this one
    int answer_timer_ = 0;
    bool was_lost_ = false;       // and that was logged
    std::string last_refusal_;    // by a server that answers; logged once
    std::string refused_writes_;  // empty: the server takes writes
    std::string pending_refusal_; // found by the check, to be logged when that is done
    std::string server_id_;       // another one after a restart of the server
    bool server_is_new_ = false;
    bool full_logged_ = false;
    std::vector<std::string> definitions_; // of events, sent so far
    std::string value_;                    // of the last read
};

} // namespace host
