// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "bytes.h"

namespace replay {

// How far a run has come, on standard error: only on a terminal, and only when it takes more than a
// second.
class Progress {
public:
    explicit Progress(const Bytes& bytes);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // A row of that moment has been replayed.
    void at(std::int64_t moment_ms)
    {
        if (wanted_ && ++rows_ % rows_between_looks == 0)
            show(moment_ms);
    }

private:
    static constexpr std::uint64_t rows_between_looks = 4096;

    void show(std::int64_t moment_ms);

    const Bytes& bytes_;
    bool wanted_;
    bool shown_ = false;
    std::uint64_t rows_ = 0;
    std::uint64_t next_us_; // when to show it
};

} // namespace replay
