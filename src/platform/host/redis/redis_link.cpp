// SPDX-License-Identifier: MIT
#include "host/redis/redis_link.h"

#include <hiredis/sds.h>
#include <netinet/tcp.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <vector>

#include "host/base/clock.h"
#include "host/base/descriptor.h"

namespace host {
namespace {

constexpr std::size_t most_unsent = 4U << 20U;
constexpr std::size_t most_unread = 16U << 20U; // a reply that is not complete yet
constexpr int reads_at_once = 4;
constexpr std::size_t read_size = 16U << 10U; // of the library

// The library writes without MSG_NOSIGNAL: a server that dies must not take this process along.
void ignore_broken_pipes()
{
    struct sigaction now {};
    if (sigaction(SIGPIPE, nullptr, &now) == 0 && now.sa_handler == SIG_DFL) {
        now.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &now, nullptr);
    }
}

} // namespace

// The socket is made here, because the library leaves it open across exec, resolves names
// without a bound, and may leave a long path without its end.
std::unique_ptr<RedisLink> RedisLink::open(const Endpoint& endpoint, int& error)
{
    ignore_broken_pipes();
    const int family = endpoint.address.ss_family;
    Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int yes = 1;
    if (socket && family != AF_UNIX) {
        setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        setsockopt(socket.get(), SOL_SOCKET, SO_KEEPALIVE, &yes, sizeof yes);
    }
    if (!socket || (connect(socket.get(), reinterpret_cast<const sockaddr*>(&endpoint.address),
                            endpoint.size) != 0 &&
                    errno != EINPROGRESS)) {
        error = -errno;
        return nullptr;
    }
    redisContext* const context = redisConnectFd(socket.get());
    if (context == nullptr) {
        error = -ENOMEM;
        return nullptr;
    }
    socket.release();
    context->flags &= ~REDIS_BLOCK;
    return std::unique_ptr<RedisLink>(new RedisLink(context));
}

int RedisLink::connected() const
{
    pollfd wait{descriptor(), POLLOUT, 0};
    if (poll(&wait, 1, 0) <= 0)
        return -EINPROGRESS;
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(descriptor(), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return -errno;
    return -error;
}

void RedisLink::append(std::span<const std::string_view> words)
{
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const std::string_view word : words) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    // Fails without memory only; the link then has its error, which the next flush reports.
    redisAppendCommandArgv(context_.get(), static_cast<int>(texts.size()), texts.data(),
                           lengths.data());
}

int RedisLink::failure() const
{
    switch (context_->err) {
    case REDIS_ERR_IO:
        return errno != 0 ? -errno : -EIO;
    case REDIS_ERR_EOF:
        return -ECONNRESET;
    case REDIS_ERR_OOM:
        return -ENOMEM;
    default:
        return -EPROTO;
    }
}

bool RedisLink::unsent() const
{
    return sdslen(context_->obuf) > 0;
}

int RedisLink::flush()
{
    if (context_->err != 0)
        return failure();
    if (!unsent())
        return 0;
    int done = 0;
    if (redisBufferWrite(context_.get(), &done) != REDIS_OK) {
        const int error = failure();
        if (error == -EPIPE || error == -ECONNRESET)
            context_->err = 0; // what it said before it hung up can still be received
        return error;
    }
    return done != 0 || sdslen(context_->obuf) <= most_unsent ? 0 : -EMSGSIZE;
}

int RedisLink::receive()
{
    for (int i = 0; i < reads_at_once; ++i) {
        const std::size_t before = context_->reader->len;
        if (redisBufferRead(context_.get()) != REDIS_OK)
            return failure();
        if (context_->reader->len - before < read_size)
            break; // all that there was
    }
    return context_->reader->len <= most_unread ? 0 : -EMSGSIZE;
}

Reply RedisLink::next(int& error)
{
    void* reply = nullptr;
    error = 0;
    if (redisGetReplyFromReader(context_.get(), &reply) != REDIS_OK)
        error = -EPROTO;
    return Reply(static_cast<redisReply*>(reply));
}

int RedisLink::wait(std::uint64_t deadline_us)
{
    while (true) {
        if (const int error = flush(); error != 0)
            return error;
        const std::uint64_t now = machine_us();
        if (now >= deadline_us)
            return -ETIMEDOUT;
        const std::uint64_t left_ms = (deadline_us - now + 999U) / 1000U;
        const short events = static_cast<short>(unsent() ? POLLIN | POLLOUT : POLLIN);
        pollfd wait{descriptor(), events, 0};
        const int count =
            poll(&wait, 1, static_cast<int>(std::min<std::uint64_t>(left_ms, INT_MAX)));
        if (count < 0 && errno != EINTR)
            return -errno;
        if (count > 0 && (wait.revents & ~POLLOUT) != 0)
            return receive();
    }
}

} // namespace host
