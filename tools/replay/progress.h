// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "bytes.h"

namespace replay {

// How far a run has come, on standard error: only on a terminal, and only when it takes more than a
// second.
class Progress {
public:
    // `begin_ms`: the moment at which the run begins.
    Progress(const Bytes& bytes, std::int64_t begin_ms);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // The run has come to that many milliseconds behind its beginning.
    void at(std::int64_t now)
    {
        if (wanted_)
            show(begin_ms_ + now);
    }

private:
    void show(std::int64_t moment_ms);

    const Bytes& bytes_;
    std::int64_t begin_ms_;
    bool wanted_;
    bool shown_ = false;
    std::uint64_t next_us_; // when to show it
};

} // namespace replay
