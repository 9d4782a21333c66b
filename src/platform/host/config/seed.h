// SPDX-License-Identifier: MIT
// Loads a file of "key = value" lines into the configuration database.
//
// Blanks around the key and the value do not count; empty lines and lines that begin with '#'
// are skipped. A line of another form, and a key or value that the database refuses, are errors.
#pragma once

#include <string>

#include "host/config/store.h"

namespace host {

// False, and one line in `error` that names the file and the line, when a line is refused or
// the file cannot be read. Nothing is written then.
bool load_seed(const std::string& file, Store& store, std::string& error);

} // namespace host
