// SPDX-License-Identifier: MIT
#include "trace.h"

#include "csv_trace.h"
#include "monitor_trace.h"

namespace replay {

std::unique_ptr<Trace> open_trace(const std::string& path, std::string& error)
{
    const std::string name = path == "-" ? "standard input" : path;
    std::unique_ptr<Bytes> bytes = open_bytes(path, error);
    if (!bytes) {
        error = name + ": " + error;
        return nullptr;
    }
    Lines lines(std::move(bytes), name);
    std::span<char> line;
    std::string_view text;
    while (lines.next(line)) { // comments may stand in front
        text = {line.data(), line.size()};
        if (!text.empty() && text.front() != '#')
            break;
        text = {};
    }
    if (lines.failed() || text.empty()) {
        error = lines.failed() ? lines.error() : name + ": it is empty";
        return nullptr;
    }
    const bool recording = MonitorTrace::recognises(text);
    if (!recording && !CsvTrace::recognises(text)) {
        error = lines.at_line("this is neither a table with commas nor what redis-cli MONITOR "
                              "prints");
        return nullptr;
    }
    lines.again();
    if (recording)
        return std::make_unique<MonitorTrace>(std::move(lines));
    return std::make_unique<CsvTrace>(std::move(lines));
}

} // namespace replay
