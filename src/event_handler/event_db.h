// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

// An event as the event handler keeps it, little-endian.
struct UserEvent {
    std::uint8_t version;     // 2
    std::uint8_t content[27]; // the event handler's own
    std::uint32_t magic;      // 0xa0b2c4d8
};
static_assert(sizeof(UserEvent) == 32 && offsetof(UserEvent, magic) == 28);

// What the event handler and its clients keep in the configuration database: the texts of the
// events, in keys "txt.evh.ATTRIBUTE.ID", and its events, in keys "dyn.evh.store.INDEX".
class EventDb {
public:
    static void init(); // nothing to be done

    // Reads the first `count` events of the store, which is dense from index 0, into `events`.
    // Returns how many leading ones are there and sound; -1 (logged, but for a database that
    // cannot be asked) when nothing could be read, or for more than a million events. At an
    // event of another size, version or magic number, which is logged, the result is the number
    // of events found, sound or not. `events` holds whatever was read in each case.
    static int readEventArr(UserEvent* events, unsigned int count);

    // `attribute` has at most 5 characters: a longer one is a fault of the program, which ends
    // it. A text that cannot be written is logged.
    static void writeTextAttr(const char* attribute, unsigned int eventId, const char* text);

    // 0, or the error of config_read_string(), which is logged; `text` is untouched then.
    static int readTextAttr(const char* attribute, unsigned int eventId, char* text,
                            unsigned int size);
};
