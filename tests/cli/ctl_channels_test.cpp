// kelvarra-ctl's channel sections against kelvarra-sim: what dump prints, and apply's changes,
// additions, removals and presets through the channel page's rules, byte for byte, with the
// refusals of the rules, of the camera and of the service.
#include <gtest/gtest.h>

#include "users/rights.h"

#include <nlohmann/json.hpp>

#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/run_process.h"
#include "sim/process.h"

using kv::sim::SimProcess;
using kv::test::TempDir;
using Json = nlohmann::json;

namespace {

kv::test::ProcessResult ctl(int port, std::vector<std::string> extra = {"dump"}) {
    std::vector<std::string> args{KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", "admin"};
    args.insert(args.end(), extra.begin(), extra.end());
    return kv::test::RunProcess(args, {"KELVARRA_PASSWORD=admin"});
}

// The commands of the run, without the load and the reads of the channel status and presets.
std::vector<std::string> changes(const std::filesystem::path& traffic) {
    std::vector<std::string> out;
    const auto load = kv::test::ExpectedLoginCommands(true);
    for (const std::string& line : kv::test::readLines(traffic)) {
        // The reads, and the end of the configuration every run sends before it logs out.
        const bool read = std::find(load.begin(), load.end(), line) != load.end() ||
                          line == "<CMD ID=\"24578\" />" || line.rfind("<CMD ID=\"4101\" >", 0) == 0 ||
                          line == "<CMD ID=\"40964\" />";
        if (!read) out.push_back(line);
    }
    return out;
}

Json& channel(Json& doc, int ch) {
    for (Json& c : doc["strCH"])
        if (c["CH"] == ch) return c;
    throw std::runtime_error("no channel " + std::to_string(ch));
}

class CtlChannels : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(sim_.ok());
        const auto r = ctl(sim_.port());
        ASSERT_EQ(r.exitCode, 0) << r.err;
        dump_ = Json::parse(r.out);
    }
    kv::test::ProcessResult apply(const Json& doc) {
        kv::test::writeFile(dir_ / "doc.json", doc.dump(1));
        return ctl(sim_.port(), {"apply", (dir_ / "doc.json").string()});
    }
    TempDir dir_;
    SimProcess sim_{KV_SIM_PROGRAM, dir_ / "data", {"--traffic-log", (dir_ / "traffic.log").string()}};
    Json dump_;
};

TEST_F(CtlChannels, DumpPrintsTheConfiguredChannelsTheirPresetsAndStatus) {
    ASSERT_EQ(dump_["strCH"].size(), 16u);
    const Json& third = channel(dump_, 3);
    EXPECT_EQ(third["Name"], "Parking North");
    EXPECT_EQ(third["SizeList_H264"], "1920x1080,1280x720");
    // Indices into the fixed tables print as the tables' texts.
    EXPECT_EQ(third["FPS"], "Full");
    EXPECT_EQ(third["Bitrate"], "1024k");
    EXPECT_EQ(third["RateControl"], "CBR");
    EXPECT_EQ(third["FPSUpper_H264"], Json::array({"20", "20"}));
    EXPECT_EQ(third["BitrateLower_H264"], Json::array({"256k", "128k"}));
    EXPECT_EQ(third["Password"], "********");
    EXPECT_FALSE(third.contains("Connected")) << "the status has its own section";
    EXPECT_EQ(channel(dump_, 6)["Name"], "Door <A> & \"B\"");
    Json clear = Json::parse(ctl(sim_.port(), {"dump", "--secrets"}).out);
    EXPECT_EQ(channel(clear, 6)["Password"], "hx<d1>");
    EXPECT_EQ(dump_["Presets"]["8"][0]["Name"], "Roof");
    EXPECT_EQ(dump_["Presets"].size(), 2u) << "the two PTZ channels";
    ASSERT_EQ(dump_["ChannelStatus"].size(), 16u);
    EXPECT_EQ(dump_["ChannelStatus"][9]["CH"], 10);
    EXPECT_EQ(dump_["ChannelStatus"][9]["Connected"], 0);
}

