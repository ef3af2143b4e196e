// The command line: lower-casing, the colon rule, both prefixes, the login rule.
#include <gtest/gtest.h>

#include "app/cmdline.h"

using namespace kv::app;

TEST(CommandLine, FullLineIsLowerCased) {
    const CmdLine c = ParseCommandLine(" -IP:10.0.0.5 /PORT:9000 -USER:Admin -PASS:SeCret -FRAME:3 -LANG:4 "
                                       "-ONTOP:true -TOP:10 -LEFT:20 ");
    EXPECT_TRUE(c.bCmdLogin);
    EXPECT_EQ(c.sCmdIP, "10.0.0.5");
    EXPECT_EQ(c.iCmdPort, 9000);
    EXPECT_EQ(c.sCmdUser, "admin");
    EXPECT_EQ(c.sCmdPass, "secret");
    EXPECT_EQ(c.iCmdFrame, 3);
    EXPECT_EQ(c.iCmdLang, 4);
    EXPECT_TRUE(c.bCmdOnTop);
    EXPECT_EQ(c.iCmdTop, 10);
    EXPECT_EQ(c.iCmdLeft, 20);
}

TEST(CommandLine, Rules) {
    EXPECT_EQ(ParseCommandLine(""), CmdLine{});
    EXPECT_FALSE(ParseCommandLine("-IP: -USER:x").bCmdLogin) << "an empty address asks for no login";
    EXPECT_EQ(ParseCommandLine("-PASS:a:b:c").sCmdPass, "a") << "only the part up to a second colon";
    EXPECT_EQ(ParseCommandLine("-ip:1.2.3.4").sCmdIP, "1.2.3.4") << "switches in any case";
    const CmdLine d = ParseCommandLine("-D:5 -IP:1.2.3.4");
    EXPECT_EQ(d.iCmdDevice, 5);
    EXPECT_TRUE(d.bCmdLogin);
    EXPECT_TRUE(ParseCommandLine("-IP:1.2.3.4 -D:5").bCmdLogin) << "a later -D does not undo -IP";
    EXPECT_FALSE(ParseCommandLine("-D:5").bCmdLogin);
    EXPECT_FALSE(ParseCommandLine("-ONTOP:yes").bCmdOnTop);
    EXPECT_EQ(ParseCommandLine("-PORT:abc").iCmdPort, 0);
    EXPECT_EQ(ParseCommandLine("-LANG:99").iCmdLang, 99);
    const CmdLine u = ParseCommandLine("foo  -X:1 -IP:h  -PORT:1");  // unknown tokens and doubled blanks
    EXPECT_EQ(u.sCmdIP, "h");
    EXPECT_EQ(u.iCmdPort, 1);
    const char* argv[] = {"prog", "-IP:h", "-USER:u"};
    EXPECT_EQ(JoinArguments(3, argv), "-IP:h -USER:u");
}
