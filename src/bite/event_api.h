// SPDX-License-Identifier: MIT
#pragma once

#include "bite/bite_ids.h"
#include "bite/hnd_api.h"

// Client for events and condition-monitoring (CM) events of the BITE handler.
class CBiteEventApi : public CBiteHndApi {
public:
    // Sends the state, then the info, whatever becomes of the first; the result of the second
    // send: 0 or the bus's error.
    int reportCM(const CCmEventId& id, eEvState state, int info) const;

    // One signal with both.
    int reportEvent(const CEventId& id, eEvState state, int info) const;
};
