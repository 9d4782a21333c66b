// SPDX-License-Identifier: MIT
// Exceptional conditions of plain files.
//
// A sysfs attribute tells the kernel's poll when it changes; the plain file that stands for it
// on an emulated board cannot be polled. This class does for such files what the kernel does
// for the "value" file of a GPIO line: a change that matches the "edge" file beside it is an
// exceptional condition. A change shorter than the daemon's reaction may be missed. The file's
// content is taken from its path, so that a file put in its place counts too; while the file is
// empty or gone, the level is the last one.
#pragma once

#include <string>
#include <vector>

#include "host/base/descriptor.h"

namespace host {

class EdgeWatcher {
public:
    // Readable when collect() has something to look at; -1 before the first add().
    int descriptor() const { return notifier_.get(); }

    // Watches the plain file that `fd` has open. The level it holds now is the one that later
    // changes are compared with. 0, or a negative errno: -EPERM for a file without an "edge" file
    // beside it, -ENOENT for one without a path.
    int add(int fd);
    void remove(int fd);

    // Appends the watched descriptors whose file had a matching change since the last call, each
    // once. Does not block.
    void collect(std::vector<int>& changed);

private:
    struct Line {
        int fd;
        int watch; // inotify's number of the directory; lines of one file share it
        std::string value_path;
        std::string edge_path;
        char level;
    };

    Descriptor notifier_;
    std::vector<Line> lines_;
};

} // namespace host
