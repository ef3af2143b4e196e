// The reference service's channels: detection by address, status over time, channel writes (a
// removal clears the slot alone), moves and presets; then the client's search and PTZ panel against
// kelvarra-sim as its own process, with the commands it logged.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "session/session.h"
#include "base/lang.h"
#include "base/log.h"
#include "base/text.h"
#include "channels/channel_page.h"
#include "channels/codec.h"
#include "channels/ptz_codec.h"
#include "channels/ptz_panel.h"
#include "channels/search.h"
#include "link/tcp_link.h"
#include "sim/seed.h"
#include "sim/seed_channels.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"
#include "tests/channels/fake_service.h"
#include "tests/support/sim_process.h"
#include "users/codec.h"

namespace kv::sim {
namespace {

using namespace std::chrono_literals;

// The demo documents as a store the writes are applied to.
struct DocStore {
    std::map<std::string, std::string> docs;
    DocStore() {
        for (auto& [k, v] : demoDocuments()) docs[k] = v;
    }
    DocumentLookup lookup() const {
        return [this](const std::string& key) -> std::optional<std::string> {
            const auto it = docs.find(key);
            return it == docs.end() ? std::nullopt : std::optional(it->second);
        };
    }
    /// Applies a write; false when the service refuses it.
    bool write(int id, const std::string& param) {
        const SimStore::Documents changed = documentsFromWrite(id, param, lookup());
        for (const auto& [k, v] : changed) docs[k] = v;
        return !changed.empty();
    }
    channels::ChannelTable channels() const {
        channels::ChannelTable t{};
        channels::Load_ChannelDetailInfo_XML(
            "<RESPONSE RET=\"0\" ID=\"24582\" RetCode=\"0\">" + docs.at("24582") + "</RESPONSE>", t);
        return t;
    }
};

std::string param(const std::string& command) {
    const size_t open = command.find("<Param>") + 7;
    return command.substr(open, command.rfind("</Param>") - open);
}

channels::ChannelRecord detected(const std::string& ip, int video = 1) {
    const seed::Detection d = seed::detectCamera(ip, "admin", "secret", video);
    channels::ChannelRecord r;
    channels::Load_ChannelDetectInfo_XML(
        "<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"0\">" + d.body + "</RESPONSE>", r);
    return r;
}

TEST(SimCameras, DetectionAnswersByAddress) {
    struct Row {
        const char* ip;
        int ret;
    };
    for (const Row& r : {Row{"192.168.20.21", 0}, Row{"192.168.10.103", 0}, Row{"192.168.20.90", -6},
                         Row{"192.168.20.91", -5}, Row{"192.168.20.92", -3}, Row{"10.1.2.3", -5}})
        EXPECT_EQ(seed::detectCamera(r.ip, "u", "p", 1).ret, r.ret) << r.ip;

    // What the client reads out of the synthetic cameras' replies.
    const channels::ChannelRecord bullet = detected("192.168.20.21");
    EXPECT_EQ(bullet.FMTItem, (std::array<std::string, 3>{"jpeg", "h264", ""}));
    EXPECT_TRUE(channels::HasDualStreamFormat(bullet.SupportFMT));
    EXPECT_EQ(bullet.CurFMT[1], "jpeg") << "a second stream for a dual-stream camera";
    EXPECT_EQ(bullet.UserName, "admin");
    EXPECT_EQ(detected("192.168.20.22").BrandCode, 3);
    EXPECT_EQ(detected("192.168.20.23").SizeList_JPEG, "720x480||D1,352x240||CIF");
    const channels::ChannelRecord lens = detected("192.168.20.24");
    EXPECT_EQ(lens.BrandCode, 20);
    EXPECT_EQ(lens.LensModeList, "left,right,both,auto");
    EXPECT_EQ(detected("192.168.20.26", 9).VideoNumber, 4) << "the encoder's last input";
    EXPECT_EQ(detected("192.168.20.28").Mode4FishEye, "quad");
}

TEST(SimCameras, StatusChangesOverTime) {
    const DocStore d;
    std::set<std::string> seen;
    for (int64_t t = 0; t < 120; t += 20) {
        channels::ChannelTable table = d.channels();
        channels::GetChannelStatus("<RESPONSE RET=\"0\" ID=\"24578\">" + seed::statusAt(d.docs.at("24578"), t) +
                                       "</RESPONSE>",
                                   table, 64);
        seen.insert(std::to_string(table[0].Connected) + std::to_string(table[0].InRecord));
        EXPECT_EQ(table[9].Connected, 0) << "channel 10 is never connected";
    }
    EXPECT_EQ(seen, (std::set<std::string>{"00", "10", "11"})) << "offline, not recording, recording";
}

std::string addCommand(int ch, const std::string& name, const std::string& ip, int video = 1) {
    channels::ChannelRecord r = detected(ip, video);
    r.CH = static_cast<int16_t>(ch);
    r.Name = name;
    r.IP = ip;
    r.HTTPPort = 80;
    return channels::Get_Channel_ADD_XML(r);
}

TEST(SimChannelWrites, AddChangeAndTheRefusals) {
    DocStore d;
    ASSERT_TRUE(d.write(24581, param(addCommand(17, "Dock", "192.168.20.23"))));
    channels::ChannelTable t = d.channels();
    EXPECT_EQ(t[16].Name, "Dock");
    EXPECT_EQ(t[16].SizeList_JPEG, "720x480||D1,352x240||CIF") << "capabilities of the camera at that address";
    EXPECT_NE(d.docs.at("24578").find("<CH ID=\"17\">"), std::string::npos);

    std::string renamed = addCommand(17, "Dock 2", "192.168.20.23");
    ASSERT_TRUE(d.write(24581, param(renamed)));
    EXPECT_EQ(d.channels()[16].Name, "Dock 2");

    EXPECT_FALSE(d.write(24581, param(addCommand(18, "Twin", "192.168.20.23")))) << "a camera already in use";
    EXPECT_TRUE(d.write(24581, param(addCommand(18, "Input 2", "192.168.20.26", 2))));
    EXPECT_TRUE(d.write(24581, param(addCommand(19, "Input 3", "192.168.20.26", 3)))) << "another input";
    EXPECT_FALSE(d.write(24581, param(addCommand(65, "x", "192.168.20.21"))));
    EXPECT_FALSE(d.write(24581, "<CH>20</CH><Name>x</Name><IP></IP>"));
    EXPECT_TRUE(d.write(24581, "<CH>40</CH>")) << "removing a free channel changes nothing and is no error";
}

// The client cleans up and saves each list after a removal: the service clears the slot alone.
TEST(SimChannelWrites, ARemovalClearsTheSlotAndNothingElse) {
    DocStore d;
    const DocStore before;
    ASSERT_NE(d.docs.at("32796").find("CH=\"3\""), std::string::npos);
    ASSERT_NE(d.docs.at("32777").find("CH=\"3\""), std::string::npos);
    ASSERT_NE(d.docs.at("4098.0").find("ID=\"3\""), std::string::npos);
    ASSERT_TRUE(d.write(24581, "<CH>3</CH>"));
    EXPECT_FALSE(d.channels()[2].configured());
    EXPECT_TRUE(d.channels()[3].configured()) << "the next channel stays";
    EXPECT_EQ(d.docs.at("24578").find("<CH ID=\"3\">"), std::string::npos) << "the slot's status goes with it";
    for (const auto& [key, body] : before.docs) {
        if (key == "24582" || key == "24578") continue;
        // Regions, lines, event actions, map nodes, every group's rights (the admin group's
        // whole), presets and positions are as stored.
        EXPECT_EQ(d.docs.at(key), body) << key;
    }
    users::UserGroupList rights;
    users::Load_UserGroup_XML("<RESPONSE RET=\"0\" ID=\"32803\">" + d.docs.at("32803") + "</RESPONSE>", rights);
    EXPECT_TRUE(base::CalCHList(rights[0].Type0)[2]) << "the admin group never gets a hole";
}

TEST(SimChannelWrites, MovesPresetsAndFisheyeMode) {
    DocStore d;
    const auto position = [&] { return d.docs.count(seed::positionKey(3)) ? d.docs.at(seed::positionKey(3)) : ""; };
    ASSERT_TRUE(d.write(12289, param(channels::Get_PTZ_XML(12289, 3, 0, 2, 5))));  // right
    ASSERT_TRUE(d.write(12289, param(channels::Get_PTZ_XML(12289, 3, 0, 5, 2))));  // left and up
    ASSERT_TRUE(d.write(12290, param(channels::Get_PTZ_XML(12290, 3, 0, 1, 4))));  // zoom in
    EXPECT_EQ(position(), "<Pan>3</Pan><Tilt>2</Tilt><Zoom>5</Zoom><Focus>50</Focus><Iris>50</Iris>");
    EXPECT_FALSE(d.write(12289, param(channels::Get_PTZ_XML(12289, 1, 0, 2, 5)))) << "channel 1 has no PTZ";

    ASSERT_TRUE(d.write(12298, param(channels::Get_StorePreset_XML("p", 3, 5, "Here"))));
    channels::PresetList presets;
    ASSERT_TRUE(channels::Load_Preset_XML("<RESPONSE RET=\"0\" ID=\"4101\">" + d.docs.at(seed::presetKey(3)) +
                                              "</RESPONSE>",
                                          presets));
    ASSERT_EQ(presets.size(), 3u);
    EXPECT_EQ(presets[2].Name, "Here");
    EXPECT_EQ(presets[2].Pan, "3");
    ASSERT_TRUE(d.write(12294, param(channels::Get_GotoPreset_XML("p", 3, 2, 1))));
    EXPECT_EQ(position(), "<Pan>200</Pan><Tilt>-20</Tilt><Zoom>4</Zoom><Focus>50</Focus><Iris>50</Iris>");
    EXPECT_FALSE(d.write(12294, param(channels::Get_GotoPreset_XML("p", 3, 9, 1)))) << "no preset 9";

    presets.resize(1);
    ASSERT_TRUE(d.write(32814, param(channels::Set_PresetList_XML(3, presets))));
    EXPECT_EQ(d.docs.at(seed::presetKey(3)),
              "<PresetList><Preset Name=\"Gate\" PTZABS=\"1\" Pan=\"40\" Tilt=\"10\" Zoom=\"1\" Focus=\"50\">1"
              "</Preset></PresetList>");

    ASSERT_TRUE(d.write(12303, param(channels::Set_FisheyeMode_XML(12, "quad"))));
    EXPECT_EQ(d.channels()[11].Mode4FishEye, "quad");
}

// A client session logged in to kelvarra-sim through the real link.
struct Client : session::LoginHost {
    session::QueueExecutor executor;
    link::TcpLink link{executor};
    test::RecordingPrompter prompter;
    base::Log log{"sim_channels_test"};
    bool entered = false;
    session::Session session{link, prompter, test::English(), log, *this, "test"};

