// Taking command texts apart and writing replies: every form the client sends, and broken texts.
#include <gtest/gtest.h>

#include "sim/envelope.h"

namespace kv::sim {
namespace {

struct FormCase {
    const char* text;
    int32_t id;
    const char* userData;  // nullptr: none
    const char* param;
    const char* why;
};

TEST(ParseCommand, readsEveryFormTheClientSends) {
    const FormCase cases[] = {
        {R"(<CMD ID="32772"><UserData>CONFIG_AP</UserData><Param></Param></CMD>)", 32772, "CONFIG_AP", "",
         "form A with an empty body"},
        {R"(<CMD ID="32802"><UserData>CONFIG_AP</UserData><Param><UserList><User Name="a&amp;b" >1</User></UserList></Param></CMD>)",
         32802, "CONFIG_AP", R"(<UserList><User Name="a&amp;b" >1</User></UserList>)",
         "the body keeps its bytes, entities and blanks included"},
        {R"(<CMD ID="32822"><Param><CH>3</CH><Type>1</Type></Param></CMD>)", 32822, nullptr, "<CH>3</CH><Type>1</Type>",
         "form B, no user data"},
        {R"(<CMD ID="32801" />)", 32801, nullptr, "", "form C"},
        {R"(<CMD ID="36865"/>)", 36865, nullptr, "", "form C'"},
        {R"(<CMD ID="4101" ><UserData>preset page</UserData><Param><CH>2</CH></Param></CMD>)", 4101, "preset page",
         "<CH>2</CH>", "form D, blank before the bracket"},
        {R"(<CMD ID='32834'><Param><TagFilter><Name>x</Name></TagFilter></Param></CMD>)", 32834, nullptr,
         "<TagFilter><Name>x</Name></TagFilter>", "single quotes of the profile file"},
        {R"(<CMD ID="32833"><UserData>ID=7</UserData><Param><ID>7</ID></Param></CMD>)", 32833, "ID=7", "<ID>7</ID>",
         "user data with an equals sign"},
        {R"(<CMD ID="1183748"><UserData></UserData><Param/></CMD>)", 1183748, "", "",
         "the id above 16 bits; empty user data is still user data"},
    };
    for (const auto& c : cases) {
        auto cmd = parseCommand(c.text);
        ASSERT_TRUE(cmd) << c.why;
        EXPECT_EQ(cmd->id, c.id) << c.why;
        if (c.userData) {
            EXPECT_EQ(cmd->userData, std::string(c.userData)) << c.why;
        } else {
            EXPECT_FALSE(cmd->userData) << c.why;
        }
        EXPECT_EQ(cmd->paramBody, c.param) << c.why;
    }
}

TEST(ParseCommand, refusesTextsThatAreNoCommand) {
    const char* cases[] = {
        "",                                     // nothing
        "hello",                                // no XML
        "<CMD ID=\"1\"><Param></CMD>",          // not well formed
        "<RESPONSE RET=\"0\" ID=\"1\" />",      // another root
        "<CMD />",                              // no ID
        "<CMD ID=\"\" />",                      // empty ID
        "<CMD ID=\"abc\" />",                   // not a number
        "<CMD ID=\"-5\" />",                    // a sign
        "<CMD ID=\" 5\" />",                    // a blank
        "<CMD ID=\"5x\" />",                    // trailing garbage
        "<CMD ID=\"99999999999\" />",           // beyond 32 bits
    };
    for (const char* text : cases) EXPECT_FALSE(parseCommand(text)) << text;
}

TEST(ParseCommand, everyTruncatedPrefixIsRefusedWithoutHarm) {
    const std::string full = R"(<CMD ID="32838"><UserData>CONFIG_AP</UserData><Param><Enable>1</Enable></Param></CMD>)";
    for (size_t n = 0; n < full.size(); ++n) EXPECT_FALSE(parseCommand(full.substr(0, n))) << n;
    EXPECT_TRUE(parseCommand(full));
}

TEST(BuildResponse, putsRetFirstIdSecondAndEchoesUserDataOnce) {
    EXPECT_EQ(buildResponse(0, 32801, std::nullopt, "<UserList />"),
              R"(<RESPONSE RET="0" ID="32801"><UserList /></RESPONSE>)");
    EXPECT_EQ(buildResponse(-1, 32833, std::string("ID=4"), ""),
              R"(<RESPONSE RET="-1" ID="32833"><UserData>ID=4</UserData></RESPONSE>)");
    EXPECT_EQ(buildResponse(0, 24582, std::string("Form_Main"), "<CHList />", true),
              R"(<RESPONSE RET="0" ID="24582" RetCode="0"><UserData>Form_Main</UserData><CHList /></RESPONSE>)");
    // A stored body that already carries user data is not given a second one.
    EXPECT_EQ(buildResponse(0, 1, std::string("x"), "<UserData>y</UserData><A />"),
              R"(<RESPONSE RET="0" ID="1"><UserData>y</UserData><A /></RESPONSE>)");
}

}  // namespace
}  // namespace kv::sim
