// SPDX-License-Identifier: MIT
// What the fuzz targets share. Each is a function of one input, called again and again in one
// process: what is dear is made once, and what an input has changed is undone.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "host/host/host.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Ends the process where a promise is broken; the fuzzer keeps the input then.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: the promise is broken\n", file, line);
    std::abort();
}

// Takes an input apart from its beginning; an exhausted one gives zeros and empty texts.
struct Input {
    std::string_view rest;

    Input(const std::uint8_t* data, std::size_t size)
        : rest(reinterpret_cast<const char*>(data), size)
    {
    }
    std::string_view take(std::size_t length)
    {
        const std::string_view taken = rest.substr(0, length);
        rest.remove_prefix(taken.size());
        return taken;
    }
    std::uint8_t byte() { return rest.empty() ? 0U : static_cast<std::uint8_t>(take(1).front()); }
    std::string_view text(char end) // which is taken too
    {
        const std::string_view taken = take(rest.find(end));
        take(1);
        return taken;
    }
};

// The platform with a database in this process and virtual time. Its board is this process's own
// folder below /proc: what is opened as "/fd/N" is a device there, and there is no other.
inline host::Host& platform()
{
    static host::Host& made = []() -> host::Host& {
        host::Settings settings;
        settings.board_root = "/proc/self";
        host::Host& host = host::make_instance(settings);
        host.log.set_sink([](int, std::string_view) {});
        require(std::freopen("/dev/null", "w", stdout) != nullptr);
        host.clock.make_virtual();
        require(host.make_loop() != nullptr);
        host.configuration.connect();
        return host;
    }();
    return made;
}

// As another daemon writes.
inline void put(std::string_view key, std::optional<std::string_view> value)
{
    const host::Write write{key, value};
    require(platform().store->write({&write, 1}) == 0);
}

inline std::vector<std::string> keys()
{
    std::vector<std::string> all;
    require(platform().store->list("", all) == 0);
    return all;
}

} // namespace fuzz
