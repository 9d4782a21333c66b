// SPDX-License-Identifier: MIT
#include "temperature/protection_status.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <string>

#include "ap/config.h"
#include "ap/supervision.h"
#include "ap/text.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "temperature/consumers.h"
#include "temperature/readings.h"
#include "temperature/temp_desc.h"

namespace power_man {
namespace {

bool away_now = false;

// All that the words depend on, so that they are made when it changes only.
struct State {
    const Model* model = nullptr;
    std::string id; // without a model
    bool supply_known = false;
    const Sensor* unread = nullptr;
    std::uint32_t hot = 0; // a bit for each of the model's sensors
    bool held = false;     // any consumer is
    bool away = away_now;  // the database is

    bool operator==(const State&) const = default;
};

State state_without_model()
{
    std::array<char, longest_platform_id + 1> id{};
    State state;
    if (config_read_string(key::platform_id, id.data(), id.size()) == 0)
        state.id = printable(id.data());
    return state;
}

State state_of(const Model& model)
{
    State state;
    state.model = &model;
    state.supply_known = supply_is_known();
    state.unread = sensor_without_reading();
    for (std::size_t i = 0; i < model.sensors.size(); ++i) {
        const std::size_t number = sensor_number(model, i);
        if (temp_mon_rec[number].intv > temp_desc[number].init_intv)
            state.hot |= 1U << i;
    }
    state.held = std::any_of(holders().begin(), holders().end(),
                             [](std::int32_t count) { return count > 0; });
    return state;
}

// With the date: the words may stand for days.
std::string local_time(std::int32_t seconds)
{
    const time_t time = seconds;
    tm parts{};
    localtime_r(&time, &parts);
    std::array<char, 32> text;
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts);
    return text.data();
}

std::string words(const State& state, std::int32_t hot_since)
{
    if (state.model == nullptr)
        return state.id.empty() ? "NOT PROTECTED: no platform id"
                                : "NOT PROTECTED: unknown platform id " + state.id;
    if (state.away)
        return "NOT PROTECTED: the database is away";
    if (!state.supply_known)
        return "NOT PROTECTED: external supply unknown";
    if (state.unread != nullptr)
        return std::string("NOT PROTECTED: no reading of ") + state.unread->name;
    if (state.hot == 0)
        return std::string("protecting ") + state.model->id;
    std::string sensors;
    for (std::size_t i = 0; i < state.model->sensors.size(); ++i) {
        if ((state.hot & (1U << i)) != 0)
            sensors.append(sensors.empty() ? "" : ", ").append(state.model->sensors[i].name);
    }
    return std::string(state.model->id) + (state.held ? " limited" : " hot") + " since " +
           local_time(hot_since) + " by " + sensors;
}

} // namespace

void note_database(bool away)
{
    away_now = away;
}

bool database_is_away()
{
    return away_now;
}

void show_status(const Model* model)
{
    static State shown;
    static bool sent = false;
    static std::int32_t hot_since = 0;
    State state = model != nullptr ? state_of(*model) : state_without_model();
    if (sent && state == shown)
        return;
    if (shown.hot == 0 && state.hot != 0)
        hot_since = qv_time();
    sent = appmgr_status(words(state, hot_since).c_str()) == 0;
    shown = std::move(state);
}

} // namespace power_man
