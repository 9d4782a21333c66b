// SPDX-License-Identifier: MIT
// A terminal for one test: an emulated board in a directory of its own, a database with the
// board's seed, virtual time, and the daemon as main() starts it.
//
// The daemon's state is the process's: one terminal for each process, which is how CTest runs
// the tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "core/pwr_mgr_main.h"
#include "host/base/clock.h"
#include "host/host/host.h"
#include "support/directory.h"

namespace fs = std::filesystem;
namespace key = power_man::key;

class Terminal {
public:
    using Change = std::pair<std::string, std::optional<std::string>>; // without value: removed

    // Makes the board of that model; nothing of the daemon has run yet. Keys of the seed can be
    // written or removed before start().
    explicit Terminal(const char* platform);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // pwr_mgr_init() and, where the model has it, the copy timer. Returns what happened.
    std::string start();

    // Writes together, lets virtual time pass, and returns what followed: one journal line after
    // the other, without the test's own writes.
    std::string change(const std::vector<Change>& changes, std::uint64_t milliseconds = 0);
    std::string write(std::initializer_list<std::pair<const char*, int>> values);
    std::string write(const char* key, int value) { return write({{key, value}}); }
    std::string write_text(const std::string& key, const char* value)
    {
        return change({{key, value}});
    }
    std::string remove(const char* key) { return change({{key, std::nullopt}}); }
    std::string run(std::uint64_t milliseconds);

    // What happened since the last of these calls. With an origin on the loop's clock each line
    // stands behind its time: "1000 ms: raise NAME".
    std::string story(std::optional<std::uint64_t> origin = std::nullopt);

    // The value of a key, "-" without one.
    std::string value(const std::string& key) const;

    // The board's files, by their absolute paths on the board.
    std::filesystem::path path(std::string_view board_path) const;
    std::string file(std::string_view board_path) const; // without its line end
    void put(std::string_view board_path, std::string_view text) const;

private:
    OwnDirectory directory_;
    std::uint64_t seen_ = 0; // journal lines
};

using Prefixes = std::initializer_list<std::string_view>;

// Lines of a log that begin with one of the prefixes, in order.
std::string only(const std::string& story, Prefixes prefixes);

// A story in one line of words: "+POE" for an event raised and "-POE" for one cleared,
// "53=high" for a pin, "KEY=VALUE" for a key without the beginning that status keys share,
// "FILE=TEXT" for a device, "port0=on", "supply=on", "reboot" and "shutdown" for the orders to
// the PSU MCU, all other lines as they are.
std::string in_words(const std::string& story);

// The events, orders and fan speeds of a story, in the same words.
std::string actions_of(const std::string& story);

// Runs a table with "STEPS => STORY" on each line. A line's steps are written together:
// KEY=VALUE, or KEY= for a removal; keys of settings go without "cfg.interfaces.". "+N" lets N
// milliseconds pass. Each story is replaced by what happened, in words; with prefixes, of those
// lines only.
std::string played(Terminal& terminal, const std::string& table, Prefixes prefixes = {});

// Writes 1 to the setting while the device is missing, a directory, not to be written (ETXTBSY),
// full (ENOSPC) and broken (EIO). Returns the status keys and the log that came of it.
std::string with_failing_device(Terminal& terminal, const char* device, const char* setting);

// One integer as the database hands it over, also for keys that it would refuse.
inline config_data_t integer_record(const char* key, std::int32_t* value)
{
    return {CONFIG_TYPE_INTEGER, key, value, 4, 4, 0};
}

// A model and what is expected of it: a row of the tests that run on several models.
struct Model {
    const char* platform;
    const char* story;
    const char* more = "";
};
inline std::string model_name(const testing::TestParamInfo<Model>& info)
{
    return info.param.platform;
}
