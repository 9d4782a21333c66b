// SPDX-License-Identifier: MIT
// The records of self-tests and CM events: what they write, and what they make of what others
// have written.
#include <type_traits>

#include "bite/cm_event_rec.h"
#include "bite/handler.h"
#include "bite/self_test_rec.h"

namespace {

class BiteRecords : public Handler {
protected:
    BiteRecords() { config_change_register("ram", note_delivery, nullptr); }

    // The keys of a record that change together arrive in one call: a bracket for each.
    std::string deliveries()
    {
        noted.clear();
        host::instance().loop->run_for(0);
        return noted;
    }

    static void note_delivery(unsigned int count, const config_data_t* records, void*)
    {
        for (unsigned int i = 0; i < count; ++i) {
            const std::string key = records[i].key;
            const auto* const value = static_cast<const std::int32_t*>(records[i].data);
            noted += (i > 0 ? " " : "[") + key.substr(key.rfind('.') + 1) + "=" +
                     (value != nullptr ? std::to_string(*value) : "?");
        }
        noted += "]";
    }

    static inline std::string noted;
};

// Fields in the order of their indices.
std::string text_of(std::initializer_list<std::int64_t> values)
{
    std::string text;
    for (const std::int64_t value : values)
        text += std::to_string(value) + " ";
    return text;
}
std::string fields(const CBiteSelfTestRec& record)
{
    return text_of({record.enable(), record.count(), record.result(), record.severity(),
                    record.info(), record.timestamp(), std::int64_t{record.executionTime()}});
}
std::string fields(const CCmEventRec& record)
{
    return text_of(
        {record.count(), record.state(), record.severity(), record.info(), record.timestamp()});
}

// Loads a fresh record for each "LEAF VALUE TAKEN" of `rows`: a value in the database, and what
// the record takes for it. The other fields are as after the construction.
template <typename Record>
void expect_taken(Terminal& terminal, std::initializer_list<const char*> leaves,
                  const std::string& prefix, const char* rows)
{
    std::istringstream words(rows);
    unsigned int id = 4294967000;
    for (std::string stored, value, taken; words >> stored >> value >> taken;) {
        ++id;
        Record record;
        const std::string key = prefix + std::to_string(id) + "." + stored;
        terminal.write_text(key, value.c_str());
        EXPECT_EQ(0, record.init(id));
        std::string expected;
        for (const std::string leaf : leaves)
            expected += (leaf == stored ? taken : leaf == "severity" ? "-1" : "0") + " ";
        EXPECT_EQ(expected, fields(record)) << key << " " << value;
        EXPECT_EQ(value, terminal.value(key)); // nothing is mended in the database
    }
}

} // namespace

template <typename Record>
class SelfTestRecords : public BiteRecords {
protected:
    std::string leaf(const std::string& name) { return get(prefix + "1141899265." + name); }

    Record self_test;
    const std::string prefix = std::is_same_v<Record, CPostRec> ? "ram.post.id." : "ram.past.id.";
};

using Kinds = testing::Types<CPostRec, CPastRec>;
TYPED_TEST_SUITE(SelfTestRecords, Kinds);

