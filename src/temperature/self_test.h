// SPDX-License-Identifier: MIT
#pragma once

// Called when the built-in test equipment becomes ready for this daemon's power-on self-tests.
// There are none yet. `context` is not used.
void bite_ready_cb(void* context);
