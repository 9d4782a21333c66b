// SPDX-License-Identifier: MIT
#include "bite/cm_event_rec.h"

#include <array>

#include "ap/text.h"
#include "bite/cm_trace.h"
#include "bite/record_keys.h"

namespace {

using power_man::tracing_cm;

using Keys = power_man::RecordKeys<39>;

constexpr const char* record_prefix = "ram.bite.cm.";
constexpr const char* count_key = "ram.bite.cm.%u.cnt";
constexpr const char* state_key = "ram.bite.cm.%u.state";
constexpr const char* severity_key = "ram.bite.cm.%u.severity";
constexpr const char* info_key = "ram.bite.cm.%u.info";
constexpr const char* timestamp_key = "ram.bite.cm.%u.timestamp";

enum Field : unsigned int {
    field_count,
    field_state,
    field_severity,
    field_info,
    field_timestamp,
    field_last = field_timestamp
};

constexpr std::uint32_t trace_bit = 1U << ('S' - 'A');

qv_trace_group_t* trace_group = nullptr; // of all records

void trace_identifier(const char* function, const char* what, unsigned int identifier)
{
    if (tracing_cm())
        qv_slogd("%s: Clear EventRec in %s for Id: %d (0x%x)", function, what,
                 static_cast<int>(identifier), identifier);
}

bool is_severity(std::int32_t value)
{
    return static_cast<unsigned int>(value) <= CBite::SEV_DEBUG;
}

} // namespace

bool power_man::tracing_cm()
{
    return trace_group != nullptr && trace_group->enabled != 0 &&
           (trace_group->mask & trace_bit) != 0;
}

CCmEventRec::CCmEventRec()
{
    trace_group = qv_xtrace_init("CM_TRACE", "M:\tMAIN\n", trace_bit);
}

CCmEventRec::~CCmEventRec() = default;

int CCmEventRec::init(unsigned int identifier)
{
    if (tracing_cm())
        qv_slogd("%s: CM(%d)", "init", static_cast<int>(identifier));
    identifier_ = identifier;
    std::array<char, 39> pattern;
    qv_snprintf(pattern.data(), pattern.size(), "ram.bite.cm.%u\\..*", identifier);
    return power_man::load_record(
        pattern.data(),
        [this](unsigned int count, const config_data_t* items) { parseRec(count, items); });
}

void CCmEventRec::parseRec(unsigned int count, const config_data_t* items)
{
    const std::array<config_field_t, 5> fields = {{
        {"cnt", &count_},
        {"state", &state_},
        {"severity", &severity_},
        {"info", &info_},
        {"timestamp", &timestamp_},
    }};
    power_man::parse_record({"ram.bite.cm.%u.", fields, tracing_cm(),
                             [this](unsigned int index) {
                                 if (!isValid(index))
                                     repair(index);
                             }},
                            count, items);
}

bool CCmEventRec::isValid(unsigned int index) const
{
    switch (index) {
    case field_state: // -1 to 3
        return static_cast<unsigned int>(state_) + 1U <= CBite::EV_NONE + 1U;
    case field_severity:
        return is_severity(severity_);
    default:
        return index <= field_last;
    }
}

// The other fields take any value.
void CCmEventRec::repair(unsigned int index)
{
    if (tracing_cm())
        qv_slogd("%s: invalid data parsed for CM event record ix: %d", "parseRec",
                 static_cast<int>(index));
    if (index == field_state)
        state_ = 0;
    else if (index == field_severity)
        severity_ = CBite::SEV_WARNING;
    else
        qv_slog(4, "%s: illegal index (%d) for CM event record\n", "parseRec",
                static_cast<int>(index));
}

int CCmEventRec::writeCmResult(unsigned int identifier, CBite::eEvState state)
{
    if (tracing_cm())
        qv_slogd("%s: CM event state %d Id: %d (0x%x)", "writeCmResult", static_cast<int>(state),
                 static_cast<int>(identifier_), identifier_);
    if (identifier != identifier_) {
        qv_slog(4, "%s Record is not initialized %d - %d", "writeCmResult",
                static_cast<int>(identifier_), static_cast<int>(identifier));
        return -1;
    }
    count_ = power_man::counted_up(count_);
    state_ = state;
    timestamp_ = qv_time();
    if (tracing_cm())
        qv_slogd("%s: CM(%d) result report time: %d ", "writeCmResult",
                 static_cast<int>(identifier_), static_cast<int>(qv_time_ms()));
    Keys keys;
    keys.add(state_key, identifier_, state_);
    keys.add(count_key, identifier_, count_);
    keys.add(severity_key, identifier_, severity_);
    keys.add(timestamp_key, identifier_, timestamp_);
    return keys.write(record_prefix);
}

int CCmEventRec::writeCmInfo(unsigned int identifier, int info)
{
    if (tracing_cm())
        qv_slogd("%s: CM event info %d Id: %d (0x%x)", "writeCmInfo", info,
                 static_cast<int>(identifier_), identifier_);
    info_ = info;
    std::array<char, 39> key;
    qv_snprintf(key.data(), key.size(), info_key, identifier);
    const int result = config_write_int(key.data(), info_);
    if (result != 0)
        qv_slog(4, "write CM event INFO result failed! (%d)\n", static_cast<int>(identifier));
    return result;
}

void CCmEventRec::clear()
{
    state_ = 0;
    severity_ = -1;
    info_ = 0;
    timestamp_ = 0;
}

int CCmEventRec::setDefault(bool clear_count)
{
    trace_identifier("setDefault", "DB", identifier_);
    if (clear_count)
        count_ = 0;
    clear();
    Keys keys;
    keys.add(state_key, identifier_, state_);
    keys.add(severity_key, identifier_, severity_);
    keys.add(count_key, identifier_, count_);
    keys.add(info_key, identifier_, info_);
    keys.add(timestamp_key, identifier_, timestamp_);
    const int result = keys.write(record_prefix);
    if (tracing_cm())
        qv_slogd("%s Default saved in CM %d", "setDefault", static_cast<int>(identifier_));
    return result;
}

void CCmEventRec::clrEventRec()
{
    trace_identifier("clrEventRec", "cache", identifier_);
    count_ = 0;
    clear();
}

int CCmEventRec::setSeverity(CBite::eSeverity severity)
{
    if (tracing_cm())
        qv_slogd("%s: Set Severity %s in cache and DB for Id: %d (0x%x)", "setSeverity",
                 getSeverityTxt(severity), static_cast<int>(identifier_), identifier_);
    if (!is_severity(severity))
        return -1;
    severity_ = severity;
    return 0;
}
