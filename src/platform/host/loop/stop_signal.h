// SPDX-License-Identifier: MIT
// The orderly end: SIGTERM and SIGINT stop the loop at the end of its present turn.
#pragma once

struct _fdloop_t;

namespace host {

// As qv_set_default_sig_handlers().
void handle_stop_signals();

// To be called once for the process's loop; a signal that came before ends it at once. 0, or
// a negative errno.
int watch_stop_signals(_fdloop_t& loop);

} // namespace host
