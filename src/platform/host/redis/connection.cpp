// SPDX-License-Identifier: MIT
#include "host/redis/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "host/base/clock.h"

namespace host {
namespace {

constexpr std::size_t most_unsent = 16U << 20U;
constexpr std::size_t read_size = 16U << 10U;
constexpr int reads_at_once = 64; // a flood must not hide what is behind it

} // namespace

void Connection::ask(const Words& words, Handler handler, Wanted wanted)
{
    output_.append("*").append(std::to_string(words.size())).append("\r\n");
    for (const std::string_view word : words) {
        output_.append("$").append(std::to_string(word.size())).append("\r\n");
        output_.append(word).append("\r\n");
    }
    wanted_ += wanted == Wanted::now ? 1 : 0;
    asked_.push_back({std::move(handler), machine_us(), wanted});
}

int Connection::flush()
{
    if (output_.empty())
        return 0;
    const int flags = MSG_NOSIGNAL | MSG_DONTWAIT;
    const ssize_t sent = send(descriptor(), output_.data(), output_.size(), flags);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) {
        const int error = -errno;
        const int said = take(); // one that hangs up may have said why
        return said != 0 ? said : error;
    }
    output_.erase(0, static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    return output_.size() <= most_unsent ? 0 : -EMSGSIZE;
}

int Connection::receive()
{
    std::array<char, read_size> bytes;
    for (int i = 0; i < reads_at_once; ++i) {
        const ssize_t length = recv(descriptor(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (length < 0)
            return errno == EAGAIN || errno == EINTR ? 0 : -errno;
        if (length == 0)
            return -ECONNRESET;
        heard_us_ = machine_us();
        reader_.feed({bytes.data(), static_cast<std::size_t>(length)});
        if (static_cast<std::size_t>(length) < bytes.size())
            break; // all that there was
    }
    return 0;
}

int Connection::take()
{
    const int received = socket_ ? receive() : 0;
    Reply reply;
    ReplyReader::Step step = reader_.next(reply);
    for (; step == ReplyReader::Step::complete; step = reader_.next(reply)) {
        const bool message = !reply.elements.empty() && reply.elements.front().text == "message";
        if (!message && asked_.empty())
            return -EPROTO; // an answer to nothing
        Handler handler = message_;
        if (!message) {
            handler = std::move(asked_.front().handler);
            wanted_ -= asked_.front().wanted == Wanted::now ? 1 : 0;
            asked_.pop_front();
        }
        handler(reply);
        if (!socket_)
            return 0; // closed by it
    }
    return step == ReplyReader::Step::nonsense ? -EPROTO : received;
}

int Connection::wait(std::uint64_t deadline_us)
{
    if (const int error = flush(); error != 0)
        return error;
    const std::uint64_t now = machine_us();
    if (now >= deadline_us)
        return -ETIMEDOUT;
    const int left_ms = static_cast<int>((deadline_us - now + 999U) / 1000U);
    pollfd ready{descriptor(), static_cast<short>(unsent() ? POLLIN | POLLOUT : POLLIN), 0};
    const int count = poll(&ready, 1, left_ms);
    if (count < 0 && errno != EINTR)
        return -errno;
    return count > 0 && (ready.revents & ~POLLOUT) != 0 ? take() : 0;
}

bool Connection::is_late(std::uint64_t patience_us) const
{
    return !asked_.empty() &&
           machine_us() - std::max(asked_.front().time_us, heard_us_) >= patience_us;
}

} // namespace host
