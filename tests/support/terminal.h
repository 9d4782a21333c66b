// SPDX-License-Identifier: MIT
// A terminal for one test: an emulated board in a directory of its own, a database with the
// board's seed, virtual time, and the daemon as main() starts it.
//
// The daemon's state is the process's: one terminal for each process, which is how CTest runs
// the tests.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Terminal {
public:
    // Makes the board of that model; nothing of the daemon has run yet. Keys of the seed can be
    // written or removed before start().
    explicit Terminal(const char* platform);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // pwr_mgr_init() and, where the model has it, the copy timer. Returns what happened.
    std::string start();

    // Writes together, runs the loop until nothing is ready, and returns what followed: one
    // journal line after the other, without the test's own writes.
    std::string write(std::initializer_list<std::pair<const char*, int>> values);
    std::string write(const char* key, int value) { return write({{key, value}}); }
    std::string write_text(const char* key, const char* value);
    std::string remove(const char* key);

    // Lets virtual time pass; returns what happened meanwhile.
    std::string run(std::uint64_t milliseconds);

    // What happened since the last of these calls.
    std::string story();

    // The same, each line behind the time at which it happened, counted from `origin` on the
    // loop's clock: "1000 ms: raise NAME".
    std::string timed_story(std::uint64_t origin);

    // The value of a key, "-" without one.
    std::string value(const char* key) const;

    // The board's files, by their absolute paths on the board.
    std::filesystem::path path(std::string_view board_path) const;
    std::string file(std::string_view board_path) const; // without its line end
    void put(std::string_view board_path, std::string_view text) const;

private:
    std::string take_lines(const std::uint64_t* origin);

    std::filesystem::path root_;
    std::uint64_t seen_ = 0; // journal lines
};

// Lines of a log that begin with one of the prefixes, in order; for stories that are about
// nothing else.
std::string only(const std::string& story, std::initializer_list<std::string_view> prefixes);

// A story in one line of words: "+POE" for an event raised and "-POE" for one cleared,
// "53=high" for a pin, "KEY=VALUE" for a key without the beginning that status keys share,
// "reboot" and "shutdown" for the orders to the PSU MCU, all other lines as they are.
std::string in_words(const std::string& story);

// The events, orders and fan speeds of a story, in the same words.
std::string actions_of(const std::string& story);
