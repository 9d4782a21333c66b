// SPDX-License-Identifier: MIT
#include "bite/self_test_rec.h"

#include <array>
#include <string>

#include "ap/text.h"
#include "bite/record_keys.h"

namespace {

using Keys = power_man::RecordKeys<40>;

enum Field : unsigned int {
    field_enable,
    field_count,
    field_result,
    field_severity,
    field_info,
    field_timestamp,
    field_execution_time,
    field_last = 7
};

constexpr unsigned int last_result = CBite::ST_TIMEOUT;
constexpr unsigned int last_severity = CBite::SEV_WARNING; // that can be set

} // namespace

namespace power_man {

constinit const SelfTestRecordNames post_record_names = {
    .type = "POST",
    .id = "ram.post.id.",
    .id_formatted = "ram.post.id.%u.",
    .severity = "ram.post.id.%u.severity",
    .execution_time = "ram.post.id.%u.exetime",
    .timestamp = "ram.post.id.%u.timestamp",
    .result = "ram.post.id.%u.result",
    .info = "ram.post.id.%u.info",
    .state = "ram.post.id.%u.state",
    .count = "ram.post.id.%u.cnt",
    .enable = "ram.post.id.%u.enable",
    .trace_group = "POST_TRACE",
    .trace_help = "S:\tPOST Trace\n",
    .trace_letter = 'S',
};

constinit const SelfTestRecordNames past_record_names = {
    .type = "PAST",
    .id = "ram.past.id.",
    .id_formatted = "ram.past.id.%u.",
    .severity = "ram.past.id.%u.severity",
    .execution_time = "ram.past.id.%u.exetime",
    .timestamp = "ram.past.id.%u.timestamp",
    .result = "ram.past.id.%u.result",
    .info = "ram.past.id.%u.info",
    .state = "ram.past.id.%u.state",
    .count = "ram.past.id.%u.cnt",
    .enable = "ram.past.id.%u.enable",
    .trace_group = "PAST_TRACE",
    .trace_help = "A:\tPOST Trace\n", // the support staff know it by this title
    .trace_letter = 'A',
};

} // namespace power_man

CBiteSelfTestRec::CBiteSelfTestRec() = default;
CBiteSelfTestRec::~CBiteSelfTestRec() = default;

void CBiteSelfTestRec::setTraceGroup(qv_trace_group_t* group, char letter)
{
    trace_group_ = group;
    trace_letter_ = letter;
}

bool CBiteSelfTestRec::tracing() const
{
    const std::uint32_t bit = 1U << (static_cast<unsigned int>(trace_letter_ - 'A') % 32U);
    return trace_group_ != nullptr && trace_group_->enabled != 0 && (trace_group_->mask & bit) != 0;
}

int CBiteSelfTestRec::init(unsigned int identifier)
{
    identifier_ = identifier;
    const std::string format = std::string(getTestIdRecordName()) + "%u\\..*";
    std::array<char, 40> pattern;
    qv_snprintf(pattern.data(), pattern.size(), format.c_str(), identifier);
    if (tracing())
        qv_slogd("%s: %s(%d)", "init", getTestTypeText(), static_cast<int>(identifier));
    return power_man::load_record(
        pattern.data(),
        [this](unsigned int count, const config_data_t* items) { parseRec(count, items); });
}

void CBiteSelfTestRec::parseRec(unsigned int count, const config_data_t* items)
{
    auto execution_time = static_cast<std::int32_t>(execution_time_);
    const std::array<config_field_t, 7> fields = {{
        {"enable", &enable_},
        {"cnt", &count_},
        {"result", &result_},
        {"severity", &severity_},
        {"info", &info_},
        {"timestamp", &timestamp_},
        {"exetime", &execution_time},
    }};
    power_man::parse_record({getTestIdRecordNameFormatted(), fields, tracing(),
                             [this](unsigned int index) {
                                 if (!isValid(index))
                                     repair(index);
                             }},
                            count, items);
    execution_time_ = static_cast<std::uint32_t>(execution_time);
}

bool CBiteSelfTestRec::isValid(unsigned int index) const
{
    switch (index) {
    case field_enable:
        return enable_ < 2;
    case field_result:
        return static_cast<unsigned int>(result_) <= last_result;
    case field_severity:
        return severity_ == CBite::SEV_FATAL || severity_ == CBite::SEV_ERROR;
    default:
        return index <= field_last;
    }
}

