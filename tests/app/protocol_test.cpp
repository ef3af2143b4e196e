// The envelope forms byte for byte, the RESPONSE readers, the dispatcher and the page-ready rule.
#include <pugixml.hpp>
#include <gtest/gtest.h>

#include "app/commands.h"
#include "app/dispatcher.h"
#include "app/protocol.h"

using namespace kv::app;

TEST(CommandForms, ExactBytes) {
    EXPECT_EQ(CommandA(32777, ""), "<CMD ID=\"32777\"><UserData>CONFIG_AP</UserData><Param></Param></CMD>");
    EXPECT_EQ(CommandA(4098, "formGetRemoteData", "<Type>1</Type>"),
              "<CMD ID=\"4098\"><UserData>formGetRemoteData</UserData><Param><Type>1</Type></Param></CMD>");
    EXPECT_EQ(CommandB(4109, "<UserName>admin</UserName>"),
              "<CMD ID=\"4109\"><Param><UserName>admin</UserName></Param></CMD>");
    EXPECT_EQ(CommandC(32801), "<CMD ID=\"32801\" />");
    EXPECT_EQ(CommandC2(36865), "<CMD ID=\"36865\"/>");
    EXPECT_EQ(CommandD(4101, "Preset", 3),
              "<CMD ID=\"4101\" ><UserData>Preset</UserData><Param><CH>3</CH></Param></CMD>");
    EXPECT_EQ(CommandC(cmd::kCheckPort), "<CMD ID=\"1183748\" />") << "the one id beyond 16 bits";
}

TEST(ResponseReaders, IdIsTheSecondAttributeByPosition) {
    struct Case { const char* xml; int32_t id; };
    const Case cases[] = {
        {"<RESPONSE RET=\"0\" ID=\"32801\"><UserList/></RESPONSE>", 32801},
        {"<RESPONSE RET=\"0\" CMD=\"32777\"/>", 32777},        // read by position, not by name
        {"<RESPONSE ID=\"5\" RET=\"32777\"/>", 32777},         // the second, whatever its name
        {"<RESPONSE RET=\"0\"/>", 0},                          // one attribute only: dropped
        {"<X><RESPONSE RET=\"0\" ID=\"4098\"/></X>", 4098},    // the first RESPONSE anywhere
        {"not xml", 0},
        {"", 0},
        {"<RESPONSE RET=\"0\" ID=\"abc\"/>", 0},
        {"<RESPONSE RET=\"0\" ID=\"32801\"", 0},               // truncated
    };
    for (const auto& c : cases) EXPECT_EQ(Load_XML_RESPONSE(c.xml), c.id) << c.xml;
}

TEST(ResponseReaders, ReturnCodeByBaseName) {
    EXPECT_EQ(CheckCMDReturn("<RESPONSE RET=\"0\" ID=\"1\"/>"), 0);
    EXPECT_EQ(CheckCMDReturn("<RESPONSE ID=\"1\" RET=\"-5\"/>"), -5);
    EXPECT_EQ(CheckCMDReturn("<RESPONSE x:RET=\"3\" ID=\"1\"/>"), 3);
    EXPECT_EQ(CheckCMDReturn("<RESPONSE ID=\"1\"/>"), -1);
    EXPECT_EQ(CheckCMDReturn("garbage"), -1);
    EXPECT_EQ(Load_GetRetCode_XML("<RESPONSE RET=\"7\" ID=\"1\"/>"), 7);
    EXPECT_EQ(Load_XML_QUERYID("<RESPONSE RET=\"0\" ID=\"36865\"><Q><QueryID>42</QueryID></Q></RESPONSE>"), 42);
    EXPECT_EQ(Load_XML_QUERYID("<RESPONSE RET=\"0\" ID=\"36865\"/>"), 0);
}

TEST(Dispatcher, RowsSetTheirFlagsEvenWhenTheParserFails) {
    Dispatcher d;
    int parsed = 0;
    ASSERT_TRUE(d.registerParser(32801, [&](const pugi::xml_document&) { ++parsed; }));
    ASSERT_TRUE(d.registerParser(32803, [](const pugi::xml_document&) { throw std::runtime_error("bad"); }));
    EXPECT_FALSE(d.registerParser(32775, [](const pugi::xml_document&) {})) << "not a row of the table";
    EXPECT_EQ(d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32801\"/>"), 32801);
    EXPECT_EQ(parsed, 1);
    d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32803\"/>");
    EXPECT_TRUE(d.bDataReady[15]) << "a parser that throws still sets its flag";
}

