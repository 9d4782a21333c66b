// SPDX-License-Identifier: MIT
// Changes of the configuration database, shown live to the shell that asked for them.
//
// Each is one line, "set KEY VALUE" or "del KEY", ended by CR LF, above the line being typed.
// What the receiver does not take at once is dropped: nobody waits for a slow reader.
#pragma once

#include <string>

struct qv_cshell;

namespace host {

// At most this many watches for one shell.
inline constexpr std::size_t most_watches = 16;

// Changes go to the console connection of the command that is running. 0 or a negative errno:
// -EEXIST when the key is watched already, -ENOSPC when there are too many.
int watch_key(qv_cshell& shell, const std::string& key);

// -ENOENT when it is not watched.
int unwatch_key(qv_cshell& shell, const std::string& key);

void unwatch_all(qv_cshell& shell);

} // namespace host
