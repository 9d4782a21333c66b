// SPDX-License-Identifier: MIT
#pragma once

#include "support/terminal.h"

// Writes 1 to the setting while the device is missing, a directory, not to be written (ETXTBSY),
// full (ENOSPC) and broken (EIO). Returns the status keys and the log that came of it.
inline std::string use_failing_device(Terminal& terminal, const char* device, const char* setting)
{
    const std::filesystem::path file = terminal.path(device);
    std::string story;
    for (const char* const stand_in :
         {"", "directory", "/proc/self/exe", "/dev/full", "/proc/self/mem"}) {
        std::filesystem::remove(file);
        if (*stand_in == '/')
            std::filesystem::create_symlink(stand_in, file);
        else if (*stand_in != '\0')
            std::filesystem::create_directory(file);
        story += only(terminal.write(setting, 1), {"set", "log"});
    }
    return story;
}