TEST(Dispatcher, UnknownIdsAndWriteEchoesChangeNothing) {
    Dispatcher d;
    for (const char* xml : {"<RESPONSE RET=\"0\" ID=\"32775\"/>", "<RESPONSE RET=\"0\"/>", "junk",
                            "<RESPONSE RET=\"0\" ID=\"99999\"/>",
                            // A known head over a broken body: what the parse read so far is no reply.
                            "<RESPONSE RET=\"0\" ID=\"32801\"><UserList><User"})
        EXPECT_EQ(d.ControlCOM_OnResponse(xml), 0) << xml;
    EXPECT_EQ(d.bDataReady, DataReady{});
}

TEST(Dispatcher, FlagsOfTheTable) {
    const std::pair<int32_t, int> rows[] = {
        {4098, 14}, {24582, 1}, {32772, 9}, {32773, 10}, {32774, 11}, {32777, 6}, {32778, 7}, {32780, 12},
        {32783, 18}, {32785, 17}, {32787, 2}, {32790, 0}, {32792, 4}, {32794, 3}, {32796, 5}, {32799, 13},
        {32801, 16}, {32803, 15}, {32805, 20}, {32808, 19}, {32809, 8}, {32811, 5}, {32815, 21},
    };
    for (const auto& [id, flag] : rows) {
        Dispatcher d;
        d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"" + std::to_string(id) + "\"/>");
        DataReady expected{};
        expected[static_cast<size_t>(flag)] = true;
        EXPECT_EQ(d.bDataReady, expected) << id;
    }
    for (int32_t id : {8194, 24578, 32816, 32820, 32824, 32828, 32832, 32833, 32837, 40961, 40994, 40995, 40996,
                       1183748}) {
        Dispatcher d;
        EXPECT_EQ(d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"" + std::to_string(id) + "\"/>"), id);
        EXPECT_EQ(d.bDataReady, DataReady{}) << id << " sets no flag";
    }
    EXPECT_EQ(ResponseTable().size(), 37u);
}

TEST(Dispatcher, FollowUpsAndMarks) {
    Dispatcher d;
    std::vector<std::string> order;
    d.registerParser(32778, [&](const pugi::xml_document&) { order.push_back("parse"); });
    d.setFollowUp(FollowUp::EnActionCondition, [&] { order.push_back("EnActionCondition"); });
    d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32778\"/>");
    EXPECT_EQ(order, (std::vector<std::string>{"parse", "EnActionCondition"}));
    EXPECT_TRUE(d.bDataReady[7]);
    d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"8194\"/>");
    d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32832\"/>");
    d.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"40961\"/>");
    EXPECT_TRUE(d.bSearchDone);
    EXPECT_EQ(d.iProfileListArrived, 1);
    EXPECT_TRUE(d.bStatusArrived);
}

TEST(Dispatcher, RebootNoticeOnlyForOneAndNothingOnceTheAppEnds) {
    Dispatcher d;
    int told = 0;
    d.setRebootHandler([&](bool v) { told += v; });
    d.ServerNotify("<NOTIFY><Reboot>0</Reboot><Other>1</Other></NOTIFY>");
    d.ServerNotify("<NOTIFY>broken");
    EXPECT_FALSE(d.bRebooting);
    d.ServerNotify("<NOTIFY><Other>5</Other><Reboot>1</Reboot></NOTIFY>");
    EXPECT_TRUE(d.bRebooting);
    EXPECT_EQ(told, 1);

    Dispatcher ending;
    ending.setRebootHandler([&](bool v) { told += v; });
    ending.bAppEnding = true;
    EXPECT_EQ(ending.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32801\"/>"), 0);
    ending.ServerNotify("<NOTIFY><Reboot>1</Reboot></NOTIFY>");
    EXPECT_EQ(ending.bDataReady, DataReady{});
    EXPECT_FALSE(ending.bRebooting);
    EXPECT_EQ(told, 1);
}

TEST(PageReady, JoinsForcedZerosAndEntryNine) {
    DataReady f{};
    PageReady prev{};
    prev.fill(1);
    PageReady p = DerivePageReady(f, prev);
    const PageReady expectNone{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ(p, expectNone) << "entries 7, 8, 10-12 forced to 0, entry 9 kept";
    struct Case { size_t flag; size_t entry; };
    const Case cases[] = {{0, 0}, {1, 1}, {2, 2}, {5, 2}, {6, 3}, {13, 3}, {14, 4}, {15, 5}, {16, 5},
                          {17, 6}, {19, 6}};
    for (const auto& c : cases) {
        DataReady one{};
        one[c.flag] = true;
        const PageReady q = DerivePageReady(one, PageReady{});
        for (size_t e = 0; e < kPageReadyCount; ++e) EXPECT_EQ(q[e], e == c.entry ? 1 : 0) << c.flag << "->" << e;
    }
    DataReady late{};
    late[20] = late[21] = true;
    EXPECT_EQ(DerivePageReady(late, PageReady{}), PageReady{}) << "flags 20 and 21 feed no page";
}