// The other fields take any value.
void CBiteSelfTestRec::repair(unsigned int index)
{
    switch (index) {
    case field_enable:
        enable_ = 0;
        break;
    case field_result:
        result_ = -1;
        break;
    case field_severity:
        severity_ = CBite::SEV_ERROR;
        break;
    default:
        qv_slog(4, "%s: illegal index (%d) for %s record\n", "parseRec", static_cast<int>(index),
                getTestTypeText());
    }
}

int CBiteSelfTestRec::writeStart()
{
    count_ = power_man::counted_up(count_);
    result_ = CBite::ST_STARTED;
    timestamp_ = qv_time();
    execution_time_ = qv_time_ms();
    if (tracing())
        qv_slogd("%s: %s(%d) result exe calc: %d - %d ", "writeStart", getTestTypeText(),
                 static_cast<int>(identifier_), static_cast<int>(qv_time_ms()),
                 static_cast<int>(execution_time_));
    Keys keys;
    keys.add(getResultRecordName(), identifier_, result_);
    keys.add(getCountRecordName(), identifier_, count_);
    keys.add(getTimestampRecordName(), identifier_, timestamp_);
    keys.add(getExecutionTimeRecordName(), identifier_, 0);
    return keys.write(getTestIdRecordName());
}

int CBiteSelfTestRec::writeResult(CBite::eSelfTestState state)
{
    const std::uint32_t now = qv_time_ms();
    result_ = state;
    if (tracing())
        qv_slogd("%s: %s(%d) result exe calc: %d - %d (%d)", "writeResult", getTestTypeText(),
                 static_cast<int>(identifier_), static_cast<int>(now),
                 static_cast<int>(execution_time_), static_cast<int>(now - execution_time_));
    execution_time_ = now > execution_time_ ? now - execution_time_ : 0;
    Keys keys;
    keys.add(getResultRecordName(), identifier_, result_);
    keys.add(getSeverityRecordName(), identifier_, severity_);
    keys.add(getExecutionTimeRecordName(), identifier_, static_cast<std::int32_t>(execution_time_));
    keys.add(getInfoRecordName(), identifier_, info_);
    return keys.write(getTestIdRecordName());
}

int CBiteSelfTestRec::writeInfo(int info)
{
    info_ = info;
    std::array<char, 40> key;
    qv_snprintf(key.data(), key.size(), getInfoRecordName(), identifier_);
    const int result = config_write_int(key.data(), info_);
    if (result != 0)
        qv_slog(4, "write %s INFO result failed! (%d)\n", getTestTypeText(),
                static_cast<int>(identifier_));
    return result;
}

int CBiteSelfTestRec::setDefault(bool enabled)
{
    enable_ = enabled ? 1 : 0;
    result_ = CBite::ST_NOT_RUN;
    severity_ = CBite::SEV_ERROR;
    info_ = 0;
    timestamp_ = 0;
    execution_time_ = 0;
    Keys keys;
    keys.add(getEnableRecordName(), identifier_, enable_);
    keys.add(getStateRecordName(), identifier_, CBite::ST_NOT_RUN);
    keys.add(getResultRecordName(), identifier_, result_);
    keys.add(getSeverityRecordName(), identifier_, severity_);
    keys.add(getCountRecordName(), identifier_, count_);
    keys.add(getInfoRecordName(), identifier_, info_);
    keys.add(getTimestampRecordName(), identifier_, timestamp_);
    keys.add(getExecutionTimeRecordName(), identifier_, 0);
    const int result = keys.write(getTestIdRecordName());
    if (tracing())
        qv_slogd("%s Default saved in %s %d", "setDefault", getTestTypeText(),
                 static_cast<int>(identifier_));
    return result;
}

int CBiteSelfTestRec::getState() const
{
    std::array<char, 40> key;
    qv_snprintf(key.data(), key.size(), getStateRecordName(), identifier_);
    std::int32_t state = CBite::ST_NOT_RUN;
    return config_read_int(key.data(), &state) == 0 ? state : int{CBite::ST_NOT_RUN};
}

int CBiteSelfTestRec::setState(CBite::eSelfTestState state)
{
    std::array<char, 40> key;
    qv_snprintf(key.data(), key.size(), getStateRecordName(), identifier_);
    return config_write_int(key.data(), state);
}

int CBiteSelfTestRec::setSeverity(CBite::eSeverity severity)
{
    if (tracing())
        qv_slogd("%s: Set Severity %s in cache and DB for Id: %d (0x%x)", "setSeverity",
                 getSeverityTxt(severity), static_cast<int>(identifier_), identifier_);
    if (static_cast<unsigned int>(severity) > last_severity)
        return -1;
    severity_ = severity;
    return 0;
}
