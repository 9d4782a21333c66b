// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/inotify.h>
#include <unistd.h>

#include "core/pwr_mgr_main.h"
#include "support/terminal.h"

namespace {

constexpr const char* enable = "ram.post.id.1142129669.enable";
constexpr const char* started = "signal bite.post.state \"id.1142129669.post.state=1\"\n"
                                "signal bite.post.state \"id.1142129669.post.state=2\"\n";
constexpr const char* passed = "signal bite.post.state \"id.1142129669.post.state=3\"\n";
constexpr const char* failed = "signal bite.post.state \"id.1142129669.post.state=4\"\n";

// Tells which files of a directory were opened.
class Openings {
public:
    explicit Openings(const std::filesystem::path& directory) : fd_(inotify_init1(IN_NONBLOCK))
    {
        inotify_add_watch(fd_, directory.c_str(), IN_OPEN);
    }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;
    ~Openings() { close(fd_); }

    // The names since the last call, in order.
    std::string names() const
    {
        alignas(inotify_event) char buffer[4096];
        const ssize_t length = read(fd_, buffer, sizeof buffer);
        std::string all;
        for (ssize_t at = 0; at < length;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
            all += std::string(event->name) + " ";
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
        return all;
    }

private:
    int fd_;
};

std::string run_test(Terminal& terminal)
{
    pwr_mgr_phone->writePOSTResult(post_api);
    return terminal.story();
}

} // namespace

TEST(PhoneSelfTest, OpensEveryPortUntilOneFails)
{
    Terminal terminal("qv1305A");
    terminal.write(enable, 1);
    terminal.write("cfg.interfaces.phone.1.enabled", 1);
    terminal.start();
    Openings opened(terminal.path("/dev"));
    EXPECT_EQ(std::string(started) + passed, run_test(terminal));
    EXPECT_EQ("slic0.0 slic0.1 ", opened.names()); // whether enabled or not; two ports only

    std::filesystem::remove(terminal.path("/dev/slic0.0"));
    EXPECT_EQ(std::string(started) + failed, run_test(terminal));
    EXPECT_EQ("", opened.names());

    terminal.write(enable, 0);
    EXPECT_EQ("log 5 POST not allowed ID: Module=4, Module ID=1, Test ID=230405. "
              "Not Enabled, Config OK(0)\n",
              run_test(terminal));
    EXPECT_EQ("", opened.names());
}

TEST(PhoneSelfTest, PassesWithoutPorts)
{
    Terminal terminal("qv1305A");
    terminal.write(enable, 1);
    terminal.remove("ram.platform.capabilities.slic.connectors");
    terminal.start();
    EXPECT_EQ(std::string(started) + passed, run_test(terminal));
}
