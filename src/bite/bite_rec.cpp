// SPDX-License-Identifier: MIT
#include "bite/bite_rec.h"

#include <span>

#include "ap/text.h"

namespace {

constexpr const char* state_texts[] = {"OFF", "ON", "NONE"}; // from 1
constexpr const char* severity_texts[] = {"EMERGENCY", "ALERT",  "FATAL", "ERROR",
                                          "WARNING",   "NOTICE", "INFO",  "DEBUG"};
constexpr const char* result_texts[] = {"NOT RUN", "READY",  "STARTED",
                                        "PASSED",  "FAILED", "TIMEOUT"};

const char* text_of(std::span<const char* const> texts, int first, int value, const char* otherwise)
{
    const unsigned int index = static_cast<unsigned int>(value) - static_cast<unsigned int>(first);
    return index < texts.size() ? texts[index] : otherwise;
}

} // namespace

const char* CBiteRec::getStateTxt(int state)
{
    return text_of(state_texts, CBite::EV_OFF, state, "INVALID");
}

const char* CBiteRec::getSeverityTxt(int severity)
{
    return text_of(severity_texts, 0, severity, "-");
}

const char* CBiteRec::getResultTxt(int result)
{
    return text_of(result_texts, 0, result, result_texts[CBite::ST_NOT_RUN]);
}

char* CBiteRec::getTimeStampTxt(char* text, unsigned int size, int time)
{
    return qv_utc_strftime(text, size, "%d-%m-%y %H:%M:%S", time);
}