    void enterConfiguration(int32_t) override { entered = true; }

    bool login(int port) {
        session::LoginController& l = session.login;
        l.cmdLine.bCmdLogin = true;
        l.cmdLine.sCmdIP = "127.0.0.1";
        l.cmdLine.iCmdPort = port;
        l.cmdLine.sCmdUser = "admin";
        l.cmdLine.sCmdPass = "admin";
        l.bClickLogin = false;
        l.imgLoginBtn_Click(0);
        // Entered, and every answer of the initial load arrived.
        return runUntil([&] { return entered; }) &&
               runUntil([&] { return session.responsesRouted() >= session::Session::kInitialAsyncReads; });
    }
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 10s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        auto tick = std::chrono::steady_clock::now() + 1s;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            executor.drain(20);
            if (std::chrono::steady_clock::now() > tick) {
                session.login.Timer1000();
                tick += 1s;
            }
        }
        return true;
    }
    ~Client() override {
        session.dispatcher.bAppEnding = true;
        link.Logout(session.login.hLogin);
    }
};

std::vector<std::string> trafficSince(const std::filesystem::path& file, size_t from) {
    const auto lines = test::readLines(file);
    std::vector<std::string> out;
    for (size_t n = from; n < lines.size(); ++n) out.push_back(unescapeTrafficLine(lines[n]));
    return out;
}

class SimChannelsEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        sim_ = std::make_unique<test::SimProcess>(
            KV_SIM_PROGRAM, dir_ / "data",
            std::vector<std::string>{"--discovery-port", "0", "--traffic-log", traffic().string()});
        ASSERT_TRUE(sim_->ok());
        ASSERT_TRUE(client_.login(sim_->port()));
        mark_ = trafficSince(traffic(), 0).size();
    }
    std::filesystem::path traffic() const { return dir_ / "traffic.log"; }
    /// The commands logged since the last call.
    std::vector<std::string> sent() {
        auto lines = trafficSince(traffic(), mark_);
        mark_ += lines.size();
        return lines;
    }
    test::TempDir dir_;
    std::unique_ptr<test::SimProcess> sim_;
    Client client_;
    size_t mark_ = 0;
    test::FixedClock clock_;
    test::RecordingHost host_;
};

TEST_F(SimChannelsEndToEnd, SearchTakesOverACameraAndPtzSteersAndKeepsPresets) {
    session::Config& config = client_.session.config;
    channels::ChannelPage page(config, client_.link, client_.prompter, test::English(), clock_, host_, "test");
    channels::FormSearch search(config, client_.session.dispatcher, client_.link, test::English());
    search.StartSearch();
    ASSERT_TRUE(client_.runUntil([&] { return client_.session.dispatcher.bSearchDone; }));
    search.onTick();
    std::vector<std::string> found;
    for (size_t i = 1; i < search.CameraList.size(); ++i) found.push_back(search.CameraList[i][0] + ":" + search.CameraList[i][3]);
    EXPECT_EQ(found.size(), 9u) << "eight cameras of the network and a channel's address on another port";
    EXPECT_NE(std::find(found.begin(), found.end(), "192.168.10.101:8080"), found.end());
    EXPECT_EQ(std::find(found.begin(), found.end(), "192.168.10.101:80"), found.end()) << "channel 1 is in use";
    ASSERT_TRUE(search.CameraList_DblClick(1, page));
    EXPECT_EQ(page.iSelCH, 17);
    EXPECT_EQ(page.txtNetwork[channels::kNetIP].text, "192.168.20.21");
    page.cmdComit_Click(channels::kCommitCancel);

    channels::PtzPanel ptz(config, client_.link, client_.prompter, test::English(), "test");
    ptz.Refresh();
    ASSERT_EQ(ptz.cmdPtesetCH.items, (std::vector<std::string>{"Parking North [3]", "Roof PTZ [8]"}));
    ASSERT_TRUE(ptz.cmdPtesetCH_Click(0));
    EXPECT_EQ(ptz.gridPresetList.size(), 2u);
    sent();
    ASSERT_TRUE(ptz.cmdPTZ_Click(4));  // right, at the first speed
    ASSERT_TRUE(ptz.cmdPTZ_Click(1));  // up
    EXPECT_EQ(sent(), (std::vector<std::string>{
                          "<CMD ID=\"12289\"><Param><CH>3</CH><Target>0</Target><Direction>2</Direction>"
                          "<Speed>1</Speed></Param></CMD>",
                          "<CMD ID=\"12289\"><Param><CH>3</CH><Target>0</Target><Direction>3</Direction>"
                          "<Speed>1</Speed></Param></CMD>"}));
    channels::PresetRecord here;
    ASSERT_TRUE(channels::Load_PTZABS_Pos_XML(
        client_.link.SendCommand(0, true, channels::Get_PTZABS_Pos_XML(channels::kPtzUserData, 3)), here));
    EXPECT_EQ(here.Pan + "/" + here.Tilt, "1/1") << "the position follows the moves";

    ptz.txtPreset_Change("Entrance");
    ASSERT_TRUE(ptz.cmdPreset_Click(channels::kPresetNew));
    ASSERT_TRUE(ptz.SaveSetting());
    ASSERT_TRUE(ptz.cmdPtesetCH_Click(1));
    ASSERT_TRUE(ptz.cmdPtesetCH_Click(0));
    ASSERT_EQ(ptz.gridPresetList.size(), 3u) << "presets are kept per channel";
    EXPECT_EQ(ptz.gridPresetList[2][1], "Entrance");
}

}  // namespace
}  // namespace kv::sim
