// SPDX-License-Identifier: MIT
#include "host/shell/listing.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "host/base/outlet.h"

namespace host {
namespace {

constexpr char interrupt_key = '\x03';
constexpr unsigned char telnet_command = 0xff; // with two bytes behind it, which mean no key
constexpr std::size_t most_inserted = 16 * 1024;

std::string with_line_ends(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

bool is_gone(int fd)
{
    pollfd receiver{fd, 0, 0};
    return poll(&receiver, 1, 0) == 1 && receiver.revents != 0;
}

} // namespace

Listing::Listing(_fdloop_t& loop, int connection, std::string_view first, Source source,
                 std::string closing, std::function<void()> ended)
    : loop_(loop), connection_(connection), source_(std::move(source)),
      closing_(std::move(closing)), ended_(std::move(ended)), text_(with_line_ends(first))
{
}

int Listing::start()
{
    const int fd = connection_ >= 0 ? connection_ : STDOUT_FILENO;
    output_ = Descriptor(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!output_)
        return -errno;
    const int error = loop_.add(output_.get(), Condition::output, on_ready, this);
    if (error == -EPERM)
        timer_ = loop_.add_timer(0, on_turn, this);
    else if (error != 0)
        return error;
    loop_.suspend(connection_); // standard output has none
    return 0;
}

void Listing::finish()
{
    if (!output_)
        return;
    if (timer_ != 0)
        loop_.remove_timer(timer_);
    loop_.remove(output_.get(), Condition::output);
    close(output_.release());
    loop_.resume(connection_);
}

// What has been typed on the connection so far, up to ^C, is taken away with it.
bool Listing::take_interrupt() const
{
    std::array<char, 4096> typed;
    const ssize_t length = recv(connection_, typed.data(), typed.size(), MSG_PEEK | MSG_DONTWAIT);
    for (ssize_t i = 0; i < length; ++i) {
        const char byte = typed[static_cast<std::size_t>(i)];
        if (static_cast<unsigned char>(byte) == telnet_command)
            i += 2;
        else if (byte == interrupt_key)
            return recv(connection_, typed.data(), static_cast<std::size_t>(i) + 1, MSG_DONTWAIT) >
                   0;
    }
    return false;
}

void Listing::insert(std::string_view lines)
{
    if (text_.size() + lines.size() > most_inserted)
        return;
    if (source_)
        text_ += lines; // which ends with a line's end
    else
        text_.append("\r\n").append(lines).append(closing_);
}

void Listing::interrupt()
{
    if (!source_)
        return; // the end is on its way
    source_ = nullptr;
    text_ = "^C\r\n" + closing_;
}

void Listing::write_piece()
{
    if (connection_ >= 0 && take_interrupt())
        interrupt();
    if (text_.empty()) {
        std::string next;
        const bool more = source_(next);
        text_ = with_line_ends(next);
        if (!more) {
            source_ = nullptr;
            text_ += closing_;
        }
    }
    const std::size_t written = write_ready(output_.get(), text_);
    text_.erase(0, written);
    if ((text_.empty() && !source_) || (written == 0 && is_gone(output_.get()))) {
        finish();
        ended_();
    }
}

int Listing::on_ready(int, void* self)
{
    static_cast<Listing*>(self)->write_piece();
    return 0;
}

int Listing::on_turn(void* self)
{
    auto& listing = *static_cast<Listing*>(self);
    listing.write_piece();
    listing.timer_ = listing.running() ? listing.loop_.add_timer(0, on_turn, self) : 0;
    return 0;
}

} // namespace host
