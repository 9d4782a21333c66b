// SPDX-License-Identifier: MIT
#include <algorithm>

#include "insight/chart.h"
#include "insight/text.h"

namespace power_man::insight {
namespace {

struct Gatherer {
    History::Span all;
    std::int32_t means = 0;
    std::int32_t count = 0;

    void add(const History::Span& span)
    {
        if (span.is_empty())
            return;
        all.low = std::min(all.low, span.low);
        all.high = std::max(all.high, span.high);
        means += span.mean;
        ++count;
    }

    std::optional<History::Span> result()
    {
        if (count == 0)
            return std::nullopt;
        all.mean = static_cast<std::int16_t>(means / count);
        return all;
    }
};

EffectSet effects_in(const Sensor& sensor, const History::Span& span)
{
    EffectSet effects;
    for (std::int32_t interval = span.lowest_interval; interval <= span.highest_interval;
         ++interval)
        effects |= in_force(sensor, interval);
    return effects;
}

} // namespace

Moment finest_step(Moment time)
{
    return time <= History::minutes * minute ? minute : quarter;
}

std::vector<ChartRow> chart_rows(const State& state, std::size_t sensor, Moment time, Moment step)
{
    const Moment piece = finest_step(time);
    const Moment end = now();
    const Moment oldest = std::max(end > time ? end - time : 0, memory_start());
    std::vector<ChartRow> rows;
    for (Moment begin = oldest - oldest % step; begin <= end; begin += step) {
        ChartRow row{begin, {}, {}};
        Gatherer readings;
        for (Moment at = begin; at < begin + step && at <= end; at += piece) {
            if (at + piece <= oldest)
                continue;
            for (std::size_t i = 0; i < state.sensors.size(); ++i) {
                const History::Span span = state.sensors[i].memory->history.span(at, piece);
                row.effects |= effects_in(*state.sensors[i].sensor, span);
                if (i == sensor)
                    readings.add(span);
            }
        }
        row.readings = readings.result();
        rows.push_back(row);
    }
    return rows;
}

std::string comma_separated(const std::vector<ChartRow>& rows)
{
    std::string text = "time,minimum,mean,maximum";
    for (const EffectRow& effect : effects)
        text += printed(",%s %s", effect.name, effect.begun);
    text += "\n";
    for (const ChartRow& row : rows) {
        text += full_time_text(row.begin);
        if (row.readings)
            print_to(text, ",%d,%d,%d", row.readings->low, row.readings->mean, row.readings->high);
        else
            text += ",,,";
        for (const EffectRow& effect : effects)
            text += row.effects.has(effect.effect) ? ",1" : ",0";
        text += "\n";
    }
    return text;
}

} // namespace power_man::insight
