// SPDX-License-Identifier: MIT
// Tells whoever stands in front of the terminal what temperature management and the switching of
// interfaces know, do, would do and did: the commands status, why, thresholds, whatif and history.
// All of it reads and never acts.
#pragma once

class PwrMgrPoe;
class PwrMgrPhone;

namespace power_man::insight {

// What `why` asks. Both must outlive the loop.
struct Parts {
    const PwrMgrPoe* poe;
    const PwrMgrPhone* phone;
};

// Adds the commands, and remembers from now on.
void start(const Parts& parts);

// Remembers the readings of this terminal's model from now on. To be called when a platform id has
// become known, before the first evaluation.
void start_over();

} // namespace power_man::insight
