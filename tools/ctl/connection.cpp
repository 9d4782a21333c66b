// SPDX-License-Identifier: MIT
#include "connection.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "output.h"

namespace ctl {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds connect_limit = 3s;
constexpr std::chrono::milliseconds no_limit = -1ms;

} // namespace

Connection::~Connection()
{
    if (fd_ >= 0)
        close(fd_);
}

void Connection::complain(std::string_view about) const
{
    ctl::complain(name_ + ": " + std::string(about));
}

void Connection::complain_of_silence() const
{
    complain("no answer within " + std::to_string(patience_.count()) + " s");
}

// False when the time is over.
bool Connection::wait_for(short events, std::chrono::milliseconds limit) const
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + limit;
    for (;;) {
        auto left = no_limit;
        if (limit != no_limit)
            left = std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()));
        pollfd peer{fd_, events, 0};
        const int ready = poll(&peer, 1, static_cast<int>(left.count()));
        if (ready >= 0 || errno != EINTR)
            return ready != 0; // an error is told by the call that was waited for
    }
}

bool Connection::connect_to(const sockaddr_in& peer)
{
    fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd_ < 0)
        return false;
    const int yes = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes); // refused, it is only slower
    if (connect(fd_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0)
        return true;
    if (errno != EINPROGRESS)
        return false;
    if (!wait_for(POLLOUT, connect_limit)) {
        errno = ETIMEDOUT;
        return false;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return false;
    errno = error;
    return error == 0;
}

bool Connection::open(const Address& address)
{
    name_ = address.host + ", port " + std::to_string(address.port);
    const char* const number = address.host == "localhost" ? "127.0.0.1" : address.host.c_str();
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(address.port);
    if (inet_pton(AF_INET, number, &peer.sin_addr) != 1) {
        complain("write an IPv4 address");
        return false;
    }
    if (!connect_to(peer)) {
        const std::string hint = errno == ECONNREFUSED ? "; is power_man running?" : "";
        complain("cannot connect: " + std::string(std::strerror(errno)) + hint);
        return false;
    }
    const Received received = await_text(first_words_, Wait::patiently);
    if (received == Received::silence)
        complain_of_silence();
    if (received == Received::end)
        complain("refused: the console lets in root and the daemon's own user");
    return received == Received::text;
}

bool Connection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return true;
        } else if (errno == EAGAIN) {
            if (!wait_for(POLLOUT, patience_)) {
                complain_of_silence();
                return false;
            }
        } else if (errno != EINTR) {
            complain("cannot send: " + std::string(std::strerror(errno)));
            return false;
        }
    }
    return true;
}

Connection::Received Connection::receive(std::string& text, Wait wait)
{
    if (first_words_.empty())
        return await_text(text, wait);
    text += std::exchange(first_words_, {});
    return Received::text;
}

Connection::Received Connection::receive_now(std::string& text)
{
    if (first_words_.empty())
        return read(text);
    text += std::exchange(first_words_, {});
    return Received::text;
}

Connection::Received Connection::await_text(std::string& text, Wait wait)
{
    const std::size_t before = text.size();
    Received received = Received::text;
    while (received == Received::text && text.size() == before) { // commands alone are no text
        if (!wait_for(POLLIN, wait == Wait::patiently ? patience_ : no_limit))
            return Received::silence;
        received = read(text);
    }
    return received;
}

Connection::Received Connection::read(std::string& text)
{
    std::array<char, 16384> bytes;
    const ssize_t length = recv(fd_, bytes.data(), bytes.size(), 0);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return Received::text;
    if (length <= 0)
        return Received::end;
    telnet_.decode({bytes.data(), static_cast<std::size_t>(length)}, text);
    return Received::text;
}

} // namespace ctl
