// SPDX-License-Identifier: MIT
#include "models/models.h"

#include "base/terminal.h"
#include "models/list.h"

namespace power_man {

std::span<const Model* const> all_models()
{
    return model_list;
}

const Model* find_model(std::string_view id)
{
    for (const Model* const model : model_list) {
        if (id == model->id)
            return model;
    }
    return nullptr;
}

const Model* current_model()
{
    return find_model(pwr_mgr_get_platform_id());
}

} // namespace power_man
