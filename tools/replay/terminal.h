// SPDX-License-Identifier: MIT
// The daemon itself, in this process: its own start, loop, tables and actions, on the host platform
// with the database in the process, an emulated board and virtual time.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "board_directory.h"
#include "host/config/store.h"
#include "host/log/journal.h"
#include "models/model.h"
#include "temperature/temp_level.h"

namespace replay {

// Told what the daemon does, as it does it.
class Witness : public host::Journal::Observer {
public:
    // Behind the lines of the actions that followed; `sensor` counts within the model.
    virtual void evaluated(std::size_t sensor, const power_man::Evaluation& evaluation) = 0;

    // All that is due now is done.
    virtual void settled() = 0;
};

// The daemon's state is the process's: there is one terminal for each process.
class Terminal {
public:
    // The terminal is as new: `supplied` or not, USB wanted by its user. Nothing of the daemon
    // has run. `date_ms` is the moment since 1970 at which its time begins.
    Terminal(const power_man::Model& model, std::int64_t date_ms, bool supplied);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Why it cannot run; empty when all is well.
    const std::string& error() const { return board_.error(); }

    // Puts other keys into the database before the start: a file of "key = value" lines. False, and
    // one line in `error`, when it is refused.
    bool load(const std::string& seed_file, std::string& error);

    // The witness must outlive the terminal.
    void start(Witness& witness);

    // Of the configuration database, as another daemon would. What the daemon does about it is
    // done in pass_until().
    void write(std::span<const host::Write> writes);

    // What the wire of a GPIO line shows. False, and error(), when the board cannot be written.
    bool set_wire(int line, bool high);

    // Milliseconds since the beginning of the terminal's time.
    std::int64_t now() const;

    // Lets time pass up to that moment; a moment that has passed: what is due now is done.
    void pass_until(std::int64_t moment);

    // True when the daemon follows that key, or the wire of that line ("line.81").
    bool follows(std::string_view key) const;

private:
    const power_man::Model& model_;
    BoardDirectory board_;
    Witness* witness_ = nullptr;
    bool wire_changed_ = false;
};

} // namespace replay
