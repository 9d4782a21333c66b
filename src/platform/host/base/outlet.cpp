// SPDX-License-Identifier: MIT
#include "host/base/outlet.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

namespace host {
namespace {

// What a descriptor that is ready takes without a wait, by poll()'s promise for pipes; a terminal
// is ready as soon as it has room for a byte, and has at least 256 then. Line feeds may take two.
constexpr std::size_t pipe_piece = PIPE_BUF;
constexpr std::size_t terminal_piece = 128;

bool is_ready(int fd)
{
    pollfd receiver{fd, POLLOUT, 0};
    return poll(&receiver, 1, 0) == 1 && (receiver.revents & POLLOUT) != 0;
}

bool wants_carriage_returns(int fd)
{
    constexpr tcflag_t adds_them = OPOST | ONLCR;
    termios modes{};
    return tcgetattr(fd, &modes) == 0 && (modes.c_oflag & adds_them) != adds_them;
}

std::string with_carriage_returns(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\n' && !result.ends_with('\r'))
            result += '\r';
        result += c;
    }
    return result;
}

} // namespace

std::size_t write_ready(int fd, std::string_view text)
{
    const std::size_t piece = isatty(fd) == 1 ? terminal_piece : pipe_piece;
    std::size_t out = 0;
    while (out < text.size() && is_ready(fd)) {
        const std::string_view part = text.substr(out, piece);
        const ssize_t written = ::write(fd, part.data(), part.size());
        if (written <= 0)
            break;
        out += static_cast<std::size_t>(written);
    }
    return out;
}

bool Outlet::put(const std::string& text)
{
    const std::size_t out = write_ready(fd_, text);
    if (out > 0)
        inside_line_ = text[out - 1] != '\n';
    return out == text.size();
}

bool Outlet::write(std::string_view text, std::string_view mark)
{
    const bool returns = wants_carriage_returns(fd_);
    const auto form = [returns](std::string_view lines) {
        return returns ? with_carriage_returns(lines) : std::string(lines);
    };
    const std::string notice = (inside_line_ ? "\n" : "") + std::string(mark) +
                               std::to_string(dropped_) + " lines were dropped\n";
    if (dropped_ > 0 && put(form(notice)))
        dropped_ = 0;
    if (dropped_ == 0 && put(form(text)))
        return true;
    dropped_ += static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
    return false;
}

} // namespace host
