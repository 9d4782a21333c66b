// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace replay {

// A reading over time, in memory that does not grow with it: the time is cut into equal pieces,
// which get longer as time goes on, and of each the first, lowest, highest and last reading is
// kept. A reading holds until the next one.
class Curve {
public:
    static constexpr std::size_t most_pieces = 8192;

    struct Piece {
        std::int64_t number; // of the piece, from 0
        std::int64_t begin;  // milliseconds: its first change
        std::int64_t end;    // its last change
        std::int32_t first;
        std::int32_t lowest;
        std::int32_t highest;
        std::int32_t last;
    };

    // Times do not go back.
    void add(std::int64_t time, std::int32_t value);

    // Those in which the reading changed, in order.
    const std::vector<Piece>& pieces() const { return pieces_; }

private:
    void widen();

    std::int64_t width_ = 1; // milliseconds of a piece
    std::vector<Piece> pieces_;
};

} // namespace replay