TEST_F(CtlChannels, ChangesAdditionsAndRemovalsGoOutThroughThePage) {
    Json doc = dump_;
    channel(doc, 6)["Name"] = "Door <C>";
    channel(doc, 10)["IP"] = "";
    doc["strCH"].push_back({{"CH", 17}, {"Name", "Box"}, {"IP", "192.168.20.22"}, {"UserName", "admin"},
                            {"Password", "pw"}, {"VideoNumber", 1}, {"FMT", "mpeg4"}, {"Size", "640x480"},
                            {"FPS", 4}, {"RateControl", 0}, {"Quality", 3}});
    doc["Presets"]["8"].push_back({{"ID", 2}, {"Name", "Yard"}});
    const auto r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("strCH[16]: read the camera at 192.168.20.22:80"), std::string::npos) << r.out;
    // The plan, in the order of the sends, names the removal.
    const size_t plan = r.out.find("plan:\n  changes channel 6: Name\n  removes channel 10 \"");
    const size_t added = r.out.find("\n  adds channel 17 \"Box\" (the camera at 192.168.20.22)\n"
                                    "  changes the presets of channel 8: adds 2 \"Yard\"\nsent: ");
    EXPECT_NE(plan, std::string::npos) << r.out;
    EXPECT_NE(added, std::string::npos) << r.out;
    EXPECT_NE(r.out.find("sent: <CMD ID=\"32804\">"), std::string::npos) << "the pruned groups are shown too";
    const std::string all = kv::users::GetAdminGroupChList(1, 64);
    const std::string zeros = "Type3=\"0\" Type4=\"0\" Type5=\"0\" Type6=\"0\" Type7=\"0\" Type8=\"0\" Type9=\"0\" "
                              "Type10=\"0\" Type11=\"0\"";
    const std::vector<std::string> expected = {
        "<CMD ID=\"8193\"><Param><IP>192.168.20.22</IP><HTTPPort>80</HTTPPort><UserName>admin</UserName>"
        "<Password>pw</Password><VideoNumber>1</VideoNumber></Param></CMD>",
        "<CMD ID=\"24581\"><UserData>CONFIG_AP</UserData><Param><CH>6</CH><Name>Door &lt;C></Name>"
        "<IP>192.168.10.106</IP><HTTPPort>80</HTTPPort><UserName>service</UserName><Password>hx&lt;d1></Password>"
        "<VideoNumber>1</VideoNumber><BrandCode>7</BrandCode><Model>HX-D1</Model><MACAddress>00-1C-5A-10-00-06"
        "</MACAddress><RtspPort>554</RtspPort><StartConfig>0</StartConfig><Video><FMT>jpeg</FMT>"
        "<Size>720x480||D1</Size><FPS>0</FPS><Quality>6</Quality><RateControl>-1</RateControl><Bitrate>0</Bitrate>"
        "<GOP>-1</GOP><LensMode></LensMode><LeftDisplayMode></LeftDisplayMode><RightDisplayMode></RightDisplayMode>"
        "</Video><Audio><FMT>g711</FMT></Audio></Param></CMD>",
        "<CMD ID=\"40963\" />",
        "<CMD ID=\"24581\"><UserData>CONFIG_AP</UserData><Param><CH>10</CH></Param></CMD>",
        // The service keeps the lists it was sent: the client takes the channel out of the groups'
        // rights and saves them (the admin group keeps every channel).
        "<CMD ID=\"32804\"><UserData>CONFIG_AP</UserData><Param><UserGroupList><UserGroup Name=\"Admin Group\" "
        "Type0=\"" + all + "\" Type1=\"" + all + "\" Type2=\"" + all + "\" " + zeros + " >1</UserGroup>"
        "<UserGroup Name=\"Viewers\" Type0=\"1,2,3,4,5,6,7,8,9,11,12\" Type1=\"3,8\" Type2=\"1,2,4,5\" " + zeros +
        " >2</UserGroup><UserGroup Name=\"Operators\" Type0=\"1,2,3,4,5,6,7,8,9,11,12,13,14,15,16\" Type1=\"3,8\" "
        "Type2=\"1,2,3,4,5,6,7,8,9,11,12,13,14,15,16\" " + zeros + " >3</UserGroup></UserGroupList></Param></CMD>",
        "<CMD ID=\"24581\"><UserData>CONFIG_AP</UserData><Param><CH>17</CH><Name>Box</Name><IP>192.168.20.22</IP>"
        "<HTTPPort>80</HTTPPort><UserName>admin</UserName><Password>pw</Password><VideoNumber>1</VideoNumber>"
        "<BrandCode>3</BrandCode><Model>BF-M40</Model><MACAddress>00-1C-5A-20-00-22</MACAddress><RtspPort>554"
        "</RtspPort><StartConfig>0</StartConfig><Video><FMT>mpeg4</FMT><Size>640x480</Size><FPS>4</FPS>"
        "<Quality>3</Quality><RateControl>0</RateControl><Bitrate>0</Bitrate><GOP>15</GOP><LensMode></LensMode>"
        "<LeftDisplayMode></LeftDisplayMode><RightDisplayMode></RightDisplayMode></Video><Audio><FMT></FMT>"
        "</Audio></Param></CMD>",
        "<CMD ID=\"40963\" />",
        "<CMD ID=\"32814\"><UserData>CONFIG_AP</UserData><Param><CH>8</CH><PresetList>"
        "<Preset Name=\"Roof\" PTZABS=\"1\" Pan=\"90\" Tilt=\"30\" Zoom=\"2\" Focus=\"50\">1</Preset>"
        "<Preset Name=\"Yard\" PTZABS=\"0\" Pan=\"\" Tilt=\"\" Zoom=\"\" Focus=\"\">2</Preset></PresetList></Param>"
        "</CMD>",
        "<CMD ID=\"32813\" />",
        // The user groups were saved by the removal, as on the page: the way out tells the
        // service again that settings were saved, as the desktop client's exit does.
        "<CMD ID=\"32813\" />",
    };
    EXPECT_EQ(changes(dir_ / "traffic.log"), expected);

    Json again = Json::parse(ctl(sim_.port()).out);
    EXPECT_EQ(again["strCH"].size(), 16u) << "one removed, one added";
    EXPECT_EQ(channel(again, 17)["Model"], "BF-M40");
    EXPECT_EQ(channel(again, 6)["Name"], "Door <C>");
    EXPECT_EQ(again["Presets"]["8"].size(), 2u);
    for (const Json& g : again["strUserGroup"])
        if (g["ID"] != 1)
            EXPECT_EQ(("," + g["Type0"].get<std::string>() + ",").find(",10,"), std::string::npos) << "rights go too";
    EXPECT_EQ(apply(doc).out.find("24581"), std::string::npos) << "applied once, the channels are the same";
}

