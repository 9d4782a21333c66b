// SPDX-License-Identifier: MIT
#pragma once

#include "bite/bite.h"

// Base of the records: the texts of their numbers. The texts live as long as the process.
class CBiteRec {
public:
    static const char* getStateTxt(int state);       // of an eEvState; "INVALID" for others
    static const char* getSeverityTxt(int severity); // of an eSeverity; "-" for others
    static const char* getResultTxt(int result);     // of an eSelfTestState; "NOT RUN" for others

    // "31-12-26 23:59:59" of `time` (seconds since 1970, UTC); returns `text`, empty when it does
    // not fit into `size` bytes.
    static char* getTimeStampTxt(char* text, unsigned int size, int time);
};
