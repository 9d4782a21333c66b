// SPDX-License-Identifier: MIT
#include "page.h"

#include <algorithm>
#include <array>

#include "assets.h"
#include "formatted.h"
#include "markup.h"
#include "moment.h"
#include "text_report.h"

namespace replay {
namespace {

constexpr std::size_t most_happenings = 2000;

struct Happening {
    std::int64_t time;
    std::string what;
};

std::string share(std::int64_t part, std::int64_t whole)
{
    return formatted("%.2f %%", whole > 0
                                    ? 100.0 * static_cast<double>(part) / static_cast<double>(whole)
                                    : 0.0);
}

std::string number(std::uint64_t value)
{
    return std::to_string(value);
}

class Page {
public:
    Page(Output& output, const Subject& subject, const Picture& picture, const Summary& summary)
        : output_(output), subject_(subject), picture_(picture), summary_(summary)
    {
    }

    void write()
    {
        const std::string name = escaped(subject_.model.id + (": " + subject_.name));
        output_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                   "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                << "<title>" << name << "</title>\n<style>\n"
                << picture_css << page_css << "</style>\n</head>\n<body>\n<main>\n<h1>" << name
                << "</h1>\n<p class=\"lead\">" << moment_text(subject_.begin_ms) << " to "
                << moment_text(subject_.begin_ms + picture_.duration) << ", "
                << span_text(picture_.duration) << "</p>\n";
        facts();
        figure();
        for (std::size_t i = 0; i < summary_.sensors.size(); ++i)
            sensor_table(i);
        consumer_table();
        happenings_table();
        output_ << "</main>\n<script>\n" << page_js << "</script>\n</body>\n</html>\n";
    }

private:
    void fact(const std::string& name, const std::string& value, const std::string& unit)
    {
        output_ << "<div><dt>" << escaped(name) << "</dt><dd>" << value << " <small>"
                << escaped(unit) << "</small></dd></div>\n";
    }

    void facts()
    {
        output_ << "<dl class=\"facts\">\n";
        for (std::size_t i = 0; i < summary_.sensors.size(); ++i) {
            const power_man::Sensor& sensor = subject_.model.sensors[i];
            const SensorSummary& seen = summary_.sensors[i];
            if (!power_man::decides_by_alarm(sensor) && seen.readings > 0)
                fact(sensor.name, formatted("%d to %d", seen.lowest->value, seen.highest->value),
                     "°C");
        }
        for (const power_man::Consumer& consumer : power_man::consumers) {
            const ConsumerSummary& held = summary_.consumers[consumer.index];
            fact(held_text(consumer.index), share(held.time_off, summary_.duration),
                 number(held.times_off) + "×");
        }
        fact("Reboots, shutdowns asked",
             number(summary_.reboots) + ", " + number(summary_.shutdowns), "");
        output_ << "</dl>\n";
    }

    void figure()
    {
        const Drawing drawing(subject_, picture_);
        output_
            << "<figure>\n<div class=\"controls\" role=\"toolbar\" aria-label=\"Zoom\" hidden>\n";
        constexpr std::array<std::array<const char*, 3>, 5> buttons = {{
            {"in", "Zoom in", "+"},
            {"out", "Zoom out", "−"},
            {"left", "Earlier", "◀"},
            {"right", "Later", "▶"},
            {"all", "Show all", "All"},
        }};
        for (const auto& [action, label, sign] : buttons)
            output_ << "<button type=\"button\" data-action=\"" << action << "\" aria-label=\""
                    << label << "\" title=\"" << label << "\">" << sign << "</button>\n";
        output_
            << "<output id=\"shown\"></output>\n<span class=\"keys\">Keys: + − 0, ← → for the "
               "cursor; drag to zoom</span>\n</div>\n"
            << "<div class=\"frame\" tabindex=\"0\" role=\"group\" aria-label=\"Curves: plus and "
               "minus zoom, the arrow keys move the cursor\">\n"
            << "<svg class=\"picture\" id=\"picture\" role=\"img\" aria-label=\""
            << escaped(drawing.description())
            << formatted("\" width=\"100%%\" height=\"%d\" data-begin=\"%lld\" "
                         "data-seconds=\"%.10g\" data-axis=\"%d\">\n",
                         drawing.height(), static_cast<long long>(subject_.begin_ms),
                         drawing.seconds(), drawing.axis());
        drawing.write_body(output_);
        output_ << "</svg>\n</div>\n<div class=\"readout\" id=\"readout\" role=\"status\" "
                   "hidden></div>\n</figure>\n";
    }

    void begin_table(const std::string& caption, std::initializer_list<const char*> columns)
    {
        output_ << "<section>\n<table>\n<caption>" << escaped(caption) << "</caption>\n<thead><tr>";
        bool first = true;
        for (const char* const column : columns) {
            output_ << (first ? "<th scope=\"col\">" : "<th scope=\"col\" class=\"number\">")
                    << escaped(column) << "</th>";
            first = false;
        }
        output_ << "</tr></thead>\n<tbody>\n";
    }

