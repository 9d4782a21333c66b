// SPDX-License-Identifier: MIT
// Identifiers, texts, and the clients of the BITE handler.

#include "bite/bite_api.h"
#include "bite/bite_rec.h"
#include "bite/event_api.h"
#include "bite/handler.h"
#include "bite/past_api.h"
#include "bite/post_api.h"

extern "C" { // c_client.c
void c_open(void** handles, _cbus_conn_t* bus, int* ready_calls);
void* c_close(void** handles);
int c_report(void** handles, std::uint32_t test, std::uint32_t event);
}

namespace {

constexpr unsigned int module_4 = 0x40000000;
constexpr unsigned int id_1 = 0x00100000;

using BiteClients = Handler;

void count_call(void* context)
{
    ++*static_cast<int*>(context);
}

} // namespace

TEST(BiteIdentifiers, PackTheirFieldsAndDropOtherBits)
{
    // Module, module id, test, and the event that they make.
    const std::array<unsigned int, 4> rows[] = {{module_4, id_1, 1, 0x4C100001},
                                                {4, 1, 7, 0x0C000007},
                                                {0, 0x04100000, 0x123456, 0x0C123456},
                                                {~0U, ~0U, ~0U, 0xFFFFFFFF}};
    using Four = std::array<unsigned int, 4>;
    for (const auto& [module, id, test, packed] : rows) {
        const unsigned int past = packed & ~0x0C000000U;
        const Four expected = {past, past | 0x04000000U, past | 0x08000000U, packed};
        EXPECT_EQ(
            expected,
            (Four{CPastId(module, id, test).packed(), CPostId(module, id, test).packed(),
                  CCmEventId(module, id, test).packed(), CEventId(module, id, test).packed()}));
        EXPECT_EQ(
            expected,
            (Four{bite_createPastRep(module, id, test), bite_createPostRep(module, id, test),
                  bite_createCmRep(module, id, test), bite_createEventRep(module, id, test)}));
    }
}

TEST(BiteTexts, EndWithTheirTables)
{
    const auto texts = [](int value) {
        return std::string(CBiteRec::getStateTxt(value)) + "/" + CBiteRec::getSeverityTxt(value) +
               "/" + CBiteRec::getResultTxt(value) + " ";
    };
    EXPECT_EQ("INVALID/-/NOT RUN OFF/ALERT/READY NONE/ERROR/PASSED INVALID/NOTICE/TIMEOUT "
              "INVALID/-/NOT RUN ",
              texts(-1) + texts(1) + texts(3) + texts(5) + texts(8));
    std::array<char, 25> text{};
    EXPECT_STREQ("SCM-FLASH", CCmEventId(0x60200000).show(text.data(), 25));
    EXPECT_STREQ("SCM-FLASH", CEventId(0x50100000).show(text.data(), 24)); // left alone
    EXPECT_STREQ("?", CEventId(0x5FF00000).show(text.data(), 25));
    EXPECT_STREQ("31-12-99 23:59:59", CBiteRec::getTimeStampTxt(text.data(), 18, 946684799));
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
    EXPECT_EQ(27U, host::instance().bus.sent().signal(1).length); // with its NUL
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
    EXPECT_EQ(0, past.registerPastReadyCB(count_call, &second));
    EXPECT_EQ(0, post.registerPostReadyCB(count_call, &first));
    for (const char* const value : {"1", "0", "2", "yes", "1"})
        put("ram.post.hnd.ready", value);
    put("ram.post.hnd.ready.below", "1");
    EXPECT_EQ(2, first);
    put("ram.past.hnd.ready", "1");
    EXPECT_EQ(1, second);

    // The first record of the key decides for its batch.
    std::int32_t one = 1;
    const std::array batch = {integer_record("ram.post.hnd.extended", &one),
                              integer_record("ram.post.hnd.ready", &one),
                              integer_record("ram.post.hnd.ready", nullptr)};
    CBitePostApi::onPostReadyChange(3, batch.data(), &post);
    CBitePostApi::onPostReadyChange(1, &batch[2], &post);
    CBitePostApi::onPostReadyChange(3, batch.data(), nullptr);
    EXPECT_EQ(3, first);
}

// What followed, in short: the signals without the part that all share, addresses as "0x".
std::string brief(std::string story)
{
    for (const auto& [long_form, short_form] : {std::pair("signal bite.*\"id.([^\"]*)\"", "$1"),
                                                {"log 3 bite_", ""},
                                                {": Handle or (.).*Id is NULL - ", " $1 "},
                                                {"0x[0-9a-f]+|.nil.", "0x"}})
        story = std::regex_replace(story, std::regex(long_form), short_form);
    return story;
}

TEST_F(BiteClients, CFunctionsDoTheSame)
{
    void* handles[3];
    int calls = 0;
    c_open(handles, bus, &calls);
    put("ram.post.id.1141899265.enable", "1");
    EXPECT_EQ(100000, c_report(handles, 1141899265, 0x88100005));
    EXPECT_EQ(brief(story()), R"(1141899265.post.state=1
1141899265.post.state=2
1141899265.post.state=3
1141899265.post.state=4
1141899265.post.info=-5
log 5 PAST not allowed ID: Module=4, Module ID=1, Test ID=1. Not Enabled, Config NOT OK(-2)
1141899265.past.state=2
1141899265.past.state=4
1141899265.past.state=3
1141899265.past.info=7
2282749957.cm.state=2
2282749957.cm.info=0
2282749957.cm.state=99
2282749957.cm.info=-1
2282749957.ev.state=1:info=0
2282749957.ev.state=1:info=7
)");
    for (const char* const key : {"ram.post.hnd.ready", "ram.past.hnd.ready",
                                  "ram.post.hnd.extended", "ram.past.id.1141899265.enable"})
        put(key, "1");
    EXPECT_EQ(11100011, c_report(handles, 1141899265, 1));
    EXPECT_EQ(handles[1], c_close(handles));
    put("ram.post.hnd.ready", "1"); // nobody is there any more
    EXPECT_EQ(1, calls);
}

TEST_F(BiteClients, CFunctionsRefuseWithoutAHandleOrAnIdentifier)
{
    constexpr const char* refused = R"(isPostAllowed p (0x/0)
setPOST_start p (0x/0)
PostResult p (0x/0)
PostResInfo p (0x/0)
isPastAllowed p (0x/0)
setPAST_start p (0x/0)
PastResult p (0x/0)
PastResInfo p (0x/0)
cmResult e (0x/0)
cmResInfo e (0x/0)
eventResult e (0x/0)
eventResInfo e (0x/0)
)";
    void* handles[3] = {};
    EXPECT_EQ(99900, c_report(handles, 77, 77)); // 0 0 0 -1 -1 -1 0 0
    EXPECT_EQ("isPostExtended: Handle is NULL - no initialized POST API\n" +
                  std::regex_replace(refused, std::regex("/0"), "/77"),
              brief(story()));
    EXPECT_EQ(-1, bite_registerPostReadyCB(nullptr, count_call, nullptr));
    EXPECT_EQ(-1, bite_registerPastReadyCB(nullptr, count_call));
    EXPECT_EQ(nullptr, c_close(handles));
    EXPECT_EQ("registerPostReadyCB: Handle is NULL - no initialized POST API\n"
              "registerPastReadyCB: Handle is NULL - no initialized PAST API\n"
              "log 4 bite_eventApiClose: trying to free NULL ptr\n",
              brief(story()));
    int calls = 0;
    c_open(handles, bus, &calls);
    EXPECT_EQ(99900, c_report(handles, 0, 0));
    EXPECT_EQ(refused, brief(story()));
    c_close(handles);
}
