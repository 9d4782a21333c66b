// SPDX-License-Identifier: MIT
// The log of the CM events: a ring of numbered entries, shared by all records.
#include <cstdint>

#include "ap/text.h"
#include "bite/cm_event_rec.h"
#include "bite/cm_trace.h"
#include "bite/record_keys.h"

namespace {

using power_man::tracing_cm;

using Keys = power_man::RecordKeys<39>;

constexpr const char* handler_prefix = "ram.log.bite.cm.hnd.";
constexpr const char* enable_key = "ram.log.bite.cm.hnd.enable";
constexpr const char* entry_prefix = "ram.log.bite.cm.entry.";

constexpr std::int32_t usual_size = 100;
constexpr std::uint32_t largest_size = 1000;

struct Ring {
    std::int32_t size = -1;
    std::int32_t index = -1; // of the newest entry, from 1
    std::int32_t count = -1; // entries in use

    void add_keys(Keys& keys) const
    {
        keys.add("ram.log.bite.cm.hnd.maxsize", 0, size);
        keys.add("ram.log.bite.cm.hnd.latest.index", 0, index);
        keys.add("ram.log.bite.cm.hnd.latest.count", 0, count);
    }
};

// Moves on to the next entry; whatever the ring holds, the result is one that can be.
Ring advance(Ring ring)
{
    if (ring.size == 0 || static_cast<std::uint32_t>(ring.size) > largest_size)
        ring.size = usual_size;
    ring.index = ring.index > 0 && ring.index < ring.size ? ring.index + 1 : 1;
    if (ring.count <= 0)
        ring.count = 1;
    else
        ring.count = ring.count < ring.size ? ring.count + 1 : ring.size;
    return ring;
}

Ring next_entry()
{
    Keys keys;
    Ring().add_keys(keys);
    const int result = keys.read(handler_prefix);
    if (result < 0)
        return {usual_size, 1, 1};
    const Ring stored{keys.value(0), keys.value(1), keys.value(2)};
    if (tracing_cm())
        qv_slogd("%s: readv= %d (%d,%d,%d)", "writeCmLog", result, stored.size, stored.index,
                 stored.count);
    return advance(stored);
}

} // namespace

int CCmEventRec::writeCmLog(unsigned int identifier)
{
    std::int32_t enabled = 0;
    config_read_int(enable_key, &enabled);
    if (tracing_cm())
        qv_slogd("%s: CM(%d) ENA:%s", "writeCmLog", static_cast<int>(identifier),
                 enabled == 1 ? "yes" : "no");
    if (enabled != 1 || identifier != identifier_)
        return 0;
    const Ring ring = next_entry();
    Keys keys;
    ring.add_keys(keys);
    if (const int result = keys.write(handler_prefix); result != 0)
        qv_slog(4, "write update to event log failed! (%d)\n", result);
    if (tracing_cm())
        qv_slogd("%s: LOG: size: %d ix: %d cnt: %d", "writeCmLog", ring.size, ring.index,
                 ring.count);
    if (const int result = writeCmLogEntry(ring.index); result != 0) {
        qv_slog(4, "write update to event log entry failed! (%d)\n", result);
        return result;
    }
    return ring.index;
}

int CCmEventRec::writeCmLogEntry(int index)
{
    if (tracing_cm())
        qv_slogd("%s: CM(%d) CM event log time: %d ", "writeCmLogEntry",
                 static_cast<int>(identifier_), static_cast<int>(qv_time_ms()));
    const auto number = static_cast<unsigned int>(index);
    Keys keys;
    keys.add("ram.log.bite.cm.entry.%u.identifier", number, static_cast<std::int32_t>(identifier_));
    keys.add("ram.log.bite.cm.entry.%u.state", number, state_);
    keys.add("ram.log.bite.cm.entry.%u.info", number, info_);
    keys.add("ram.log.bite.cm.entry.%u.timestamp", number, timestamp_);
    return keys.write(entry_prefix);
}
