// SPDX-License-Identifier: MIT
// Identifiers, texts, and the clients of the BITE handler.
#include <array>
#include <regex>

#include "bite/bite_api.h"
#include "bite/bite_rec.h"
#include "bite/c_client.h"
#include "bite/event_api.h"
#include "bite/handler.h"
#include "bite/past_api.h"
#include "bite/post_api.h"

namespace {

constexpr unsigned int module_4 = 0x40000000;
constexpr unsigned int id_1 = 0x00100000;

class BiteClients : public Handler {};

void count_call(void* context)
{
    ++*static_cast<int*>(context);
}

std::string shown(unsigned int module, unsigned int module_id)
{
    std::array<char, 25> text;
    return CCmEventId(module << 28U, module_id << 20U, 0xFFFFF).show(text.data(), text.size());
}

} // namespace

TEST(BiteIdentifiers, PackTheirFieldsAndDropOtherBits)
{
    struct Row {
        unsigned int module, module_id, test, packed; // of an event
    };
    const Row rows[] = {{module_4, id_1, 1, 0x4C100001},
                        {4, 1, 7, 0x0C000007},
                        {0, 0x04100000, 0x123456, 0x0C123456},
                        {~0U, ~0U, ~0U, 0xFFFFFFFF}};
    for (const Row& row : rows) {
        const unsigned int fields = row.packed & ~0x0C000000U;
        const auto [module, module_id, test, packed] = row;
        EXPECT_EQ(packed, CEventId(module, module_id, test).packed());
        EXPECT_EQ(packed, bite_createEventRep(module, module_id, test));
        EXPECT_EQ(fields | 0x04000000U, CPostId(module, module_id, test).packed());
        EXPECT_EQ(fields | 0x04000000U, bite_createPostRep(module, module_id, test));
        EXPECT_EQ(fields | 0x08000000U, CCmEventId(module, module_id, test).packed());
        EXPECT_EQ(fields | 0x08000000U, bite_createCmRep(module, module_id, test));
        EXPECT_EQ(fields, CPastId(module, module_id, test).packed());
        EXPECT_EQ(fields, bite_createPastRep(module, module_id, test));
    }
    EXPECT_EQ(1141899265U, CPostId(module_4, id_1, 1).packed());
    EXPECT_EQ(0U, CPostId().packed() | CEventId().packed() | CCmEventId().packed());
    EXPECT_EQ(0x0C000001U, CPostId(0x0C000001).packed());
}

TEST(BiteIdentifiers, ShowTheirModule)
{
    std::string names;
    for (unsigned int module = 4; module <= 8; ++module) {
        for (unsigned int id = 0; id <= 11; ++id)
            names += shown(module, id) + " ";
    }
    EXPECT_EQ("? ? ? ? ? ? ? ? ? ? ? ? "
              "? ACD-AP ACD-BP AIS-AP AIS-BP PIESD-AP PIESD-BP SEGFPGA ? ACD-RM PIESD-RM ? "
              "SCM SCM-USIM SCM-FLASH SCM SCM SCM SCM SCM SCM SCM SCM SCM "
              "ANT LNA HLD HPA ANT ANT ANT ANT ANT ANT ANT ANT "
              "? ? ? ? ? ? ? ? ? ? ? ? ",
              names);
    char text[] = "left alone";
    EXPECT_STREQ("left alone", CEventId(0x50000000, id_1, 0).show(text, 24));
}

TEST(BiteTexts, CoverEveryNumber)
{
    std::string texts;
    for (const int value : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, INT32_MAX})
        texts += std::string(CBiteRec::getStateTxt(value)) + "/" + CBiteRec::getSeverityTxt(value) +
                 "/" + CBiteRec::getResultTxt(value) + " ";
    EXPECT_EQ("INVALID/-/NOT RUN INVALID/-/NOT RUN INVALID/EMERGENCY/NOT RUN OFF/ALERT/READY "
              "ON/FATAL/STARTED NONE/ERROR/PASSED INVALID/WARNING/FAILED INVALID/NOTICE/TIMEOUT "
              "INVALID/INFO/NOT RUN INVALID/DEBUG/NOT RUN INVALID/-/NOT RUN INVALID/-/NOT RUN ",
              texts);
    std::array<char, 18> text;
    EXPECT_STREQ("01-01-70 00:00:00", CBiteRec::getTimeStampTxt(text.data(), text.size(), 0));
    EXPECT_STREQ("31-12-99 23:59:59",
                 CBiteRec::getTimeStampTxt(text.data(), text.size(), 946684799));
    EXPECT_STREQ("", CBiteRec::getTimeStampTxt(text.data(), 17, 0));
}

