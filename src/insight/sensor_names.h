// SPDX-License-Identifier: MIT
// How a person names a sensor or a consumer: by any beginning of its name that fits no other,
// however written.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "models/model.h"

namespace power_man::insight {

// A word that stands for a sensor of every model: "mainboard", "hpa", "battery".
const char* alias(const Sensor& sensor);

struct Name {
    std::string text;
    std::size_t index;
};

// The index that `word` stands for. A whole name goes before beginnings. When it fits none, or
// several with different indices, it prints that, and what there is (`kind` is "sensor").
std::optional<std::size_t> find_name(std::span<const Name> names, std::string_view word,
                                     const char* kind);

// The names of a model's sensors, with their indices.
std::vector<Name> sensor_names(const Model& model);

} // namespace power_man::insight
