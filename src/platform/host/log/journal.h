// SPDX-License-Identifier: MIT
// What the daemon did lately, in order: keys written, lines switched, signals sent, warnings
// logged. One short line each; the console shows them, the tests compare them.
//
// The lines:
//   set KEY VALUE                     a key was written (by whoever uses this process's database);
//                                     see write_set() for what the daemon writes
//   del KEY                           a key was removed
//   pin N high|low|in|out             a GPIO line's direction was written
//   value N 0|1                       a GPIO line's value was written
//   export N, unexport N, edge N E    the other files of a GPIO line
//   file PATH TEXT                    any other device file was written
//   raise NAME, clear NAME            an event report was sent
//   signal NAME PAYLOAD               any other bus signal was sent
//   log LEVEL TEXT                    a message of level 5 or graver was logged
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "host/base/clock.h"

namespace host {

class Journal {
public:
    static constexpr std::size_t capacity = 256;    // older lines are forgotten
    static constexpr std::size_t line_length = 240; // longer ones are cut

    struct Line {
        std::uint64_t number; // from 1, never used again
        std::uint64_t time_ms;
        std::string_view text; // valid until the next line is written
    };

    // Told of each line as it is written; writes none itself.
    class Observer {
    public:
        virtual ~Observer() = default;
        virtual void written(const Line& line) = 0;
    };

    explicit Journal(const Clock& clock) : clock_(clock) {}

    // Null for nobody; must outlive the journal otherwise.
    void set_observer(Observer* observer) { observer_ = observer; }

    void write(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // "set KEY VALUE" for what the daemon itself has written. It is not noted when nothing has
    // happened but such writes since the key was noted with that same value: readings that are
    // copied again and again would displace everything else. Whatever happens in between, a line
    // of write(), and each is noted anew: a story shows every write, equal ones too.
    void write_set(std::string_view key, std::string_view value);

    // The number of the last line, 0 before the first.
    std::uint64_t last() const { return last_; }

    // The oldest line that is still there, 1 at first.
    std::uint64_t first() const { return last_ < capacity ? 1 : last_ - capacity + 1; }

    // A line from first() to last().
    Line line(std::uint64_t number) const;

private:
    struct Slot {
        std::uint64_t time_ms;
        std::array<char, line_length> text;
        bool own_write; // of write_set()
    };

    Slot& slot(std::uint64_t number) { return slots_[(number - 1) % capacity]; }
    Slot& next_slot();
    bool repeats(std::string_view key, std::string_view text);

    const Clock& clock_;
    std::array<Slot, capacity> slots_; // not touched before it is used: memory comes line by line
    std::uint64_t last_ = 0;
    Observer* observer_ = nullptr;
};

} // namespace host
