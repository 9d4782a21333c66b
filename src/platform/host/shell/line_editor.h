// SPDX-License-Identifier: MIT
// The line editor of a shell: typed bytes in, echo and finished lines out. It knows neither
// prompt nor terminal; the echo uses printable characters, backspaces, bells and line feeds
// only, so that any terminal will do. A line that is wider than the terminal is edited
// correctly but not shown so.
//
// Keys: left, right, home, end (also ^A, ^E), backspace, delete, ^K, ^U, ^W, up and down for
// the history, Tab. ^C drops the line; ^D asks for the end on an empty line and
// deletes on any other.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class LineEditor {
public:
    static constexpr std::size_t longest_line = 255;
    static constexpr std::size_t history_lines = 32;
    static constexpr std::size_t longest_echo = 2048; // for one byte

    enum class Event {
        none,
        line,      // line() is finished
        too_long,  // a line was longer than `longest_line`; it is dropped, not cut
        cancelled, // ^C
        redraw,    // text was printed below the line: print the prompt, then draw()
        end        // ^D
    };

    // Appends the words that could stand in the place of `word`, which is being typed behind
    // `before`; in order. A candidate that ends in '.' is only the beginning of a word.
    using Complete = std::function<void(std::string_view before, std::string_view word,
                                        std::vector<std::string>& candidates)>;

    explicit LineEditor(Complete completion = nullptr) : complete_(std::move(completion)) {}

    // Takes one byte and appends at most `longest_echo` bytes to `echo`. How the bytes came in,
    // alone or in blocks, makes no difference.
    Event feed(char byte, std::string& echo);

    // The line finished last; valid until the next one is.
    const std::string& line() const { return finished_; }

    // The line being typed, and its echo with the cursor in its place.
    const std::string& typed() const { return line_; }
    void draw(std::string& echo) const;

private:
    enum class State { ground, escape, bracket, letter };

    Event control(char byte, std::string& echo);
    void sequence(char byte, std::string& echo);
    void key(char byte, std::string& echo);
    void insert(char byte, std::string& echo);
    void erase(std::size_t from, std::size_t to, std::string& echo);
    void move_to(std::size_t place, std::string& echo);
    void replace(const std::string& text, std::string& echo);
    void erase_word(std::string& echo);
    void browse(bool older, std::string& echo);
    Event complete(std::string& echo);
    Event finish(std::string& echo);
    void start_afresh();

    Complete complete_;
    std::string line_;
    std::size_t cursor_ = 0;
    bool overflow_ = false; // a byte was refused since the line last became shorter
    std::string finished_;

    std::deque<std::string> history_;
    std::size_t browsed_ = 0; // lines back from the end of the history; 0: the new line
    std::string draft_;       // the new line while an older one is shown

    State state_ = State::ground;
    int parameter_ = 0;
    bool after_return_ = false;
};

} // namespace host
