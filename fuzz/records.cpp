// SPDX-License-Identifier: MIT
// Records from keys of any content: what is taken is sound, and the same when it is written and
// taken again.
//
// Code: src/bite/cm_event_rec.cpp src/bite/cm_event_log.cpp src/bite/self_test_rec.cpp
// src/bite/record_keys.cpp src/event_handler/event_store.cpp
// src/platform/host/config/config_items.cpp
#include <array>
#include <cstring>

#include "bite/cm_event_rec.h"
#include "bite/self_test_rec.h"
#include "event_handler/event_db.h"
#include "fuzz.h"

using fuzz::require;

namespace {

constexpr unsigned int id = 7;

template <typename Record>
void check_self_test()
{
    const auto fields = [](const Record& record) {
        require(record.enable() < 2 && record.result() >= -1 && record.result() <= 5);
        require(record.severity() == -1 || record.isValid(3));
        return std::array<std::int64_t, 7>{
            record.count(), record.enable(),    record.result(),       record.severity(),
            record.info(),  record.timestamp(), record.executionTime()};
    };
    Record record;
    require(record.init(id) == 0);
    fields(record);
    record.setSeverity(CBite::SEV_FATAL);
    require(record.writeStart() == 0 && record.writeInfo(record.info()) == 0);
    require(record.writeResult(CBite::ST_PASSED) == 0);
    Record again;
    require(again.init(id) == 0 && fields(again) == fields(record));
}

void check_cm_event()
{
    const auto fields = [](const CCmEventRec& record) {
        require(record.state() >= -1 && record.state() <= CBite::EV_NONE);
        require(record.severity() >= -1 && record.severity() <= CBite::SEV_DEBUG);
        return std::array<int, 5>{record.count(), record.state(), record.severity(), record.info(),
                                  record.timestamp()};
    };
    CCmEventRec record;
    require(record.init(id) == 0);
    fields(record);
    record.setSeverity(CBite::SEV_ALERT);
    require(record.writeCmResult(id, CBite::EV_ON) == 0);
    require(record.writeCmInfo(id, record.info()) == 0);
    const int entry = record.writeCmLog(id);
    require(entry >= 0 && entry <= 1000);
    CCmEventRec again;
    require(again.init(id) == 0 && fields(again) == fields(record));
}

void check_events(unsigned int count)
{
    std::vector<UserEvent> events(count);
    const int found = EventDb::readEventArr(events.data(), count);
    require(found >= -1 && found <= static_cast<int>(count));
    unsigned int sound = 0; // whatever was cut, or stood behind damage, is whole now
    for (; sound < count && events[sound].version == 2 && events[sound].magic == 0xa0b2c4d8;
         ++sound) {
        const auto* const bytes = reinterpret_cast<const char*>(&events[sound]);
        fuzz::put("dyn.evh.store." + std::to_string(sound), std::string_view(bytes, 32));
    }
    std::vector<UserEvent> again(sound);
    require(EventDb::readEventArr(again.data(), sound) == static_cast<int>(sound));
    require(sound == 0 || std::memcmp(again.data(), events.data(), sound * sizeof(UserEvent)) == 0);
}

} // namespace

// Keys, each ended by "=", with a byte for the length of the value behind it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::platform();
    fuzz::Input input(data, size);
    const std::uint8_t choice = input.byte();
    while (!input.rest.empty()) {
        const std::string_view key = input.text('=');
        const std::string_view value = input.take(input.byte());
        if (host::check_key(key) == 0)
            fuzz::put(key, value);
    }
    choice < 64    ? check_self_test<CPostRec>()
    : choice < 128 ? check_self_test<CPastRec>()
    : choice < 192 ? check_cm_event()
                   : check_events(choice % 8);
    for (const std::string& key : fuzz::keys())
        fuzz::put(key, std::nullopt);
    return 0;
}
