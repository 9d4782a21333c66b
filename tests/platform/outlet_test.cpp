// SPDX-License-Identifier: MIT
// Receivers that stand still: a call that waits for one never returns here.
#include "host/base/outlet.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>

namespace {

struct Ends {
    int in;
    int out;
};

Ends make_pipe()
{
    std::array<int, 2> fds{};
    EXPECT_EQ(pipe(fds.data()), 0);
    return {fds[0], fds[1]};
}

Ends make_socket()
{
    std::array<int, 2> fds{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds.data()), 0);
    return {fds[0], fds[1]};
}

Ends make_terminal(tcflag_t output_modes)
{
    termios modes{};
    modes.c_oflag = output_modes;
    Ends ends{};
    EXPECT_EQ(openpty(&ends.in, &ends.out, nullptr, &modes, nullptr), 0);
    return ends;
}

Ends make_raw_terminal()
{
    return make_terminal(OPOST);
}

Ends make_cooked_terminal()
{
    return make_terminal(OPOST | ONLCR);
}

std::string take_all(int fd)
{
    std::string all;
    std::array<char, 4096> part;
    for (pollfd wait{fd, POLLIN, 0}; poll(&wait, 1, 100) == 1;) {
        const ssize_t length = read(fd, part.data(), part.size());
        if (length <= 0)
            break;
        all.append(part.data(), static_cast<std::size_t>(length));
    }
    return all;
}

class Outlet : public testing::TestWithParam<Ends (*)()> {};

TEST_P(Outlet, DropsAndCountsWhatNobodyReads)
{
    constexpr std::size_t lines = 5000;
    const Ends ends = GetParam()();
    const std::string end = isatty(ends.out) == 1 ? "\r\n" : "\n";
    host::Outlet outlet(ends.out);
    const std::string line(700, 'x');
    for (std::size_t i = 0; i < lines; ++i)
        outlet.write(line + "\n");
    std::string seen = take_all(ends.in);
    EXPECT_TRUE(outlet.write("on\n", "<4>"));
    EXPECT_TRUE(outlet.write("and on\n", "<4>"));
    seen += take_all(ends.in);
    EXPECT_TRUE(seen.ends_with(" lines were dropped" + end + "on" + end + "and on" + end));
    EXPECT_NE(seen.find("<4>"), std::string::npos);

    // A terminal may take more for a moment, which gives a count in between.
    std::size_t whole = 0;
    std::size_t dropped = 0;
    for (std::size_t from = 0, to = 0; (to = seen.find(end, from)) != std::string::npos;
         from = to + end.size()) {
        const std::string piece = seen.substr(from, to - from);
        const std::size_t count =
            piece.find_first_of("0123456789", piece.starts_with("<4>") ? 3 : 0);
        whole += piece == line ? 1 : 0;
        dropped += piece.ends_with(" lines were dropped") ? std::stoul(piece.substr(count)) : 0;
    }
    EXPECT_GT(whole, 3U);
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(whole + dropped, lines);
    close(ends.in);
    close(ends.out);
}

INSTANTIATE_TEST_SUITE_P(To, Outlet,
                         testing::Values(make_pipe, make_socket, make_raw_terminal,
                                         make_cooked_terminal));

} // namespace