TEST_F(CtlChannels, ATableTakesItsTextOrItsIndexAndTheSentPasswordIsPrintedMasked) {
    const auto r0 = apply(dump_);
    ASSERT_EQ(r0.exitCode, 0) << r0.err;
    EXPECT_NE(r0.out.find("nothing to apply"), std::string::npos) << "an unchanged dump, texts and masks included";

    Json doc = dump_;
    channel(doc, 6)["Bitrate"] = "512K";  // any case; channel 6 sends JPEG, whose combo shows no bit rates
    channel(doc, 3)["Bitrate"] = "512k";
    channel(doc, 3)["FPS"] = "15";
    auto r = apply(doc);
    EXPECT_EQ(r.exitCode, 4) << r.err;
    EXPECT_NE(r.err.find("strCH[5]: refused: Bitrate 4 is not offered"), std::string::npos) << r.err;

    channel(doc, 6)["Bitrate"] = "Full";
    r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("plan:\n  changes channel 3: FPS, Bitrate\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("<UserName>root</UserName><Password>********</Password>"), std::string::npos) << r.out;
    const auto sent = changes(dir_ / "traffic.log");
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent[0].find("<Password>********</Password>"), std::string::npos) << "the service gets the password";
    EXPECT_NE(sent[0].find("<FPS>4</FPS><Quality>-1</Quality><RateControl>1</RateControl><Bitrate>4</Bitrate>"),
              std::string::npos)
        << sent[0];

    // The index does what its text does; text no table holds is no document.
    channel(doc, 3)["Bitrate"] = 3;
    r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    Json again = Json::parse(ctl(sim_.port()).out);
    EXPECT_EQ(channel(again, 3)["Bitrate"], "256k");
    EXPECT_EQ(channel(again, 3)["FPS"], "15");
    channel(doc, 3)["Bitrate"] = "300k";
    r = apply(doc);
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("strCH[2].Bitrate: \"300k\" is no bit rate (Full, 64k, 128k"), std::string::npos) << r.err;
}

TEST_F(CtlChannels, RefusalsEndWithCodeFour) {
    struct Case {
        std::function<void(Json&)> edit;
        std::string message;
        bool sends;  // the service is asked and refuses
    };
    const std::vector<Case> cases = {
        {[](Json& d) { channel(d, 2)["FMT"] = "mpeg4"; }, "strCH[1]: refused: FMT mpeg4 is not offered (offered: jpeg, h264)",
         false},
        {[](Json& d) { channel(d, 4)["Model"] = "other"; }, "Model is what the camera reports", false},
        {[](Json& d) {
             d["strCH"].push_back({{"CH", 20}, {"Name", "X"}, {"IP", "192.168.20.90"}, {"UserName", "u"}});
         },
         "User Name or Password error !", false},
        {[](Json& d) {
             Json& p = d["Presets"]["3"];
             for (int id = 3; id <= 9; ++id) p.push_back({{"ID", id}, {"Name", "P" + std::to_string(id)}});
         },
         "eight presets at most", false},
        {[](Json& d) { channel(d, 2)["IP"] = "192.168.10.101"; },
         "the service refused the change: <RESPONSE RET=\"-1\" ID=\"24581\">", true},
    };
    for (const Case& c : cases) {
        Json doc = dump_;
        c.edit(doc);
        const auto r = apply(doc);
        EXPECT_EQ(r.exitCode, 4) << c.message << "\n" << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
    // Only the refusal of the service sent a change, and no apply notice followed it.
    std::vector<std::string> sent;
    for (const std::string& line : changes(dir_ / "traffic.log"))
        if (line.rfind("<CMD ID=\"8193\"", 0) != 0) sent.push_back(line.substr(0, 20));
    EXPECT_EQ(sent, (std::vector<std::string>{"<CMD ID=\"24581\"><Use", "<CMD ID=\"32813\" />"}));
}

}  // namespace
