// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/host.h"

namespace {

int fds[2];
int calls = 0;

int replace_other(int fd, void*)
{
    const int other = fds[fd == fds[0] ? 1 : 0];
    fdloop_fd_unregister_except(fdloop_init(), other);
    fdloop_fd_register_except(fdloop_init(), other, replace_other, nullptr);
    ++calls;
    return 0;
}

TEST(PlainFiles, NewWatchOfTheSameNumberSeesNoOldEdge)
{
    for (int& fd : fds) {
        const std::string line = testing::TempDir() + "edges" + std::to_string(&fd - fds);
        std::filesystem::create_directories(line);
        std::ofstream(line + "/edge") << "both\n";
        std::ofstream(line + "/value") << "0\n";
        fd = open((line + "/value").c_str(), O_RDONLY);
        fdloop_fd_register_except(fdloop_init(), fd, replace_other, nullptr);
        std::ofstream(line + "/value") << "1\n";
    }
    fdloop_init()->run_for(0);
    EXPECT_EQ(calls, 1);
}

} // namespace
