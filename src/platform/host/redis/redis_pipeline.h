// SPDX-License-Identifier: MIT
// The connection for commands. What is written or published goes out in order, at the end of
// the loop's callback or with the next question, whichever comes first: a question travels in
// the same round trip as the writes before it, and sees them.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "host/config/store.h"
#include "host/redis/call_budget.h"
#include "host/redis/redis_link.h"

namespace host {

// What became of a write.
struct WriteResult {
    std::uint64_t id;
    std::string_view error;                 // the server's words; empty: done
    bool stored;                            // something was set, not only removed
    std::span<const std::string> not_there; // keys whose removal changed nothing
};

class PipelineOwner {
public:
    virtual ~PipelineOwner() = default;
    virtual void write_finished(const WriteResult& result) = 0;
};

class RedisPipeline {
public:
    // Both must outlive the pipeline.
    RedisPipeline(CallBudget& budget, PipelineOwner& owner) : budget_(budget), owner_(owner) {}

    // Takes a link that is being opened, and says who we are on it; `password` may be empty.
    void open(std::unique_ptr<RedisLink> link, const std::string& password, int database);
    void close();
    RedisLink* link() { return link_.get(); }

    // The writes take effect together, or not at all; the owner is told about `id`.
    void write(std::uint64_t id, std::span<const Write> writes);
    void publish(std::string_view channel, std::string_view payload);

    // Asks; answers() flushes and waits for the replies to all that was asked since. A negative
    // errno when they do not come: the pipeline must be closed then. An answer may be an error.
    void ask(std::initializer_list<std::string_view> words);
    int answers(std::vector<Reply>& replies, std::uint64_t deadline_us);

    int flush() { return link_ ? link_->flush() : -ENOTCONN; }
    bool unsent() const { return link_ && link_->unsent(); }

    // Takes replies that have arrived, without waiting. 0 or a negative errno.
    int take();

    bool outstanding() const { return !sent_.empty(); }
    std::uint64_t oldest_us() const { return sent_.front().time_us; } // when it was appended

    // The last answer that was an error, in the server's words.
    const std::string& last_error() const { return last_error_; }

    // Why the server refused us at the opening; empty when it did not.
    const std::string& refusal() const { return refusal_; }

private:
    enum class Kind { opening, queued, write, signal, question };
    struct Sent {
        Kind kind;
        std::uint64_t time_us;
        std::uint64_t id = 0;
        bool sets = false;
        std::vector<std::string> removed = {}; // in order
    };

    void append(Sent sent, std::span<const std::string_view> words);
    int handle_replies(std::vector<Reply>* replies);
    void handle(const Sent& sent, const redisReply& reply);
    void finish_write(const Sent& sent, const redisReply& reply);

    CallBudget& budget_;
    PipelineOwner& owner_;
    std::unique_ptr<RedisLink> link_;
    std::deque<Sent> sent_;
    std::size_t questions_ = 0; // not yet answered
    std::string queue_error_;   // of a command inside the group that is being answered
    std::string refusal_;
    std::string last_error_;
};

// Asks for one page of a listing of all keys; the cursor is "0" for the first.
void ask_keys(RedisPipeline& pipeline, std::string_view cursor);

// The names on that page, a part of the answer, and the cursor of the next page, "0" behind the
// last. Null when the server refuses. A listing may name a key twice.
const redisReply* take_keys(const redisReply& reply, std::string& cursor);

} // namespace host
