// SPDX-License-Identifier: MIT
// Receivers that stand still: a call that waits for one never returns here.
#include "host/base/outlet.h"

#include <poll.h>
#include <pty.h>

#include "support/platform.h"

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

Ends make_terminal()
{
    termios modes{};
    modes.c_oflag = OPOST; // as the daemon sets it: nobody adds carriage returns
    Ends ends{};
    EXPECT_EQ(openpty(&ends.in, &ends.out, nullptr, &modes, nullptr), 0);
    return ends;
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
        outlet.write(line + "\n", "<4>");
    std::string seen = take_all(ends.in);
    EXPECT_TRUE(outlet.write("on\n", "<4>"));
    EXPECT_TRUE(outlet.write("and on\n", "<4>"));
    seen += take_all(ends.in);

    // A terminal takes a little more from time to time.
    std::size_t whole = 0;
    std::size_t dropped = 0;
    std::string others;
    while (!seen.empty()) {
        const std::string one = seen.substr(0, seen.find(end));
        seen.erase(0, one.size() + end.size());
        if (one == line)
            ++whole;
        else if (one.ends_with(" lines were dropped") && one.starts_with("<4>"))
            dropped += std::stoul(one.substr(3));
        else if (!line.starts_with(one)) // the beginning of one
            others += one + ";";
    }
    EXPECT_GT(whole, 3U);
    EXPECT_EQ(whole + dropped, lines);
    EXPECT_EQ(others, "on;and on;");
    close(ends.in);
    close(ends.out);
}

INSTANTIATE_TEST_SUITE_P(To, Outlet, testing::Values(make_pipe, make_terminal));

} // namespace