TEST_F(BiteClients, ATestIsAllowedByItsKeyAlone)
{
    CBitePostApi api;
    api.init(bus);
    const CPostId id(module_4, id_1, 1);
    EXPECT_FALSE(api.isPostAllowed(id));
    put("ram.post.id.1141899265.enable", "0");
    EXPECT_FALSE(api.isPostAllowed(id));
    EXPECT_EQ("log 5 POST not allowed ID: Module=4, Module ID=1, Test ID=1. Not Enabled, "
              "Config OK(0)\n",
              story());
    put("ram.post.id.1141899265.enable", "1");
    EXPECT_TRUE(api.isPostAllowed(id));
    EXPECT_EQ(27U, host::instance().signals.signal(1).length); // with its NUL
    story();
    EXPECT_EQ(0, api.reportPostResult(id, static_cast<CBitePostApi::ePostResult>(-1)));
    EXPECT_EQ(0, api.reportPostResult(CPostId(~0U), CBitePostApi::POST_PASSED, INT32_MIN));
    EXPECT_NE(0, CBitePostApi().setPOST_start(id)); // no bus
    EXPECT_EQ(-1, api.sendMsg("x", nullptr, 2));
    EXPECT_EQ(-1, api.sendMsg("x", "x", 0));
    EXPECT_EQ(-1, api.sendMsg(nullptr, nullptr, 2));
    EXPECT_EQ("signal bite.post.state \"id.1141899265.post.state=4\"\n"
              "signal bite.post.state \"id.4294967295.post.state=3\"\n"
              "signal bite.post.info \"id.4294967295.post.info=-2147483648\"\n"
              "log 4 Cannot send msg, ((nil),(nil) - len: 2)\n",
              std::regex_replace(story(), std::regex("log 4 Cannot send msg, .0x.*\n"), ""));
}

TEST_F(BiteClients, ReadyIsToldForEachWriteOfOne)
{
    int first = 0;
    int second = 0;
    CBitePostApi post;
    CBitePastApi past;
    EXPECT_EQ(0, post.registerPostReadyCB(nullptr, nullptr));
    EXPECT_EQ(0, past.registerPastReadyCB(count_call, &second));
    put("ram.post.hnd.ready", "1"); // nobody to be told
    EXPECT_EQ(0, post.registerPostReadyCB(count_call, &first));
    for (const char* const value : {"1", "0", "2", "yes", "1"})
        put("ram.post.hnd.ready", value);
    put("ram.post.hnd.ready.below", "1");
    EXPECT_EQ(2, first);
    put("ram.past.hnd.ready", "1");
    EXPECT_EQ(1, second);
    EXPECT_TRUE(post.isPostReady());
    EXPECT_TRUE(past.isPastReady());
    EXPECT_FALSE(post.isPostExtended());
    put("ram.post.hnd.extended", "1");
    EXPECT_TRUE(post.isPostExtended());

    // The first record of the key decides for its batch.
    std::int32_t one = 1;
    std::int32_t zero = 0;
    const auto record = [](const char* key, std::int32_t* value) {
        return config_data_t{CONFIG_TYPE_INTEGER, key, value, 4, 4, 0};
    };
    const std::array batch = {
        record("ram.post.hnd.extended", &zero), record("ram.post.hnd.ready", &one),
        record("ram.post.hnd.ready", &one), record("ram.post.hnd.ready", nullptr)};
    CBitePostApi::onPostReadyChange(4, batch.data(), &post);
    EXPECT_EQ(3, first);
    CBitePostApi::onPostReadyChange(1, &batch[3], &post);
    CBitePostApi::onPostReadyChange(0, nullptr, &post);
    CBitePostApi::onPostReadyChange(4, batch.data(), nullptr);
    EXPECT_EQ(3, first);
}

