// SPDX-License-Identifier: MIT
#pragma once

namespace replay {

// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE are noted instead of ending the process, so that
// the board's directory can be removed first; a read that waits is interrupted. What is ignored
// already, as by nohup, stays so.
void note_interruptions();

// The signal that came; 0 for none.
int interruption();

} // namespace replay
