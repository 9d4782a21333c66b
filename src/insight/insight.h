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

// Watches the evaluations and adds the commands. To be called once, when the platform id has been
// read and before the first evaluation.
void start(const Parts& parts);

} // namespace power_man::insight
