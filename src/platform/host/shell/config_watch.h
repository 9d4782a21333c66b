// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "host/shell/line_editor.h"
#include "host/shell/listing.h"

namespace host {

// Changes of the configuration database, shown live to the shell that asked for them.
//
// Each is one line, "set KEY VALUE" or "del KEY", ended by CR LF, above the line being typed, or
// among the lines of the shell's listing.
// What the receiver does not take at once is dropped: nobody waits for a slow reader.
class ConfigWatch {
public:
    static constexpr std::size_t most = 16; // watches of one shell

    // All of it must outlive the object; its end ends the watches.
    ConfigWatch(Configuration& config, const char* prompt, const LineEditor& editor,
                const std::unique_ptr<Listing>& listing)
        : config_(config), prompt_(prompt), editor_(editor), listing_(listing)
    {
    }
    ConfigWatch(const ConfigWatch&) = delete;
    ConfigWatch& operator=(const ConfigWatch&) = delete;
    ~ConfigWatch();

    // Changes go to the console connection of the command that is running. 0 or a negative errno:
    // -EEXIST when the key is watched already, -ENOSPC when there are too many.
    int add(const std::string& key);

    // -ENOENT when it is not watched.
    int remove(const std::string& key);

    const std::vector<std::string>& keys() const { return keys_; }

private:
    static void show_changes(unsigned int count, const config_data_t* records, void* self);
    std::string change_line(const config_data_t& record) const;

    Configuration& config_;
    const char* prompt_;
    const LineEditor& editor_;
    const std::unique_ptr<Listing>& listing_; // null before the first
    std::vector<std::string> keys_;
    int fd_ = -1; // where changes are written; -1: standard output
};

} // namespace host
