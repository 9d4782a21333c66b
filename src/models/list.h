// SPDX-License-Identifier: MIT
// Every terminal model, as constants: for whoever makes a table of them while compiling. Others
// use models.h.
#pragma once

#include <array>

// NOLINTBEGIN(bugprone-suspicious-include): each of these files is one constant, on which the
// compiler is to look here
#include "models/qv1101A.cpp"
#include "models/qv1202B.cpp"
#include "models/qv1305A.cpp"
#include "models/qv1403A.cpp"
#include "models/qv1608B.cpp"
#include "models/qv2500A.cpp"
// NOLINTEND(bugprone-suspicious-include)

namespace power_man {

// The sensors of all models are numbered through in this order: a new model goes last.
inline constexpr std::array model_list = {
    &qv1101A::model, &qv1202B::model, &qv1305A::model,
    &qv2500A::model, &qv1608B::model, &qv1403A::model,
};

constexpr bool ids_differ()
{
    for (std::size_t i = 0; i < model_list.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (std::string_view(model_list[i]->id) == model_list[j]->id)
                return false;
        }
    }
    return true;
}
static_assert(ids_differ(), "two models have the same platform id");

} // namespace power_man
