// SPDX-License-Identifier: MIT
// The physics of the closed loop, in numbers made by hand, and the curve that is drawn of it.
#include <gtest/gtest.h>

#include <cmath>

#include "curve.h"
#include "thermal_model.h"

using replay::SensorHeat;
using replay::Surroundings;

namespace {

SensorHeat sensor(double temperature)
{
    SensorHeat heat;
    heat.time_constant = 600;
    heat.off = 14;
    heat.added = {12, 4, 5, 8};
    heat.temperature = temperature;
    return heat;
}

TEST(Heat, TendsToTheSumOfWhatIsOn)
{
    SensorHeat heat = sensor(0);
    Surroundings surroundings;
    surroundings.ambient = 30;
    EXPECT_DOUBLE_EQ(heat.equilibrium(surroundings), 30 + 14 + 12 + 4 + 5 + 8);
    surroundings.load = {50, 0, 100, 25};
    EXPECT_DOUBLE_EQ(heat.equilibrium(surroundings), 30 + 14 + 6 + 0 + 5 + 2);
    surroundings.off = {true, false, true, false};
    EXPECT_DOUBLE_EQ(heat.equilibrium(surroundings), 30 + 14 + 0 + 2);
    surroundings.off = {true, true, true, true};
    EXPECT_DOUBLE_EQ(heat.equilibrium(surroundings), 44);
    // After one time constant 1/e of the way is left, after twenty nothing to speak of.
    heat.step(600, surroundings);
    EXPECT_NEAR(heat.temperature, 44 * (1 - 1 / std::exp(1.0)), 1e-9);
    heat.step(12000, surroundings);
    EXPECT_EQ(heat.reading(), 44);
}

TEST(Curve, IsThinnedOutWithoutLosingItsExtremes)
{
    replay::Curve curve;
    constexpr std::int64_t seconds = 30 * 86400;
    for (std::int64_t second = 0; second < seconds; ++second)
        curve.add(1000 * second, second == 1234567 ? 99 : static_cast<std::int32_t>(second % 7));
    EXPECT_LE(curve.pieces().size(), replay::Curve::most_pieces);
    EXPECT_GE(curve.pieces().size(), replay::Curve::most_pieces / 2 - 1);
    int peaks = 0;
    std::int64_t end = -1;
    for (const replay::Curve::Piece& piece : curve.pieces()) {
        EXPECT_GT(piece.begin, end);
        EXPECT_LE(piece.lowest, std::min(piece.first, piece.last));
        EXPECT_GE(piece.highest, std::max(piece.first, piece.last));
        peaks += piece.highest == 99 ? 1 : 0;
        end = piece.end;
    }
    EXPECT_EQ(peaks, 1);
    EXPECT_EQ(curve.pieces().front().begin, 0);
    EXPECT_EQ(end, 1000 * (seconds - 1));
}

} // namespace
