// SPDX-License-Identifier: MIT
#include "sensor_panel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "formatted.h"
#include "markup.h"
#include "text_report.h"

namespace replay {
namespace {

constexpr int curve_height = 220; // pixels
constexpr int strip_height = 12;
constexpr int gap = 12;

constexpr int coldest = -60; // degrees that a scale shows at most: beyond are broken sensors
constexpr int hottest = 130;
constexpr int scale_margin = 5;
constexpr int scale_context = 15; // below the first threshold

constexpr std::size_t most_dots = 5000;

// From cold to the end; a sensor with three intervals has nothing between normal and the end.
const char* interval_class(const power_man::Sensor& sensor, std::size_t interval)
{
    constexpr std::array<const char*, power_man::most_intervals> classes = {"i0", "i1", "i2", "i3",
                                                                            "i4"};
    const bool is_end = interval + 1 >= sensor.intervals.size();
    return is_end ? classes.back() : classes[interval];
}

const power_man::TemperatureRange& range(const power_man::Interval& interval, bool supplied)
{
    return supplied ? interval.ranges.supplied : interval.ranges.alone;
}

} // namespace

// The scale shows the readings, and the thresholds above normal operation.
SensorPanel::SensorPanel(const Subject& subject, const Picture& picture, std::size_t sensor,
                         double seconds, int top)
    : picture_(picture), description_(subject.model.sensors[sensor]),
      seen_(picture.sensors[sensor]), seconds_(seconds), top_(top)
{
    for (std::size_t k = 1; k < description_.intervals.size(); ++k) {
        for (const bool supplied : {false, true}) {
            const int threshold = range(description_.intervals[k - 1], supplied).max;
            highest_ = std::max(highest_, threshold + scale_margin);
            if (k > 1)
                lowest_ = std::min(lowest_, threshold - scale_context);
        }
    }
    if (seen_.has_readings()) {
        lowest_ = std::min(lowest_, std::max(seen_.lowest, coldest) - scale_margin);
        highest_ = std::max(highest_, std::min(seen_.highest, hottest) + scale_margin);
    }
    lowest_ = std::min(lowest_, highest_ - 1);
}

int SensorPanel::bottom() const
{
    const bool strip_alone = power_man::decides_by_alarm(description_);
    return top_ + title_height + (strip_alone ? 0 : curve_height + 2) + strip_height + gap;
}

std::string SensorPanel::words() const
{
    if (power_man::decides_by_alarm(description_))
        return {};
    return seen_.has_readings()
               ? formatted(" %s: %d to %d degrees, %zu changes of interval.", description_.name,
                           seen_.lowest, seen_.highest, seen_.transitions.size())
               : formatted(" %s: no reading.", description_.name);
}

// Each interval from the threshold that leads into it upwards, over the ranges of the supply as it
// was; a broken line where it is left downwards.
void SensorPanel::write_bands(Output& output) const
{
    const auto write = [&](std::int64_t begin, std::int64_t end, bool supplied) {
        if (begin == end)
            return;
        const std::string from = in_seconds(begin);
        const std::string length = in_seconds(end - begin);
        int bottom = lowest_;
        for (std::size_t k = 0; k < description_.intervals.size(); ++k) {
            const bool last = k + 1 == description_.intervals.size();
            const int top = last ? highest_
                                 : std::clamp(range(description_.intervals[k], supplied).max,
                                              lowest_, highest_);
            if (top > bottom)
                output << formatted("<rect class=\"band %s\" x=\"%s\" y=\"%d\" width=\"%s\" "
                                    "height=\"%d\"/>\n",
                                    interval_class(description_, k), from.c_str(), bottom,
                                    length.c_str(), top - bottom);
            const int back = range(description_.intervals[k], supplied).min;
            if (k > 1 && back > lowest_)
                output << formatted("<path class=\"back %s\" d=\"M%s %dh%s\"/>\n",
                                    interval_class(description_, k), from.c_str(), back,
                                    length.c_str());
            bottom = std::max(bottom, top);
        }
    };
    std::int64_t time = 0;
    for (const Span& span : picture_.unsupplied.all()) {
        write(time, span.begin, true);
        write(span.begin, span.end, false);
        time = span.end;
    }
    write(time, picture_.duration, true);
}

// The degrees at the left; at the right, a bar for each interval over its whole range: where two of
// them stand beside each other, the sensor keeps the one in which it is.
void SensorPanel::write_scale(Output& output) const
{
    const double pixels = static_cast<double>(curve_height) / (highest_ - lowest_);
    const int top = top_ + title_height;
    const auto y_of = [&](int degrees) { return top + (highest_ - degrees) * pixels; };
    const int step = highest_ - lowest_ > 100 ? 20 : 10;
    for (int degrees = static_cast<int>(std::ceil(static_cast<double>(lowest_) / step)) * step;
         degrees <= highest_; degrees += step)
        output << formatted("<text class=\"scale\" x=\"-6\" y=\"%.0f\">%d°</text>\n",
                            y_of(degrees) + 4, degrees);
    const auto& unsupplied = picture_.unsupplied.all();
    const bool supplied = unsupplied.empty() || unsupplied.front().begin > 0; // in the beginning
    double name_bottom = top + curve_height + 20.0;
    for (std::size_t k = 0; k < description_.intervals.size(); ++k) {
        const auto& [min, max] = range(description_.intervals[k], supplied);
        const double high = y_of(std::clamp(max, lowest_, highest_));
        const double low = y_of(std::clamp(min, lowest_, highest_));
        if (low <= high)
            continue;
        output << formatted("<svg class=\"gutter\" x=\"100%%\"><rect class=\"range %s\" x=\"%d\" "
                            "y=\"%.1f\" width=\"7\" height=\"%.1f\">",
                            interval_class(description_, k), 6 + 9 * static_cast<int>(k), high,
                            low - high)
               << "<title>" << escaped(description_.intervals[k].name)
               << formatted(": %d to %d °C</title></rect></svg>\n", min, max);
        // Names stand at the upper end of their bands, unless that is taken.
        const double name_y = std::max(high, static_cast<double>(top)) + 13;
        if (k > 0 && name_y < name_bottom - 12) {
            output << formatted("<text class=\"band-name\" x=\"6\" y=\"%.0f\">", name_y)
                   << escaped(description_.intervals[k].name) << "</text>\n";
            name_bottom = name_y;
        }
    }
}

void SensorPanel::write_curve(Output& output) const
{
    std::string path;
    std::int32_t value = 0;
    const auto vertical = [&](std::int32_t to) {
        if (to != value)
            path += "V" + std::to_string(to);
        value = to;
    };
    for (const Curve::Piece& piece : seen_.curve.pieces()) {
        if (path.empty()) {
            path = "M" + in_seconds(piece.begin) + " " + std::to_string(piece.first);
            value = piece.first;
        } else {
            path += "H" + in_seconds(piece.begin);
            vertical(piece.first);
        }
        vertical(piece.lowest);
        vertical(piece.highest);
        if (piece.end != piece.begin)
            path += "H" + in_seconds(piece.end);
        vertical(piece.last);
    }
    if (!path.empty())
        output << "<path class=\"curve\" d=\"" << path << "H" << in_seconds(picture_.duration)
               << "\"/>\n";
    if (seen_.transitions.size() > most_dots)
        return; // nobody can tell one from another; the strip below has them all
    std::string dots;
    for (const Transition& transition : seen_.transitions)
        dots += "M" + in_seconds(transition.time) + " " + std::to_string(transition.value) + "h0";
    if (!dots.empty())
        output << "<path class=\"dots\" d=\"" << dots << "\"/>\n";
}

// Which interval the sensor was in.
void SensorPanel::write_intervals(Output& output, int y) const
{
    std::vector<SpanPath> paths(description_.intervals.size() + 1);
    std::size_t interval = 1;
    std::int64_t since = 0;
    for (const Transition& transition : seen_.transitions) {
        paths[interval].add(since, transition.time);
        interval = transition.interval;
        since = transition.time;
    }
    paths[interval].add(since, picture_.duration);
    open_plot(output, y, strip_height, seconds_, {0, 1},
              " data-lane=\"" + escaped(description_.name) + "\"");
    for (std::size_t k = 0; k < paths.size(); ++k) {
        if (!paths[k].text().empty())
            output << formatted("<path class=\"span %s\" data-state=\"",
                                interval_class(description_, k))
                   << escaped(interval_name(description_, k)) << "\" d=\"" << paths[k].text()
                   << "\"/>\n";
    }
    output << "</svg>\n";
}

void SensorPanel::write(Output& output) const
{
    const int y = top_ + title_height;
    if (power_man::decides_by_alarm(description_)) {
        write_title(output, top_, std::string(description_.name) + ", its state");
        return write_intervals(output, y);
    }
    write_title(output, top_, std::string(description_.name) + ", °C");
    open_plot(output, y, curve_height, seconds_, {-highest_, highest_ - lowest_},
              " data-sensor=\"" + escaped(description_.name) + "\"");
    output << "<g transform=\"scale(1 -1)\">\n";
    write_bands(output);
    write_curve(output);
    output << "</g></svg>\n";
    write_scale(output);
    write_intervals(output, y + curve_height + 2);
}

} // namespace replay
