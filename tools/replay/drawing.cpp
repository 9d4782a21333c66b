// SPDX-License-Identifier: MIT
#include "drawing.h"

#include <algorithm>
#include <cctype>

#include "assets.h"
#include "formatted.h"
#include "markup.h"
#include "moment.h"
#include "time_ticks.h"

namespace replay {
namespace {

constexpr int lane_height = 14; // pixels, as all that is not time
constexpr int gap = 12;
constexpr int axis_height = 22;
constexpr int legend_height = 40;
constexpr int file_width = 960;
constexpr int file_title = 44;

constexpr std::size_t long_path = 1000; // characters: worth to be named and used again

std::string times_text(std::size_t times)
{
    return times == 1 ? "once" : std::to_string(times) + " times";
}

} // namespace

Drawing::Drawing(const Subject& subject, const Picture& picture)
    : subject_(subject), picture_(picture),
      seconds_(std::max(0.001, static_cast<double>(picture.duration) / 1000))
{
    int y = 0;
    for (std::size_t i = 0; i < picture.sensors.size(); ++i) {
        panels_.emplace_back(subject, picture, i, seconds_, y);
        y = panels_.back().bottom();
    }
    const auto add_lane = [&](std::string name, const Spans* spans) {
        name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
        lanes_.push_back({std::move(name), spans, y});
        y += title_height + lane_height + 2;
    };
    for (const power_man::Consumer& consumer : power_man::consumers)
        add_lane(held_text(consumer.index), &picture.consumers[consumer.index]);
    if (!picture.unsupplied.all().empty())
        add_lane("without external supply", &picture.unsupplied);
    if (!picture.short_circuits.all().empty())
        add_lane("USB short circuit", &picture.short_circuits);
    if (!picture.marks.empty())
        add_lane("events and orders", nullptr);
    axis_ = y + gap / 2;
    height_ = axis_ + axis_height + legend_height;
}

std::string Drawing::holders(Sensors by) const
{
    std::string names;
    for (std::size_t i = 0; i < subject_.model.sensors.size(); ++i) {
        if ((by >> i & 1U) != 0)
            names += std::string(names.empty() ? "" : " and ") + subject_.model.sensors[i].name;
    }
    return names;
}

std::string Drawing::description() const
{
    std::string text = std::string("A ") + subject_.model.id + " from " +
                       moment_text(subject_.begin_ms) + ", for " + span_text(picture_.duration) +
                       ".";
    for (const SensorPanel& panel : panels_)
        text += panel.words();
    for (const Lane& lane : lanes_) {
        if (lane.spans != nullptr)
            text += " " + lane.name + ": " + times_text(lane.spans->times()) + ".";
    }
    for (const auto& [what, times] : picture_.marks)
        text += " " + what + ": " + times_text(times.size()) + ".";
    return text;
}

void Drawing::write_marks(Output& output, const Lane& lane) const
{
    open_plot(output, lane.top + title_height, lane_height, seconds_, {0, 1},
              " data-marks=\"" + lane.name + "\"");
    for (const auto& [what, times] : picture_.marks) {
        std::string path;
        for (const std::int64_t time : times)
            path += "M" + in_seconds(time) + " .5h0";
        const bool order = what.ends_with(" asked");
        output << "<path class=\"mark " << (order ? "order" : "event") << "\" data-mark=\""
               << escaped(what) << "\" d=\"" << path << "\"/>\n";
    }
    output << "</svg>\n";
}

void Drawing::write_lane(Output& output, const Lane& lane) const
{
    write_title(output, lane.top, lane.name);
    if (lane.spans == nullptr)
        return write_marks(output, lane);
    std::map<Sensors, SpanPath> paths;
    for (const Span& span : lane.spans->all())
        paths[span.by].add(span.begin, span.end);
    output << formatted("<rect class=\"empty\" y=\"%d\" width=\"100%%\" height=\"%d\"/>\n",
                        lane.top + title_height, lane_height);
    open_plot(output, lane.top + title_height, lane_height, seconds_, {0, 1},
              " data-lane=\"" + escaped(lane.name) + "\"");
    for (const auto& [by, path] : paths) {
        const std::string names = holders(by);
        const std::string state = escaped(names.empty() ? "yes" : "by " + names);
        // Several consumers are mostly held together.
        const auto same = long_paths_.emplace(path.text(), long_paths_.size());
        if (path.text().size() > long_path && !same.second) {
            output << formatted("<use class=\"span\" data-state=\"%s\" href=\"#path%zu\"/>\n",
                                state.c_str(), same.first->second);
            continue;
        }
        output << "<path ";
        if (path.text().size() > long_path)
            output << formatted("id=\"path%zu\" ", same.first->second);
        output << formatted("class=\"span by%u\" data-state=\"%s\" d=\"", by > 3 ? 3 : by,
                            state.c_str())
               << path.text() << "\"/>\n";
    }
    output << "</svg>\n";
}

void Drawing::write_ticks(Output& output) const
{
    output << "<g class=\"ticks\">\n";
    for (const Tick& tick : time_ticks(subject_.begin_ms, picture_.duration)) {
        const double percent = 100 * static_cast<double>(tick.time) / (1000 * seconds_);
        output << formatted("<line x1=\"%.3f%%\" x2=\"%.3f%%\" y1=\"%d\" y2=\"%d\"/>"
                            "<text x=\"%.3f%%\" y=\"%d\">%s</text>\n",
                            percent, percent, title_height, axis_, percent, axis_ + 15,
                            tick.label.c_str());
    }
    output << "</g>\n";
}

// Whose colour is which.
void Drawing::write_legend(Output& output) const
{
    const auto& sensors = subject_.model.sensors;
    const int y = axis_ + axis_height;
    output << formatted("<text class=\"legend\" y=\"%d\">Held off by", y + 15);
    const std::size_t kinds = sensors.size() > 1 ? 3 : 1;
    for (std::size_t by = 1; by <= kinds; ++by)
        output << formatted(" <tspan class=\"by%zu\">■</tspan> ", by)
               << (by < 3 ? escaped(sensors[by - 1].name) : "both");
    output << formatted(
        "</text>\n<text class=\"legend\" y=\"%d\">● change of interval; dashed: where "
        "it is left downwards</text>\n",
        y + 32);
}

void Drawing::write_body(Output& output) const
{
    for (const SensorPanel& panel : panels_)
        panel.write(output);
    for (const Lane& lane : lanes_)
        write_lane(output, lane);
    write_ticks(output);
    write_legend(output);
}

void Drawing::write_file(Output& output) const
{
    const int height = file_title + height_ + gap;
    output << "<!-- SPDX-License-Identifier: MIT -->\n"
           << formatted("<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"picture file\" "
                        "width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\" role=\"img\">\n",
                        file_width, height, file_width, height)
           << "<title>" << escaped(subject_.model.id + (": " + subject_.name)) << "</title>\n<desc>"
           << escaped(description()) << "</desc>\n<style>\n"
           << picture_css << "</style>\n<rect class=\"paper\" width=\"100%\" height=\"100%\"/>\n"
           << formatted("<text class=\"headline\" x=\"%d\" y=\"27\">", left_margin)
           << escaped(subject_.model.id + (": " + subject_.name)) << "</text>\n"
           << formatted("<svg class=\"margins\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\">\n",
                        left_margin, file_title, file_width - left_margin - right_margin, height_);
    write_body(output);
    output << "</svg>\n</svg>\n";
}

} // namespace replay
