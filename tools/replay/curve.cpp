// SPDX-License-Identifier: MIT
#include "curve.h"

#include <algorithm>

namespace replay {

void Curve::add(std::int64_t time, std::int32_t value)
{
    if (!pieces_.empty() && pieces_.back().last == value)
        return;
    while (time / width_ >= static_cast<std::int64_t>(most_pieces))
        widen();
    const std::int64_t number = time / width_;
    if (pieces_.empty() || pieces_.back().number != number) {
        pieces_.push_back({number, time, time, value, value, value, value});
        return;
    }
    Piece& piece = pieces_.back();
    piece.end = time;
    piece.lowest = std::min(piece.lowest, value);
    piece.highest = std::max(piece.highest, value);
    piece.last = value;
}

// Makes one piece of every two.
void Curve::widen()
{
    width_ *= 2;
    std::vector<Piece> wider;
    for (const Piece& piece : pieces_) {
        const std::int64_t number = piece.number / 2;
        if (wider.empty() || wider.back().number != number) {
            wider.push_back(piece);
            wider.back().number = number;
            continue;
        }
        Piece& before = wider.back();
        before.end = piece.end;
        before.lowest = std::min(before.lowest, piece.lowest);
        before.highest = std::max(before.highest, piece.highest);
        before.last = piece.last;
    }
    pieces_ = std::move(wider);
}

} // namespace replay
