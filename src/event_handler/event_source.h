// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "event_handler/event_client.h"

namespace power_man {

// This daemon's number as a source of events.
inline constexpr std::uint16_t event_unit = 0x0401;

// Reports that the condition of an event begins (EV_STATE_RAISED) or ends (EV_STATE_CLEARED).
inline void report_event(unsigned int id, unsigned int state)
{
    reportEventOnUnit(id, event_unit, 0, state, 0);
}

} // namespace power_man
