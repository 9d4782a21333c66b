// SPDX-License-Identifier: MIT
// How long heat waits for its first GPIO write while others load the server and the daemon.
//
//   measure_load SOCKET BOARD CONSOLE_PORT DAEMON_PID [ROUNDS]
//
// The server at SOCKET and the daemon on the qv1202B board in BOARD must be running. Fails when
// heat waits for long, or the daemon's memory grows: the limits are far from what is usual, for
// machines that have other work.
#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "measuring.h"

namespace {

constexpr int patience_ms = 20'000;
constexpr int writes_per_second = 100'000;
constexpr int keys_listed = 5000;
constexpr int consoles = 30;
constexpr double longest_wait_ms = 300; // of nine waits in ten
constexpr long most_growth_kb = 4096;
constexpr const char* reading = "rmcfg.sys.mainboard.temperature";
constexpr const char* warm_status = "ram.status.power_management.lan.poe.pwr_controlled";

using Clock = std::chrono::steady_clock;
using Samples = std::vector<double>; // milliseconds

// Writes that key, "%d" in it counted up to `different`, until it is killed.
[[noreturn]] void flood(const char* socket, const char* key, int different)
{
    constexpr int pieces = 200; // a second
    redisContext* const client = connect(socket);
    Clock::time_point next = Clock::now();
    for (int count = 0;;) {
        for (int i = 0; i < writes_per_second / pieces; ++i) {
            std::array<char, 80> name{};
            std::snprintf(name.data(), name.size(), key, count++ % different);
            redisAppendCommand(client, "SET %s 1", name.data());
        }
        for (int i = 0; i < writes_per_second / pieces; ++i) {
            void* reply = nullptr;
            if (redisGetReply(client, &reply) != REDIS_OK)
                _exit(1);
            freeReplyObject(reply);
        }
        next += std::chrono::milliseconds(1000 / pieces);
        const auto left = next - Clock::now();
        poll(nullptr, 0, std::max(0, static_cast<int>(left / std::chrono::milliseconds(1))));
    }
}

// A burst of the setting that each time costs a power cycle.
[[noreturn]] void cycle(const char* socket)
{
    redisContext* const client = connect(socket);
    for (int i = 0; i < 4000; ++i)
        redisAppendCommand(client, "SET cfg.interfaces.usb.extended_host_interface %d", i % 2);
    for (int i = 0; i < 4000; ++i) {
        void* reply = nullptr;
        redisGetReply(client, &reply);
        freeReplyObject(reply);
    }
    pause();
    _exit(0);
}

// Somebody at the console who asks for all the keys again and again.
[[noreturn]] void list_keys(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        _exit(1);
    constexpr int quiet_ms = 20; // the end of a listing: one that is read too slowly is cut
    std::array<char, 65536> bytes;
    while (write(fd, "config list bulk\r\n", 18) == 18) {
        pollfd wait{fd, POLLIN, 0};
        for (int patience = patience_ms; poll(&wait, 1, patience) > 0; patience = quiet_ms) {
            if (read(fd, bytes.data(), bytes.size()) <= 0)
                _exit(1);
        }
    }
    _exit(1);
}

long resident_kb(const char* pid)
{
    std::ifstream status("/proc/" + std::string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            return std::atol(line.c_str() + 6);
    }
    fail("the daemon is gone");
}

void await(redisContext* client, const std::string& value)
{
    for (int look = 0; ask(client, "GET %s", warm_status) != value; ++look) {
        if (look > patience_ms)
            fail("no reaction");
        poll(nullptr, 0, 1);
    }
}

double heat(redisContext* client, int watch)
{
    std::array<char, 4096> bytes;
    await(client, "0");
    poll(nullptr, 0, 3);
    while (read(watch, bytes.data(), bytes.size()) > 0) {
    }
    const Clock::time_point begin = Clock::now();
    ask(client, "SET %s 71", reading);
    pollfd wait{watch, POLLIN, 0};
    if (poll(&wait, 1, patience_ms) <= 0)
        fail("no reaction");
    const double time = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    await(client, "1");
    ask(client, "SET %s 40", reading);
    return time;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5)
        fail("SOCKET BOARD CONSOLE_PORT DAEMON_PID [ROUNDS]");
    const char* const socket = argv[1];
    const int port = std::atoi(argv[3]);
    const int rounds = argc > 5 ? std::atoi(argv[5]) : 100;
    redisContext* const client = connect(socket);
    for (int i = 0; i < keys_listed; ++i)
        ask(client, "SET bulk.%d 1", i);
    const int watch = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    const std::string pin = std::string(argv[2]) + "/sys/class/gpio/gpio249/direction";
    if (inotify_add_watch(watch, pin.c_str(), IN_MODIFY) < 0)
        fail("cannot watch the pin");
    struct Case {
        const char* name;
        int loaders;
        bool once; // the load is a burst: a new one for each round
        std::function<void()> load;
    };
    const Case cases[] = {
        {"nothing else", 0, false, {}},
        {"30 consoles that list 5000 keys", consoles, false, [&] { list_keys(port); }},
        {"100 000 writes/s of one followed key", 1, false,
         [&] { flood(socket, "ram.status.psumcu.events.external_supply", 1); }},
        {"100 000 writes/s of 100 000 followed keys", 1, false,
         [&] { flood(socket, "cfg.interfaces.phone.%d.enabled", 100'000); }},
        {"4000 writes of a setting, each a power cycle", 1, true, [&] { cycle(socket); }},
    };
    bool good = true;
    std::printf("%-46s %8s %8s %8s %8s %10s\n", "heat to its first GPIO write, ms", "median",
                "90 %", "99 %", "most", "kB grown");
    for (const Case& one : cases) {
        const long before = resident_kb(argv[4]);
        Samples samples;
        std::vector<pid_t> loaders;
        const auto begin_load = [&] {
            for (int i = 0; i < one.loaders; ++i) {
                loaders.push_back(new_process());
                if (loaders.back() == 0)
                    one.load();
            }
            poll(nullptr, 0, one.once ? 20 : 500);
        };
        const auto end_load = [&] {
            for (const pid_t loader : loaders) {
                kill(loader, SIGKILL);
                waitpid(loader, nullptr, 0);
            }
            loaders.clear();
        };
        for (int i = 0; i < rounds; ++i) {
            if (i == 0 || one.once)
                begin_load();
            samples.push_back(heat(client, watch));
            if (one.once || i + 1 == rounds)
                end_load();
        }
        std::sort(samples.begin(), samples.end());
        const auto at = [&](double part) {
            return samples[static_cast<std::size_t>(part * static_cast<double>(rounds - 1))];
        };
        const long growth_kb = resident_kb(argv[4]) - before;
        const bool held = at(0.9) <= longest_wait_ms && growth_kb <= most_growth_kb;
        good = good && held;
        std::printf("%-46s %8.2f %8.2f %8.2f %8.2f %10ld%s\n", one.name, at(0.5), at(0.9), at(0.99),
                    at(1), growth_kb, held ? "" : "  TOO MUCH");
        std::fflush(stdout);
        poll(nullptr, 0, 500);
    }
    return good ? 0 : 1;
}
