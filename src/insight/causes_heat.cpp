// SPDX-License-Identifier: MIT
#include <algorithm>

#include "insight/causes.h"
#include "insight/text.h"
#include "insight/wording.h"

namespace power_man::insight {
namespace {

struct Holder {
    const SensorState* sensor;
    std::int32_t lower; // the boundary over which it took it
    const Crossings* crossing;
};

// In the order of their taking.
std::vector<Holder> holders_of(const State& state, Effect effect)
{
    std::vector<Holder> holders;
    for (const SensorState& sensor : state.sensors) {
        const auto boundary = begun_at(*sensor.sensor, sensor.interval, effect);
        if (!boundary || sensor.memory == nullptr)
            continue;
        const Crossings& crossing =
            sensor.memory->boundaries[static_cast<std::size_t>(boundary->lower)];
        const auto later = [&crossing](const Holder& other) {
            return other.crossing->at > crossing.at;
        };
        holders.insert(std::find_if(holders.begin(), holders.end(), later),
                       {&sensor, boundary->lower, &crossing});
    }
    return holders;
}

Cause heat(const State& state, const std::vector<Holder>& holders, Moment since)
{
    Cause cause{"by heat since " + time_text(since), {}};
    std::vector<std::string> returns;
    for (const Holder& holder : holders) {
        if (holder.crossing->at != since)
            cause.why += ", and since " + time_text(holder.crossing->at);
        cause.why += ", when " + crossing_text(*holder.sensor, holder.lower, *holder.crossing,
                                               with_article(*holder.sensor));
        returns.push_back(return_text(*holder.sensor, holder.lower, state.supply.value_or(1) != 0));
    }
    cause.until = "It returns when " + joined(returns, " and ") + ".";
    return cause;
}

std::vector<Explanation> held_only(const State& state, Effect effect, const char* subject)
{
    const EffectRow& row = effects[static_cast<std::size_t>(effect)];
    Explanation thing{subject, row.ended, row.begun, {}};
    add_heat(thing.causes, state, effect);
    return {thing};
}

} // namespace

void add_heat(std::vector<Cause>& causes, const State& state, Effect effect)
{
    const auto found =
        std::find_if(state.effects.begin(), state.effects.end(),
                     [effect](const EffectState& other) { return other.effect == effect; });
    if (found == state.effects.end())
        return;
    const std::vector<Holder> holders = holders_of(state, effect);
    if (!holders.empty())
        causes.push_back(heat(state, holders, found->since.value_or(holders.front().crossing->at)));
    else
        causes.push_back({printed("by a mark from before the daemon started (%s is 1), though no "
                                  "sensor holds it",
                                  consumers[static_cast<std::size_t>(effect)].key),
                          {}});
}

bool add_setting(std::vector<Cause>& causes, const std::string& key, bool missing_is_on)
{
    const auto value = read_key(key.c_str());
    if (value ? *value != 0 : missing_is_on)
        return false;
    causes.push_back(
        {printed("by the user's setting: %s is %s", key.c_str(), value ? "0" : "missing"), {}});
    return true;
}

std::vector<Explanation> explain_background(const Inquiry& inquiry, Port)
{
    return held_only(inquiry.state, Effect::limit_background, "Background data is");
}

std::vector<Explanation> explain_connections(const Inquiry& inquiry, Port)
{
    return held_only(inquiry.state, Effect::close_connections, "Data connections are");
}

} // namespace power_man::insight
