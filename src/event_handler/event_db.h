// SPDX-License-Identifier: MIT
#pragma once

// What the event handler and its clients keep in the configuration database: the texts of the
// events, in keys "txt.evh.ATTRIBUTE.ID".
class EventDb {
public:
    // `attribute` has at most 5 characters: a longer one is a fault of the program, which ends
    // it. A text that cannot be written is logged.
    static void writeTextAttr(const char* attribute, unsigned int eventId, const char* text);

    // 0, or the error of config_read_string(), which is logged; `text` is untouched then.
    static int readTextAttr(const char* attribute, unsigned int eventId, char* text,
                            unsigned int size);
};
