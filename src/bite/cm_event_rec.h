// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "ap/config.h"
#include "ap/log.h"
#include "bite/bite_rec.h"

// The copy in memory of the record of one condition-monitoring (CM) event: integer keys below
// "ram.bite.cm.ID.". Each report can be appended to a log, a ring of entries below
// "ram.log.bite.cm.". What belongs together is written together. Functions that write return 0
// or a negative errno of the database.
class CCmEventRec : public CBiteRec {
public:
    CCmEventRec();
    CCmEventRec(const CCmEventRec&) = default;
    CCmEventRec& operator=(const CCmEventRec&) = default;
    virtual ~CCmEventRec();

    // Takes the identifier and loads its record; fields without a key keep their values. 0, or
    // the error of the database.
    int init(unsigned int identifier);

    // Takes the fields from keys of this record. A value out of range is replaced in memory, not
    // in the database; other keys are skipped.
    void parseRec(unsigned int count, const config_data_t* items);

    // Whether a field holds an acceptable value: 0 count, 1 state, 2 severity, 3 info,
    // 4 timestamp.
    bool isValid(unsigned int index) const;

    // Records and counts a state report; -1, and a warning, for another identifier.
    int writeCmResult(unsigned int identifier, CBite::eEvState state);

    // Records extra information, whatever the identifier. A failure is logged.
    int writeCmInfo(unsigned int identifier, int info);

    // Appends the record to the log: the number of the new entry, from 1; 0 when the log is off
    // or the identifier is another; a negative errno when the entry could not be written.
    int writeCmLog(unsigned int identifier);

    // Writes the record as that entry of the log.
    int writeCmLogEntry(int index);

    // Resets the record here and in the database; the count only when told so.
    int setDefault(bool clear_count);

    // Resets the record here only.
    void clrEventRec();

    // To be written by the next writeCmResult() or setDefault(); -1 when it is out of range.
    int setSeverity(CBite::eSeverity severity);

    unsigned int identifier() const { return identifier_; }
    int count() const { return count_; }
    int state() const { return state_; }
    int severity() const { return severity_; }
    int info() const { return info_; }
    int timestamp() const { return timestamp_; } // of the last state report, seconds since 1970

private:
    void clear();
    void repair(unsigned int index);

    unsigned int identifier_ = 0;
    std::int32_t count_ = 0;
    std::int32_t state_ = 0;
    std::int32_t severity_ = -1;
    std::int32_t info_ = 0;
    std::int32_t timestamp_ = 0;
};