TYPED_TEST(SelfTestRecords, FollowATestFromItsResetToItsResult)
{
    auto& record = this->self_test;
    EXPECT_EQ("0 0 0 -1 0 0 0 ", fields(record));
    for (const char* const leaf : {"cnt", "result", "info", "timestamp", "exetime"})
        this->put(this->prefix + "1141899265." + leaf, leaf[0] == 'c' ? "6" : "5");
    EXPECT_EQ(0, record.init(1141899265));
    EXPECT_EQ(0, record.setDefault(true));
    EXPECT_EQ("1 6 0 3 0 0 0 ", fields(record));
    EXPECT_EQ("[enable=1 state=0 result=0 severity=3 cnt=6 info=0 timestamp=0 exetime=0]",
              this->deliveries());
    host::instance().clock.wait_ms(1000);
    const std::string now = std::to_string(host::instance().clock.seconds());
    EXPECT_EQ(0, record.writeStart());
    EXPECT_EQ(host::instance().clock.now_ms(), record.executionTime());
    host::instance().clock.wait_ms(250);
    EXPECT_EQ(-1, record.setSeverity(CBite::SEV_NOTICE));
    EXPECT_EQ(-1, record.setSeverity(static_cast<CBite::eSeverity>(-1)));
    EXPECT_EQ(3, record.severity());
    EXPECT_EQ(0, record.setSeverity(CBite::SEV_WARNING));
    EXPECT_EQ(0, record.writeInfo(-9));
    EXPECT_EQ(0, record.writeResult(CBite::ST_FAILED));
    EXPECT_EQ("[result=2 cnt=7 timestamp=" + now + " exetime=0][info=-9]" +
                  "[result=4 severity=4 exetime=250 info=-9]",
              this->deliveries());
    EXPECT_EQ(0, record.writeStart());
    EXPECT_EQ(0, record.writeResult(CBite::ST_PASSED)); // in the same millisecond
    EXPECT_EQ("0 8", this->leaf("exetime") + " " + this->leaf("cnt"));
    this->put(this->prefix + "1141899265.exetime", "-1"); // a start that lies ahead
    EXPECT_EQ(0, record.init(1141899265));
    EXPECT_EQ(0, record.writeResult(CBite::ST_PASSED));
    EXPECT_EQ("0", this->leaf("exetime"));
    EXPECT_EQ(0, record.getState());
    EXPECT_EQ(0, record.setState(CBite::ST_TIMEOUT));
    EXPECT_EQ(5, record.getState());
}

TYPED_TEST(SelfTestRecords, TakeWhatIsSoundAndRepairTheRest)
{
    constexpr const char* rows =
        "enable 1 1  enable 2 0  enable -1 -1  result 5 5  result 6 -1  result -1 -1  "
        "severity 2 2  severity 3 3  severity 4 3  severity 1 3  cnt -7 -7  info -8 -8  "
        "timestamp -9 -9  exetime -1 4294967295  cnt 1x 0  cnt. 1 0  cn 1 0  state 1 0";
    expect_taken<TypeParam>(this->terminal,
                            {"enable", "cnt", "result", "severity", "info", "timestamp", "exetime"},
                            this->prefix, rows);
    auto& record = this->self_test;
    this->put(this->prefix + "12.cnt", "2147483647");
    this->put(this->prefix + "123.info", "1"); // another record
    EXPECT_EQ(0, record.init(12));
    EXPECT_EQ("0 2147483647 0 -1 0 0 0 ", fields(record));
    EXPECT_EQ(0, record.writeStart());
    EXPECT_EQ("-2147483648", this->get(this->prefix + "12.cnt"));
    EXPECT_TRUE(record.isValid(7));
    EXPECT_FALSE(record.isValid(8));

    host::instance().configuration.connect(false);
    this->story();
    EXPECT_EQ(-ENOTCONN, record.init(99));
    EXPECT_EQ(99U, record.identifier());
    EXPECT_EQ(-ENOTCONN, record.writeStart());
    EXPECT_EQ(-ENOTCONN, record.writeInfo(2));
    const std::string type = this->prefix == "ram.post.id." ? "POST" : "PAST";
    EXPECT_EQ("log 4 write " + type + " INFO result failed! (99)\n", this->story());
}

TEST_F(BiteRecords, CmRecordsFollowTheirReports)
{
    CCmEventRec record;
    EXPECT_EQ("0 0 -1 0 0 ", fields(record));
    EXPECT_EQ(0, record.init(2282749957));
    EXPECT_EQ(0, record.setSeverity(CBite::SEV_DEBUG));
    EXPECT_EQ(-1, record.setSeverity(static_cast<CBite::eSeverity>(8)));
    EXPECT_EQ(-1, record.writeCmResult(5, CBite::EV_ON));
    EXPECT_EQ("log 4 writeCmResult Record is not initialized -2012217339 - 5\n", story());
    EXPECT_EQ(0, record.writeCmResult(2282749957, CBite::EV_ON));
    EXPECT_EQ(0, record.writeCmInfo(2282749957, -3));
    const std::string now = std::to_string(host::instance().clock.seconds());
    EXPECT_EQ("[state=2 cnt=1 severity=7 timestamp=" + now + "][info=-3]", deliveries());
    EXPECT_EQ(0, record.setDefault(false));
    EXPECT_EQ(0, record.writeCmResult(2282749957, CBite::EV_OFF));
    EXPECT_EQ(0, record.setDefault(true));
    EXPECT_EQ("[state=0 severity=-1 cnt=1 info=0 timestamp=0]"
              "[state=1 cnt=2 severity=-1 timestamp=" +
                  now + "][state=0 severity=-1 cnt=0 info=0 timestamp=0]",
              deliveries());
    record.writeCmResult(2282749957, CBite::EV_ON);
    record.writeCmInfo(6, 4); // whatever the identifier
    record.clrEventRec();
    EXPECT_EQ("0 0 -1 0 0 4", fields(record) + get("ram.bite.cm.6.info"));
    host::instance().configuration.connect(false);
    story();
    EXPECT_EQ(-ENOTCONN, record.writeCmInfo(6, 4));
    EXPECT_EQ("log 4 write CM event INFO result failed! (6)\n", story());
}

