// SPDX-License-Identifier: MIT
#include "console/standard_output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <string>

#include "console/fdloop_telnetd.h"

namespace {

// What standard output takes without a wait when it is ready: poll() promises it for pipes; a
// terminal is ready with room for one byte, and has at least 256 then. Each piece may grow by one.
constexpr std::size_t pipe_piece = PIPE_BUF - 1;
constexpr std::size_t terminal_piece = 128;

std::size_t dropped = 0; // lines

bool is_ready()
{
    pollfd receiver{STDOUT_FILENO, POLLOUT, 0};
    return poll(&receiver, 1, 0) == 1 && (receiver.revents & POLLOUT) != 0;
}

// The beginning of the text up to a line's end, no longer than that; a line end of two bytes stays
// whole.
std::string_view first_piece(std::string_view text, std::size_t longest)
{
    const std::size_t line = std::min(text.find('\n'), text.size() - 1) + 1;
    std::size_t length = std::min(line, longest);
    if (length < line && text[length - 1] == '\r')
        --length;
    return text.substr(0, length);
}

// The bytes written; takes what is out off the text.
int write_pieces(std::string_view& text)
{
    const std::size_t longest = isatty(STDOUT_FILENO) == 1 ? terminal_piece : pipe_piece;
    int total = 0;
    while (!text.empty() && is_ready()) {
        const std::string_view piece = first_piece(text, longest);
        const int length = static_cast<int>(piece.size());
        const int written = fdputs(STDOUT_FILENO, piece.data(), length);
        if (written < length)
            break;
        total += written;
        text.remove_prefix(piece.size());
    }
    return total;
}

} // namespace

int power_man::write_standard_output(std::string_view text)
{
    const std::string notice = "\n" + std::to_string(dropped) + " lines were dropped\n";
    std::string_view rest = notice;
    if (dropped > 0 && write_pieces(rest) > 0 && rest.empty())
        dropped = 0;
    const int total = dropped == 0 ? write_pieces(text) : 0;
    dropped += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    return total;
}
