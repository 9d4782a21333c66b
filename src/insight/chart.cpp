// SPDX-License-Identifier: MIT
#include "insight/chart.h"

#include <algorithm>
#include <array>

#include "insight/text.h"

namespace power_man::insight {
namespace {

constexpr std::size_t columns = 46; // of the drawing
constexpr std::int32_t margin = 2;  // degrees beside the outermost readings
constexpr std::int32_t near = 20;   // degrees: a boundary that far beyond the readings is shown

constexpr std::array<char, effect_count> letters = {'C', 'B', 'U', 'P', 'F', 'L', 'H', 'R', 'S'};

// Degrees to columns.
class Scale {
public:
    Scale(const std::vector<ChartRow>& rows, const std::vector<std::int32_t>& boundaries)
    {
        for (const ChartRow& row : rows) {
            if (row.readings)
                include(row.readings->low, row.readings->high);
        }
        const std::int32_t low = low_;
        const std::int32_t high = high_;
        for (const std::int32_t boundary : boundaries) {
            if (boundary >= low - near && boundary <= high + near)
                include(boundary, boundary);
        }
        low_ -= margin;
        high_ += margin;
    }

    std::int32_t low() const { return low_; }
    std::int32_t high() const { return high_; }
    bool has(std::int32_t degrees) const { return degrees >= low_ && degrees <= high_; }
    std::size_t column(std::int32_t degrees) const
    {
        const auto above = static_cast<std::size_t>(std::int64_t{degrees} - low_);
        return above * (columns - 1) / static_cast<std::size_t>(std::int64_t{high_} - low_);
    }

private:
    void include(std::int32_t low, std::int32_t high)
    {
        low_ = any_ ? std::min(low_, low) : low;
        high_ = any_ ? std::max(high_, high) : high;
        any_ = true;
    }

    bool any_ = false;
    std::int32_t low_ = 0;
    std::int32_t high_ = 0;
};

std::string drawing(const ChartRow& row, const Scale& scale,
                    const std::vector<std::int32_t>& boundaries)
{
    std::string line(columns, ' ');
    for (const std::int32_t boundary : boundaries) {
        if (scale.has(boundary))
            line[scale.column(boundary)] = '|';
    }
    if (row.readings) {
        const std::size_t from = scale.column(row.readings->low);
        const std::size_t to = scale.column(row.readings->high);
        std::fill(line.begin() + static_cast<std::ptrdiff_t>(from),
                  line.begin() + static_cast<std::ptrdiff_t>(to) + 1, '-');
        line[scale.column(row.readings->mean)] = 'o';
    }
    return line;
}

std::string off(EffectSet effects_then)
{
    std::string text;
    for (std::size_t i = 0; i < effect_count; ++i) {
        if (effects_then.has(static_cast<Effect>(i)))
            text += letters[i];
    }
    return text;
}

std::string legend(const std::vector<ChartRow>& rows)
{
    EffectSet all;
    for (const ChartRow& row : rows)
        all |= row.effects;
    std::string text;
    for (std::size_t i = 0; i < effect_count; ++i) {
        if (all.has(static_cast<Effect>(i)))
            print_to(text, "  %c: %s %s\n", letters[i], effects[i].name, effects[i].begun);
    }
    return text;
}

std::string title_line(const Scale& scale)
{
    std::string left = printed("%d", scale.low());
    const std::string right = printed("%d", scale.high());
    left.resize(columns - right.size(), ' ');
    return "time    min mean  max  " + left + right + "\n";
}

} // namespace

std::string draw(const std::vector<ChartRow>& rows, const std::vector<std::int32_t>& boundaries)
{
    const Scale scale(rows, boundaries);
    std::string text = title_line(scale);
    for (const ChartRow& row : rows) {
        std::string line = short_time_text(row.begin);
        if (row.readings)
            print_to(line, "  %4d %4d %4d", row.readings->low, row.readings->mean,
                     row.readings->high);
        else
            line += "     -    -    -";
        line += "  " + drawing(row, scale, boundaries) + "  " + off(row.effects);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text + legend(rows);
}

} // namespace power_man::insight
