// SPDX-License-Identifier: MIT
// One connection to a Redis server. No call here blocks, except wait(), and that only up to an
// absolute time: a server that is stopped, or that sends byte by byte, costs no more.
//
// After any error other than a plain "not yet" the link is of no use any more: what arrives
// later would answer earlier commands. Its owner closes it and opens another.
#pragma once

#include <hiredis/hiredis.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "host/redis/database_address.h"

namespace host {

struct FreeReply {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using Reply = std::unique_ptr<redisReply, FreeReply>;

inline std::string_view text_of(const redisReply& reply)
{
    return reply.str == nullptr ? std::string_view() : std::string_view(reply.str, reply.len);
}
inline bool is_error(const redisReply& reply)
{
    return reply.type == REDIS_REPLY_ERROR;
}

class RedisLink {
public:
    // Begins to connect. Null, and a negative errno in `error`, when that fails at once.
    static std::unique_ptr<RedisLink> open(const Endpoint& endpoint, int& error);

    int descriptor() const { return context_->fd; }

    // 0 once connected, -EINPROGRESS before, or why it failed.
    int connected() const;

    // Puts a command behind the others; flush() sends them.
    void append(std::span<const std::string_view> words);
    void append(std::initializer_list<std::string_view> words)
    {
        append(std::span(words.begin(), words.size()));
    }

    // Sends what the kernel takes now. 0, also when something is left; -EMSGSIZE when so much is
    // left that nobody can be reading. After -EPIPE or -ECONNRESET there may be last words to be
    // received.
    int flush();
    bool unsent() const;

    // Takes what has arrived, a bounded piece of it. 0, also when there was nothing.
    int receive();

    // The next complete reply, null when there is none; -EPROTO in `error` for nonsense.
    Reply next(int& error);

    // Flushes and waits until something has arrived, and takes it. -ETIMEDOUT at the deadline
    // (microseconds of the machine's clock).
    int wait(std::uint64_t deadline_us);

private:
    struct FreeContext {
        void operator()(redisContext* context) const { redisFree(context); }
    };

    explicit RedisLink(redisContext* context) : context_(context) {}
    int failure() const;

    std::unique_ptr<redisContext, FreeContext> context_; // owns the socket
};

} // namespace host