    void row(const std::vector<std::string>& cells)
    {
        output_ << "<tr>";
        for (std::size_t i = 0; i < cells.size(); ++i)
            output_ << (i == 0 ? "<td>" : "<td class=\"number\">") << escaped(cells[i]) << "</td>";
        output_ << "</tr>\n";
    }

    void end_table() { output_ << "</tbody>\n</table>\n</section>\n"; }

    void sensor_table(std::size_t index)
    {
        const power_man::Sensor& sensor = subject_.model.sensors[index];
        const SensorSummary& seen = summary_.sensors[index];
        std::string caption = sensor.name;
        if (seen.readings == 0)
            caption += ": no reading";
        else if (!power_man::decides_by_alarm(sensor))
            caption += formatted(": %d °C at ", seen.lowest->value) + at(seen.lowest->at) +
                       formatted(" to %d °C at ", seen.highest->value) + at(seen.highest->at);
        begin_table(caption, {"Interval", "Time in it", "Share", "Entered"});
        for (std::size_t k = 0; k < seen.time_in.size(); ++k) {
            if (k < sensor.intervals.size() || seen.entered[k] > 0)
                row({interval_name(sensor, k), span_text(seen.time_in[k]),
                     share(seen.time_in[k], summary_.duration), number(seen.entered[k])});
        }
        end_table();
    }

    void consumer_table()
    {
        begin_table("Held off", {"Consumer", "Times", "Time", "Share", "By whom"});
        for (const power_man::Consumer& consumer : power_man::consumers) {
            const ConsumerSummary& held = summary_.consumers[consumer.index];
            std::string by;
            for (std::size_t i = 0; i < held.by_sensor.size(); ++i) {
                if (held.by_sensor[i] > 0)
                    by += (by.empty() ? "" : ", ") + std::string(subject_.model.sensors[i].name) +
                          " " + span_text(held.by_sensor[i]);
            }
            row({name_of(consumer.index), number(held.times_off), span_text(held.time_off),
                 share(held.time_off, summary_.duration), by.empty() ? "-" : by});
        }
        end_table();
    }

    std::string at(std::int64_t time) const { return moment_text(subject_.begin_ms + time); }

    std::vector<Happening> happenings() const
    {
        std::vector<Happening> all;
        for (std::size_t i = 0; i < picture_.sensors.size(); ++i) {
            const power_man::Sensor& sensor = subject_.model.sensors[i];
            for (const Transition& transition : picture_.sensors[i].transitions) {
                const Reading reading{
                    i, transition.value, power_man::decides_by_alarm(sensor), true, 0, 0};
                all.push_back({transition.time, std::string(sensor.name) + " " +
                                                    value_text(reading) + ": " +
                                                    interval_name(sensor, transition.interval)});
            }
        }
        const auto add = [&](const Spans& spans, const std::string& begins,
                             const std::string& ends) {
            for (const Span& span : spans.all()) {
                std::string by;
                for (std::size_t i = 0; i < subject_.model.sensors.size(); ++i) {
                    if ((span.by >> i & 1U) != 0)
                        by += (by.empty() ? " by " : " and ") +
                              std::string(subject_.model.sensors[i].name);
                }
                all.push_back({span.begin, begins + by});
                const bool goes_on = &span != &spans.all().back() && (&span)[1].begin == span.end;
                if (!goes_on && span.end < picture_.duration)
                    all.push_back({span.end, ends});
            }
        };
        for (const power_man::Consumer& consumer : power_man::consumers)
            add(picture_.consumers[consumer.index], held_text(consumer.index),
                std::string(name_of(consumer.index)) + " given back");
        add(picture_.unsupplied, "external supply lost", "external supply there");
        add(picture_.short_circuits, "USB short circuit", "USB short circuit over");
        for (const auto& [what, times] : picture_.marks) {
            for (const std::int64_t time : times)
                all.push_back({time, what});
        }
        std::stable_sort(all.begin(), all.end(),
                         [](const Happening& a, const Happening& b) { return a.time < b.time; });
        return all;
    }

    void happenings_table()
    {
        const std::vector<Happening> all = happenings();
        output_ << "<section>\n<table>\n<caption>What happened</caption>\n<thead><tr><th "
                   "scope=\"col\">Time</th><th scope=\"col\">What</th></tr></thead>\n<tbody>\n";
        const std::size_t count = std::min(all.size(), most_happenings);
        for (std::size_t i = 0; i < count; ++i)
            output_ << "<tr><td class=\"time\">" << at(all[i].time) << "</td><td>"
                    << escaped(all[i].what) << "</td></tr>\n";
        output_ << "</tbody>\n</table>\n";
        if (all.size() > count)
            output_ << "<p class=\"note\">And " << number(all.size() - count)
                    << " more: the text output has them all.</p>\n";
        if (all.empty())
            output_ << "<p class=\"note\">Nothing: every sensor stayed in its interval.</p>\n";
        output_ << "</section>\n";
    }

    Output& output_;
    const Subject& subject_;
    const Picture& picture_;
    const Summary& summary_;
};

} // namespace

void write_page(Output& output, const Subject& subject, const Picture& picture,
                const Summary& summary)
{
    Page(output, subject, picture, summary).write();
}

} // namespace replay
