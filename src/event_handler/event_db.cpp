// SPDX-License-Identifier: MIT
#include "event_handler/event_db.h"

#include <array>
#include <cstring>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/text.h"
#include "base/assertion.h"

namespace {

constexpr std::size_t longest_attribute = 5;

using TextKey = std::array<char, 25>;

TextKey text_key(const char* attribute, unsigned int eventId)
{
    if (std::strlen(attribute) > longest_attribute)
        power_man::assertion_failed("event_db");
    TextKey key;
    qv_snprintf(key.data(), key.size(), "txt.evh.%s.%d", attribute, static_cast<int>(eventId));
    return key;
}

} // namespace

void EventDb::writeTextAttr(const char* attribute, unsigned int eventId, const char* text)
{
    const TextKey key = text_key(attribute, eventId);
    const int result = config_write_string(key.data(), text);
    if (result != 0)
        qv_slog(3, "%s: config_write_string[%s] failed(%d)\n", "writeTextAttr", key.data(), result);
}

int EventDb::readTextAttr(const char* attribute, unsigned int eventId, char* text,
                          unsigned int size)
{
    const TextKey key = text_key(attribute, eventId);
    const int result = config_read_string(key.data(), text, size);
    if (result != 0)
        qv_slog(3, "%s: config_read_string[%s] failed(%d)\n", "readTextAttr", key.data(), result);
    return result;
}