TEST_F(BiteClients, CFunctionsDoTheSame)
{
    c_handles handles{};
    c_open(&handles, bus);
    put("ram.post.id.1141899265.enable", "1");
    EXPECT_EQ(100000, c_report(&handles, 1141899265, 0x88100005));
    EXPECT_EQ("signal bite.post.state \"id.1141899265.post.state=1\"\n"
              "signal bite.post.state \"id.1141899265.post.state=2\"\n"
              "signal bite.post.state \"id.1141899265.post.state=3\"\n"
              "signal bite.post.state \"id.1141899265.post.state=4\"\n"
              "signal bite.post.info \"id.1141899265.post.info=-5\"\n"
              "log 5 PAST not allowed ID: Module=4, Module ID=1, Test ID=1. "
              "Not Enabled, Config NOT OK(-2)\n"
              "signal bite.past.state \"id.1141899265.past.state=2\"\n"
              "signal bite.past.state \"id.1141899265.past.state=4\"\n"
              "signal bite.past.state \"id.1141899265.past.state=3\"\n"
              "signal bite.past.info \"id.1141899265.past.info=7\"\n"
              "signal bite.cm.state \"id.2282749957.cm.state=2\"\n"
              "signal bite.cm.info \"id.2282749957.cm.info=0\"\n"
              "signal bite.cm.state \"id.2282749957.cm.state=99\"\n"
              "signal bite.cm.info \"id.2282749957.cm.info=-1\"\n"
              "signal bite.event.state \"id.2282749957.ev.state=1:info=0\"\n"
              "signal bite.event.state \"id.2282749957.ev.state=1:info=7\"\n",
              story());
    for (const char* const key : {"ram.post.hnd.ready", "ram.past.hnd.ready",
                                  "ram.post.hnd.extended", "ram.past.id.1141899265.enable"})
        put(key, "1");
    EXPECT_EQ(101, handles.ready_calls);
    EXPECT_EQ(handles.past, handles.past_context);
    EXPECT_EQ(11100011, c_report(&handles, 1141899265, 1));
    c_close(&handles);
    put("ram.post.hnd.ready", "1"); // nobody is there any more
    EXPECT_EQ(101, handles.ready_calls);
}

TEST_F(BiteClients, CFunctionsRefuseWithoutAHandleOrAnIdentifier)
{
    const auto no_handle = [](const char* function, const char* api) {
        return std::string("log 3 ") + function + ": Handle is NULL - no initialized " + api + "\n";
    };
    std::string without_handle = no_handle("bite_isPostExtended", "POST API");
    std::string without_id;
    for (const auto& [function, kind] : std::initializer_list<std::pair<const char*, const char*>>{
             {"bite_isPostAllowed", "post"},
             {"bite_setPOST_start", "post"},
             {"bite_PostResult", "post"},
             {"bite_PostResInfo", "post"},
             {"bite_isPastAllowed", "past"},
             {"bite_setPAST_start", "past"},
             {"bite_PastResult", "past"},
             {"bite_PastResInfo", "past"},
             {"bite_cmResult", "event"},
             {"bite_cmResInfo", "event"},
             {"bite_eventResult", "event"},
             {"bite_eventResInfo", "event"}}) {
        const std::string line =
            std::string("log 3 ") + function + ": Handle or " + kind + "Id is NULL - (";
        without_handle += line + "(nil)/77)\n";
        without_id += line + "0x/0)\n";
    }
    constexpr int refused = 99900; // 0 0 0 -1 -1 -1 0 0
    const c_handles none{};
    EXPECT_EQ(refused, c_report(&none, 77, 77));
    EXPECT_EQ(-1, bite_registerPostReadyCB(nullptr, count_call, nullptr));
    EXPECT_EQ(-1, bite_registerPastReadyCB(nullptr, count_call));
    without_handle += no_handle("bite_registerPostReadyCB", "POST API") +
                      no_handle("bite_registerPastReadyCB", "PAST API");
    EXPECT_EQ(without_handle, story());
    c_handles handles{};
    c_open(&handles, bus);
    EXPECT_EQ(refused, c_report(&handles, 0, 0));
    EXPECT_EQ(without_id, std::regex_replace(story(), std::regex("0x[0-9a-f]+"), "0x"));
    bite_eventApiClose(nullptr);
    bite_postApiClose(nullptr);
    bite_pastApiClose(nullptr);
    EXPECT_EQ("log 4 bite_eventApiClose: trying to free NULL ptr\n", story());
    c_close(&handles);
}
