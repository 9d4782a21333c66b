// SPDX-License-Identifier: MIT
// How long another process waits for the daemon's reaction to a hot reading, beside the floor:
// a bare client that is told of the same change, does the same GET and writes one file.
//
//   measure_latency SOCKET BOARD [ROUNDS]
//
// The server at SOCKET and the daemon on the qv1202B board in BOARD must be running. Every
// round measures all of it, one after the other, so that the ratios hold on a busy machine too.
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
#include <string>
#include <vector>

#include "measuring.h"

namespace {

constexpr int patience_ms = 2000;
constexpr const char* reading = "rmcfg.sys.mainboard.temperature";
constexpr const char* warm_status = "ram.status.power_management.lan.poe.pwr_controlled";
constexpr const char* hot_status = "ram.status.power_management.close_connections";

using Clock = std::chrono::steady_clock;
using Samples = std::vector<double>; // microseconds

double since(Clock::time_point begin)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// The bare client. Never returns.
[[noreturn]] void be_the_floor(const char* socket, const std::string& file)
{
    redisContext* const events = connect(socket);
    redisContext* const commands = connect(socket);
    std::FILE* const output = std::fopen(file.c_str(), "w");
    auto* const id = static_cast<redisReply*>(redisCommand(events, "CLIENT ID"));
    ask(commands, "CLIENT TRACKING ON REDIRECT %lld BCAST NOLOOP PREFIX floor.", id->integer);
    ask(events, "SUBSCRIBE __redis__:invalidate");
    for (void* event = nullptr; redisGetReply(events, &event) == REDIS_OK;) {
        freeReplyObject(event);
        const std::string value = ask(commands, "GET floor.reading");
        if (write(fileno(output), value.data(), value.size()) < 0)
            break;
    }
    _exit(1);
}

// Sends the SET and notes when each descriptor becomes readable; -1: not waited for.
void react(redisContext* client, const char* key, int value, int file, Samples& file_times,
           int signal, Samples* signal_times)
{
    redisAppendCommand(client, "SET %s %d", key, value);
    const Clock::time_point begin = Clock::now();
    int done = 0;
    redisBufferWrite(client, &done);
    std::array<pollfd, 2> waits = {pollfd{file, POLLIN, 0}, pollfd{signal, POLLIN, 0}};
    while (waits[0].fd >= 0 || waits[1].fd >= 0) {
        if (poll(waits.data(), waits.size(), patience_ms) <= 0)
            fail("no reaction");
        const double time = since(begin);
        for (pollfd& wait : waits) {
            if ((wait.revents & POLLIN) == 0)
                continue;
            (&wait == waits.data() ? file_times : *signal_times).push_back(time);
            wait.fd = -1;
        }
    }
    void* reply = nullptr;
    redisGetReply(client, &reply);
    freeReplyObject(reply);
}

int watch(const std::string& file)
{
    const int descriptor = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (inotify_add_watch(descriptor, file.c_str(), IN_MODIFY) < 0)
        fail(("cannot watch " + file).c_str());
    return descriptor;
}

void drain(int descriptor)
{
    std::array<char, 4096> bytes;
    while (read(descriptor, bytes.data(), bytes.size()) > 0) {
    }
}

void print(const char* name, const Samples& samples, double floor)
{
    const double median = percentile(samples, 0.5);
    std::printf("%-42s %8.1f us %8.1f us %8.2f\n", name, median, percentile(samples, 0.99),
                median / floor);
}

// Until the daemon has come so far, and rests.
void await(redisContext* client, const char* key, const std::string& value)
{
    for (int look = 0; ask(client, "GET %s", key) != value; ++look) {
        if (look > patience_ms)
            fail("no reaction");
        poll(nullptr, 0, 1);
    }
    poll(nullptr, 0, 3);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        fail("SOCKET BOARD [ROUNDS]");
    const char* const socket = argv[1];
    const std::string board = argv[2];
    const int rounds = argc > 3 ? std::atoi(argv[3]) : 1000;
    const std::string floor_file = board + "/floor";
    std::ofstream(floor_file).flush();
    const pid_t floor_client = new_process();
    if (floor_client == 0)
        be_the_floor(socket, floor_file);

    redisContext* const client = connect(socket);
    redisContext* const listener = connect(socket);
    ask(listener, "SUBSCRIBE psumcu.powerctrl.reboot");
    const int floor_watch = watch(floor_file);
    const int pin_watch = watch(board + "/sys/class/gpio/gpio249/direction");
    poll(nullptr, 0, 300);

    Samples floor, get, pin, signal, all;
    const auto take_signal = [listener] {
        void* reply = nullptr;
        redisGetReply(listener, &reply);
        freeReplyObject(reply);
    };
    for (int i = 0; i < rounds; ++i) {
        react(client, "floor.reading", i, floor_watch, floor, -1, nullptr);
        poll(nullptr, 0, 3);
        const Clock::time_point begin = Clock::now();
        ask(client, "GET floor.reading");
        get.push_back(since(begin));
        poll(nullptr, 0, 3);
        react(client, reading, 71, pin_watch, pin, -1, nullptr);
        await(client, warm_status, "1");
        ask(client, "SET %s 76", reading);
        await(client, hot_status, "1");
        react(client, reading, 81, -1, pin, listener->fd, &signal);
        take_signal();
        ask(client, "SET %s 40", reading);
        await(client, warm_status, "0");
        react(client, reading, 90, -1, pin, listener->fd, &all);
        take_signal();
        ask(client, "SET %s 40", reading);
        await(client, warm_status, "0");
        drain(floor_watch);
        drain(pin_watch);
    }
    kill(floor_client, SIGKILL);
    waitpid(floor_client, nullptr, 0);

    const double unit = percentile(floor, 0.5);
    std::printf("%-42s %11s %11s %8s\n", "", "median", "99 %", "floors");
    print("floor: event, GET, write to a file", floor, unit);
    print("one GET", get, unit);
    print("40 to 71 degrees: first GPIO write", pin, unit);
    print("76 to 81 degrees: signal to the PSU MCU", signal, unit);
    print("40 to 90 degrees: that signal, after all", all, unit);
    return 0;
}
