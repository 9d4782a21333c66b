// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/base/descriptor.h"
#include "host/loop/loop.h"

namespace host {

// A long text, written from the loop in pieces as fast as its reader takes them: nothing is lost,
// and a reader that stands still holds nobody up. Meanwhile a console connection's input is left
// with the kernel, but for ^C, which ends the listing; so does the connection's end.
class Listing {
public:
    // Appends the next lines, a bounded number of them; false when nothing is left behind them.
    using Source = std::function<bool(std::string& text)>;

    // Starts with `first`; `closing` is what stands at the end, of a listing that is interrupted
    // too. To the console connection of that number, or to standard output (-1). `ended` is called
    // from the loop, and must not end this object. The loop must outlive it.
    Listing(_fdloop_t& loop, int connection, std::string_view first, Source source,
            std::string closing, std::function<void()> ended);
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;
    ~Listing() { finish(); }

    // To be called once: 0, or a negative errno when the listing cannot be.
    int start();
    bool running() const { return static_cast<bool>(output_); }

    // Lines of something else, ended by CR LF, to be shown between two lines; dropped when there is
    // no room.
    void insert(std::string_view lines);

    // ^C was typed.
    void interrupt();

private:
    static int on_ready(int fd, void* self);
    static int on_turn(void* self);
    void write_piece();
    bool take_interrupt() const;
    void finish();

    _fdloop_t& loop_;
    int connection_;
    Source source_; // empty: all of it is in `text_`
    std::string closing_;
    std::function<void()> ended_;
    std::string text_;  // to be written next
    Descriptor output_; // of its own, so that it can be watched beside the connection's input
    int timer_ = 0;     // for a plain file, which cannot be watched, and is always ready
};

} // namespace host