TEST_F(BiteRecords, CmRecordsTakeWhatIsSoundAndRepairTheRest)
{
    constexpr const char* rows =
        "state -1 -1  state 3 3  state 4 0  state -2 0  severity 0 0  severity 7 7  severity 9 4  "
        "severity -1 4  cnt -1 -1  info -2147483648 -2147483648  timestamp -1 -1  "
        "timestamp soon 0  stat 1 0";
    expect_taken<CCmEventRec>(terminal, {"cnt", "state", "severity", "info", "timestamp"},
                              "ram.bite.cm.", rows);
    CCmEventRec record;
    put("ram.bite.cm.7.cnt", "2147483647");
    record.init(7);
    record.writeCmResult(7, static_cast<CBite::eEvState>(77));
    EXPECT_EQ("-2147483648", get("ram.bite.cm.7.cnt"));
    EXPECT_FALSE(record.isValid(1) || record.isValid(2) || record.isValid(5));
    EXPECT_TRUE(record.isValid(4));
}

TEST_F(BiteRecords, TheCmLogIsARing)
{
    CCmEventRec record;
    record.init(9);
    record.writeCmResult(9, CBite::EV_ON);
    record.writeCmInfo(9, 5);
    EXPECT_EQ(0, record.writeCmLog(9)); // off
    EXPECT_EQ("-", get("ram.log.bite.cm.hnd.maxsize"));
    put("ram.log.bite.cm.hnd.enable", "1");
    EXPECT_EQ(0, record.writeCmLog(8));
    deliveries();

    const std::string entry = "[identifier=9 state=2 info=5 timestamp=" +
                              std::to_string(host::instance().clock.seconds()) + "]";
    EXPECT_EQ(1, record.writeCmLog(9));
    EXPECT_EQ("[maxsize=100 index=1 count=1]" + entry, deliveries());
    EXPECT_EQ("9", get("ram.log.bite.cm.entry.1.identifier"));

    // Size, index and count of the ring, and what they become.
    std::istringstream rows("10 10 10 10 1 10  10 3 3 10 4 4  10 11 11 10 1 10  5000 3 3 100 4 4  "
                            "-1 100 99 100 1 100  0 1 1 100 2 2  many 1 1 100 2 2  "
                            "1000 999 -5 1000 1000 1  1 1 1 1 1 1  10 0 2147483647 10 1 10  "
                            "10 -5 0 10 1 1  10 2147483647 x 10 1 1");
    std::string size, index, count, new_size, new_index, new_count;
    while (rows >> size >> index >> count >> new_size >> new_index >> new_count) {
        terminal.change({{"ram.log.bite.cm.hnd.maxsize", size},
                         {"ram.log.bite.cm.hnd.latest.index", index},
                         {"ram.log.bite.cm.hnd.latest.count", count}});
        EXPECT_EQ(new_index, std::to_string(record.writeCmLog(9)));
        EXPECT_EQ("[maxsize=" + new_size + " index=" + new_index + " count=" + new_count + "]" +
                      entry,
                  deliveries());
    }
    EXPECT_EQ(-ENAMETOOLONG, record.writeCmLogEntry(100000)); // as is the longest leaf, cut
    EXPECT_EQ("", deliveries());
}
