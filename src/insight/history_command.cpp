// SPDX-License-Identifier: MIT
// The console's command `history`.
#include <algorithm>
#include <charconv>
#include <string_view>

#include "ap/output.h"
#include "insight/chart.h"
#include "insight/commands.h"
#include "insight/sensor_names.h"
#include "insight/text.h"
#include "insight/thresholds.h"
#include "insight/wording.h"

namespace power_man::insight {
namespace {

constexpr Moment longest = 24 * hour;
constexpr Moment unasked = 6 * hour;
constexpr Moment most_rows = 30;

struct Request {
    std::string_view sensor;
    Moment time = unasked;
    bool csv = false;
};

// "30m", "6h".
std::optional<Moment> parse_time(std::string_view text)
{
    Moment number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop + 1 != end || (*stop != 'm' && *stop != 'h'))
        return std::nullopt;
    const Moment unit = *stop == 'h' ? hour : minute;
    if (number < 1 || number > longest / unit)
        return std::nullopt;
    return number * unit;
}

std::optional<Request> parse(int argc, char** argv)
{
    Request request;
    int words = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        const auto time = parse_time(word);
        if (word == "--csv")
            request.csv = true;
        else if (words == 0)
            request.sensor = word;
        else if (words == 1 && time)
            request.time = *time;
        else
            return std::nullopt;
        words += word == "--csv" ? 0 : 1;
    }
    return words == 0 ? std::nullopt : std::optional(request);
}

// So that they fit on a screen.
Moment row_step(Moment time)
{
    for (const Moment minutes : {1U, 2U, 5U, 15U, 30U}) {
        if (minutes * minute >= finest_step(time) && time <= most_rows * minutes * minute)
            return minutes * minute;
    }
    return hour;
}

// Where a rising temperature comes to the next interval.
std::vector<std::int32_t> boundaries_of(const SensorState& sensor, bool supplied)
{
    std::vector<std::int32_t> boundaries;
    if (sensor.by_alarm())
        return boundaries;
    for (std::int32_t i = 0; i < highest_interval(*sensor.description); ++i) {
        if (const auto move = move_up(*sensor.description, i, supplied))
            boundaries.push_back(move->limit);
    }
    return boundaries;
}

std::string heading(const SensorState& sensor, const Request& request,
                    const std::vector<std::int32_t>& boundaries)
{
    std::string text = sensor.sensor->name;
    print_to(text, ", degrees Celsius, the last %s\n", duration_text(request.time).c_str());
    if (memory_start() + request.time > now())
        print_to(text, "Nothing is remembered from before %s.\n",
                 time_text(memory_start()).c_str());
    std::vector<std::string> limits;
    for (const std::int32_t boundary : boundaries)
        limits.push_back(printed("%d", boundary));
    if (!limits.empty())
        print_to(text, "|: above it an interval higher (%s)   -o-: minimum, mean, maximum\n",
                 joined(limits).c_str());
    return text;
}

} // namespace

int history(int argc, char** argv)
{
    const auto request = parse(argc, argv);
    if (!request)
        return SHELL_USAGE;
    const State state = present_state();
    if (state.model == nullptr)
        return refuse_without_model();
    const auto index = find_name(sensor_names(*state.model), request->sensor, "sensor");
    if (!index)
        return SHELL_FAILED;
    if (state.sensors[*index].memory == nullptr) {
        qv_puts("The platform id came after the start, so nothing is remembered\n");
        return SHELL_FAILED;
    }
    if (request->csv) {
        const auto rows = chart_rows(state, *index, request->time, finest_step(request->time));
        qv_puts(comma_separated(rows).c_str());
        return SHELL_OK;
    }
    const SensorState& sensor = state.sensors[*index];
    const auto rows = chart_rows(state, *index, request->time, row_step(request->time));
    const auto boundaries = boundaries_of(sensor, state.supply.value_or(1) != 0);
    qv_puts((heading(sensor, *request, boundaries) + draw(rows, boundaries)).c_str());
    return SHELL_OK;
}

void offer_history(const char* before, shell_offer offer, void* list)
{
    const std::size_t words = count_words(before);
    if (words == 0) {
        offer_sensor("", offer, list);
        return;
    }
    if (words == 1) {
        for (const char* const time : {"30m", "2h", "6h", "24h"})
            offer(list, time);
    }
    offer(list, "--csv");
}

} // namespace power_man::insight
