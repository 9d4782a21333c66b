// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "ap/config.h"

namespace power_man {

// Calls `handle` with the key and the value of each record that a change callback is given, in
// their order. The value is null when the key has none, or none that is an integer.
template <typename Handle>
void for_each_change(unsigned int count, const config_data_t* records, Handle handle)
{
    for (const config_data_t& record : std::span(records, count))
        handle(record.key, static_cast<const std::int32_t*>(record.data));
}

// The same for those records alone that have a value.
template <typename Handle>
void for_each_value(unsigned int count, const config_data_t* records, Handle handle)
{
    for_each_change(count, records, [&handle](const char* key, const std::int32_t* value) {
        if (value != nullptr)
            handle(key, *value);
    });
}

} // namespace power_man
