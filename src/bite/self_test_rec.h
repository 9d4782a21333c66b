// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "ap/config.h"
#include "ap/log.h"
#include "bite/bite_rec.h"

// The copy in memory of the record of one self-test: integer keys below its identifier. What
// belongs together is written together. Functions that write return 0 or a negative errno of the
// database, and do not log a failure unless they say so.
class CBiteSelfTestRec : public CBiteRec {
public:
    CBiteSelfTestRec();
    CBiteSelfTestRec(const CBiteSelfTestRec&) = default;
    CBiteSelfTestRec& operator=(const CBiteSelfTestRec&) = default;
    virtual ~CBiteSelfTestRec();

    // Records the test's extra information. A failure is logged.
    virtual int writeInfo(int info);

    // Records the end of the test: its result, and the run time since writeStart() (0 when the
    // clock has not moved on).
    virtual int writeResult(CBite::eSelfTestState state);

    // Records the start of the test, and counts it.
    virtual int writeStart();

    // Resets everything but the count.
    virtual int setDefault(bool enabled);

    // Keys; %u stands for the identifier.
    virtual const char* getTestIdRecordName() const = 0;
    virtual const char* getTestIdRecordNameFormatted() const = 0;
    virtual const char* getSeverityRecordName() const = 0;
    virtual const char* getExecutionTimeRecordName() const = 0;
    virtual const char* getTimestampRecordName() const = 0;
    virtual const char* getResultRecordName() const = 0;
    virtual const char* getInfoRecordName() const = 0;
    virtual const char* getStateRecordName() const = 0;
    virtual const char* getCountRecordName() const = 0;
    virtual const char* getEnableRecordName() const = 0;
    virtual const char* getTestTypeText() const = 0;

    // Takes the identifier and loads its record; fields without a key keep their values. 0, or
    // the error of the database.
    int init(unsigned int identifier);

    // Takes the fields from keys of this record. A value out of range is replaced in memory, not
    // in the database; other keys are skipped.
    void parseRec(unsigned int count, const config_data_t* items);

    // Whether a field holds an acceptable value: 0 enable, 1 count, 2 result, 3 severity, 4 info,
    // 5 timestamp, 6 execution time.
    bool isValid(unsigned int index) const;

    // The state as the handler sees it: in the database only. NOT RUN when it cannot be read.
    int getState() const;
    int setState(CBite::eSelfTestState state);

    // Takes EMERGENCY to WARNING, to be written by the next writeResult() or setDefault(); -1 for
    // any other.
    int setSeverity(CBite::eSeverity severity);

    // Which traces are to be written: those of a letter of the group. None with a null group.
    void setTraceGroup(qv_trace_group_t* group, char letter);

    unsigned int identifier() const { return identifier_; }
    int count() const { return count_; }
    int enable() const { return enable_; }
    int result() const { return result_; }
    int severity() const { return severity_; }
    int info() const { return info_; }
    int timestamp() const { return timestamp_; } // of the start, seconds since 1970

    // While the test runs its start on the millisecond clock, then its run time in milliseconds.
    std::uint32_t executionTime() const { return execution_time_; }

private:
    bool tracing() const;
    void repair(unsigned int index);

    unsigned int identifier_ = 0;
    std::int32_t count_ = 0;
    std::int32_t enable_ = 0;
    std::int32_t result_ = 0;
    std::int32_t severity_ = -1;
    std::int32_t info_ = 0;
    std::int32_t timestamp_ = 0;
    std::uint32_t execution_time_ = 0;
    qv_trace_group_t* trace_group_ = nullptr;
    char trace_letter_ = 'S';
};

namespace power_man {

// The words of a kind of record.
struct SelfTestRecordNames {
    const char* type;
    const char* id;
    const char* id_formatted;
    const char* severity;
    const char* execution_time;
    const char* timestamp;
    const char* result;
    const char* info;
    const char* state;
    const char* count;
    const char* enable;
    const char* trace_group;
    const char* trace_help;
    char trace_letter;
};

extern const SelfTestRecordNames post_record_names;
extern const SelfTestRecordNames past_record_names;

template <const SelfTestRecordNames& Names>
class SelfTestRecord : public CBiteSelfTestRec {
public:
    SelfTestRecord()
    {
        const std::uint32_t bit = 1U << (static_cast<unsigned int>(Names.trace_letter - 'A') % 32U);
        setTraceGroup(qv_xtrace_init(Names.trace_group, Names.trace_help, bit), Names.trace_letter);
    }
    const char* getTestIdRecordName() const override { return Names.id; }
    const char* getTestIdRecordNameFormatted() const override { return Names.id_formatted; }
    const char* getSeverityRecordName() const override { return Names.severity; }
    const char* getExecutionTimeRecordName() const override { return Names.execution_time; }
    const char* getTimestampRecordName() const override { return Names.timestamp; }
    const char* getResultRecordName() const override { return Names.result; }
    const char* getInfoRecordName() const override { return Names.info; }
    const char* getStateRecordName() const override { return Names.state; }
    const char* getCountRecordName() const override { return Names.count; }
    const char* getEnableRecordName() const override { return Names.enable; }
    const char* getTestTypeText() const override { return Names.type; }
};

} // namespace power_man

// Records of power-on and of periodic self-tests.
class CPostRec : public power_man::SelfTestRecord<power_man::post_record_names> {};
class CPastRec : public power_man::SelfTestRecord<power_man::past_record_names> {};
