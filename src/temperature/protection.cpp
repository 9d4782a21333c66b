// SPDX-License-Identifier: MIT
#include "temperature/protection.h"

#include <algorithm>
#include <cstring>

#include "ap/config.h"
#include "ap/loop.h"
#include "base/config_changes.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "temperature/left_holds.h"
#include "temperature/protection_status.h"
#include "temperature/readings.h"
#include "temperature/temp_sensors.h"

namespace power_man {
namespace {

const Model* current = nullptr;

// Readings that came while the supply was unknown were not evaluated. Where the supply selects
// the ranges its change evaluates them anyway.
void make_up_evaluations(const Model& model)
{
    const bool by_itself =
        std::any_of(model.sources.begin(), model.sources.end(),
                    [](const Source& source) { return source.reading == Reading::supply; });
    if (!by_itself)
        evaluate_readings(model);
}

// Called after temperature_change_cb(), which is registered first, with the same records.
void readings_changed(unsigned int count, const config_data_t* records, void*)
{
    for_each_change(count, records, [](const char* name, const std::int32_t* value) {
        const bool arrived = note_reading(name, value != nullptr);
        if (arrived && std::strcmp(name, key::external_supply) == 0)
            make_up_evaluations(*current);
    });
    give_back_left_holds(*current);
    update_status();
}

void database_moved(int away, void*)
{
    note_database(away != 0);
    update_status();
}

int start_is_over(void*)
{
    if (current != nullptr) {
        report_missing_readings();
        if (!give_back_left_holds(*current))
            report_left_holds(*current);
    }
    update_status();
    return 0;
}

} // namespace

void begin_protection(const Model* model)
{
    current = model;
    if (model != nullptr) {
        begin_readings(*model);
        for (const Source& source : model->sources)
            config_change_register(source.key, readings_changed, nullptr);
        config_change_register(key::external_supply, readings_changed, nullptr);
    }
    config_away_register(database_moved, nullptr);
    fdloop_timer_add(main_fdloop, 0, start_is_over, nullptr);
}

const Model* protected_model()
{
    return current;
}

void update_status()
{
    show_status(current);
}

} // namespace power_man
