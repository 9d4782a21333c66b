// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host/board/board.h"
#include "host/log/journal.h"

namespace host {

// The device files of the machine, or of an emulated board below a directory. What is written is
// noted in the journal. The functions are those of ap/device.h.
class Devices {
public:
    // An empty `board_root`: the machine's own. Both others must outlive the object.
    Devices(const std::string& board_root, Journal& journal, Log& log);

    int open(const char* path, int flags);
    ssize_t write(int fd, std::string_view text);
    int close(int fd);
    bool exists(const char* path) const;

private:
    std::string machine_path(const char* given, const std::string& path) const;
    void note(const std::string& path, std::string_view text);

    std::optional<Board> board_;
    Journal& journal_;
    std::map<int, std::string> open_paths_; // on the board: a write knows its descriptor only
};

} // namespace host
