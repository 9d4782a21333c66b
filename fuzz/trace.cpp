// SPDX-License-Identifier: MIT
// Tables and recordings: time goes on in their rows, what they write is fit for the database, and
// all is the same however reading cuts the file.
//
// Code: tools/replay/csv_trace.cpp tools/replay/monitor_trace.cpp tools/replay/lines.cpp
// tools/replay/moment.cpp
#include "csv_trace.h"
#include "fuzz.h"
#include "host/config/configuration.h"
#include "moment.h"
#include "monitor_trace.h"

using fuzz::require;

namespace {

struct Pieces : replay::Bytes {
    std::string_view rest;
    std::size_t longest;
    std::string none;

    Pieces(std::string_view content, std::size_t most) : rest(content), longest(most) {}
    ssize_t read(std::span<char> buffer) override
    {
        const std::size_t length = rest.copy(buffer.data(), std::min(buffer.size(), longest));
        rest.remove_prefix(length);
        return static_cast<ssize_t>(length);
    }
    const std::string& error() const override { return none; }
    std::uint64_t position() const override { return 0; }
    std::uint64_t size() const override { return 0; }
};

template <typename Trace>
std::string tell(std::string_view content, std::size_t longest)
{
    Trace trace(replay::Lines(std::make_unique<Pieces>(content, longest), "trace"));
    std::string story;
    std::int64_t before = 0;
    for (replay::Row row; trace.next(row); before = row.time_ms) {
        require(row.time_ms >= before && row.time_ms <= replay::last_moment_ms);
        story += "\n" + replay::moment_text(row.time_ms);
        for (const auto& [key, value] : row.writes) {
            require(host::check_key(key) == 0 && (!value || host::check_value(*value) == 0));
            story.append(" ").append(key).append(value ? "=" : "-").append(value.value_or(""));
        }
        for (const auto& [name, value] : row.conditions)
            story.append(" ").append(name).append(":").append(std::to_string(value));
    }
    return story + "\n" + trace.error();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto told = input.byte() % 2 == 1 ? tell<replay::MonitorTrace> : tell<replay::CsvTrace>;
    require(told(input.rest, size) == told(input.rest, 1));
    return 0;
}
