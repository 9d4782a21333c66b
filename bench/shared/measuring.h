// SPDX-License-Identifier: MIT
// What the programs here share. All of them give up at the first thing that goes wrong.
#pragma once

#include <errno.h>
#include <hiredis/hiredis.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

[[noreturn]] inline void fail(const char* what)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what);
    std::exit(1);
}

// As fork(), but for its -1, which would mean every process to kill().
inline pid_t new_process()
{
    const pid_t process = fork();
    if (process < 0)
        fail("there can be no other process");
    return process;
}

inline redisContext* connect(const char* socket)
{
    redisContext* const context = redisConnectUnix(socket);
    if (context == nullptr || context->err != 0)
        fail("no server");
    return context;
}

template <typename... Values>
std::string ask(redisContext* context, const char* format, Values... values)
{
    auto* const reply = static_cast<redisReply*>(redisCommand(context, format, values...));
    if (reply == nullptr)
        fail("the server is gone");
    std::string text = reply->str != nullptr ? std::string(reply->str, reply->len) : "";
    freeReplyObject(reply);
    return text;
}

inline double percentile(std::vector<double> samples, double part)
{
    std::sort(samples.begin(), samples.end());
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
}
