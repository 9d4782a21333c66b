// SPDX-License-Identifier: MIT
// How long the daemon takes from its start to READY=1, with the database in process and with a
// shared one, one after the other, each time with nothing but the board's seed in it.
//
//   measure_start DAEMON SOCKET BOARD [ROUNDS]
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "measuring.h"

namespace {

constexpr int patience_ms = 5000;

using Clock = std::chrono::steady_clock;

int listen_for_ready(const std::string& path)
{
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    unlink(path.c_str());
    if (bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
        fail("cannot listen for READY=1");
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    return fd;
}

void load_seed(redisContext* client, const std::string& file)
{
    freeReplyObject(redisCommand(client, "FLUSHALL"));
    std::ifstream seed(file);
    for (std::string line; std::getline(seed, line);) {
        const std::size_t equals = line.find(" = ");
        if (line.starts_with('#') || equals == std::string::npos)
            continue;
        const std::string key = line.substr(0, equals);
        freeReplyObject(
            redisCommand(client, "SET %s %s", key.c_str(), line.substr(equals + 3).c_str()));
    }
}

// Milliseconds.
double start(const char* daemon, int ready)
{
    const Clock::time_point begin = Clock::now();
    const pid_t process = new_process();
    if (process == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        for (int fd = 0; fd <= 2; ++fd)
            dup2(nothing, fd);
        execl(daemon, "power_man", nullptr);
        _exit(127);
    }
    double time = 0;
    std::array<char, 256> text{};
    while (time == 0) {
        pollfd wait{ready, POLLIN, 0};
        if (poll(&wait, 1, patience_ms) <= 0)
            fail("the daemon does not get ready");
        const ssize_t length = read(ready, text.data(), text.size() - 1);
        text[static_cast<std::size_t>(std::max<ssize_t>(length, 0))] = '\0';
        if (std::strstr(text.data(), "READY=1") != nullptr)
            time = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    }
    poll(nullptr, 0, 20);
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
    while (recv(ready, text.data(), text.size(), MSG_DONTWAIT) > 0) {
    }
    return time;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4)
        fail("DAEMON SOCKET BOARD [ROUNDS]");
    const std::string board = argv[3];
    const int rounds = argc > 4 ? std::atoi(argv[4]) : 200;
    redisContext* const client = connect(argv[2]);
    const int ready = listen_for_ready(board + "/ready");
    setenv("AP_BOARD_ROOT", board.c_str(), 1);
    std::vector<double> in_process;
    std::vector<double> shared;
    for (int i = 0; i < rounds; ++i) {
        unsetenv("AP_DATABASE");
        setenv("AP_DATABASE_SEED", (board + "/seed").c_str(), 1);
        in_process.push_back(start(argv[1], ready));
        load_seed(client, board + "/seed");
        unsetenv("AP_DATABASE_SEED");
        setenv("AP_DATABASE", (std::string("unix:") + argv[2]).c_str(), 1);
        shared.push_back(start(argv[1], ready));
    }
    const double unit = percentile(in_process, 0.5);
    for (const auto& [name, samples] : {std::pair("in process", in_process), {"shared", shared}})
        std::printf("start to READY=1, %-12s %8.2f ms %8.2f ms %8.2f\n", name,
                    percentile(samples, 0.5), percentile(samples, 0.99),
                    percentile(samples, 0.5) / unit);
    return 0;
}
