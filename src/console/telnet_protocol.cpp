// SPDX-License-Identifier: MIT
// Bytes on a telnet connection: commands in and out, line ends out.
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <string_view>

#include "console/fdloop_telnetd.h"

namespace {

constexpr unsigned char iac = 0xff;
constexpr unsigned char will = 0xfb;
constexpr unsigned char do_it = 0xfd;
constexpr unsigned char echo = 1;
constexpr unsigned char suppress_go_ahead = 3;
constexpr int command_length = 3;

std::string_view::size_type find_bare_line_feed(std::string_view text)
{
    auto place = text.find('\n');
    while (place != std::string_view::npos && place > 0 && text[place - 1] == '\r')
        place = text.find('\n', place + 1);
    return place;
}

// One writev() of the text and a line end; false when not all of it was taken.
bool write_piece(int fd, std::string_view text, std::string_view line_end)
{
    const std::array<iovec, 2> parts{{{const_cast<char*>(text.data()), text.size()},
                                      {const_cast<char*>(line_end.data()), line_end.size()}}};
    const ssize_t written = writev(fd, parts.data(), static_cast<int>(parts.size()));
    return written == static_cast<ssize_t>(text.size() + line_end.size());
}

} // namespace

int fdputs(int fd, const char* data, int length)
{
    if (length <= 0)
        return 0;
    constexpr std::string_view line_end = "\r\n";
    std::string_view rest(data, static_cast<std::size_t>(length));
    std::size_t total = 0;
    while (!rest.empty()) {
        const auto line_feed = find_bare_line_feed(rest);
        const std::string_view piece = rest.substr(0, line_feed);
        const bool bare = line_feed != std::string_view::npos;
        const std::string_view ending = bare ? line_end : std::string_view();
        if (!write_piece(fd, piece, ending))
            break;
        total += piece.size() + ending.size();
        rest.remove_prefix(piece.size() + (bare ? 1U : 0U));
    }
    return static_cast<int>(total);
}

int fdloop_telnet_write(int fd, const char* data, int length)
{
    return fdputs(fd, data, length);
}

int telnet_command_send(int fd, unsigned char command, unsigned char option)
{
    const std::array<unsigned char, command_length> bytes{iac, command, option};
    return static_cast<int>(write(fd, bytes.data(), bytes.size()));
}

int telnet_command_init_default(int fd)
{
    // A client that is gone already is noticed by the first read.
    telnet_command_send(fd, will, echo);
    telnet_command_send(fd, will, suppress_go_ahead);
    telnet_command_send(fd, do_it, suppress_go_ahead);
    return 0;
}

int power_man::first_line(const char* data, int length)
{
    for (int i = 0; i < length;) {
        const bool command = static_cast<unsigned char>(data[i]) == iac;
        if (command && length - i >= command_length) {
            i += command_length;
            continue;
        }
        const char byte = data[i++];
        if (byte == '\n')
            return i;
        if (byte == '\r') // with what belongs to it: telnet says so in two ways
            return i < length && (data[i] == '\n' || data[i] == '\0') ? i + 1 : i;
    }
    return length;
}

int telnet_input_filter(char* data, int length)
{
    int kept = 0;
    for (int i = 0; i < length;) {
        const bool command = static_cast<unsigned char>(data[i]) == iac;
        if (command && length - i >= command_length)
            i += command_length;
        else
            data[kept++] = data[i++];
    }
    return kept;
}
