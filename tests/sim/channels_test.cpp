// The reference service's channels: detection and search by address, status over time, channel
// writes (a removal clears the slot alone), moves and presets, read with the client's readers.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "base/text.h"
#include "channels/codec.h"
#include "channels/ptz_codec.h"
#include "channels/video_params.h"
#include "sim/seed.h"
#include "sim/seed_channels.h"
#include "sim/service.h"
#include "tests/base/test_util.h"
#include "users/codec.h"

namespace kv::sim {
namespace {

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

// A camera as a person types it on the channel page: address, port and account.
struct Camera {
    const char* ip;
    int port;
    const char* user;
    const char* password;
};
constexpr Camera kBullet21{"192.168.20.21", 80, "admin", "cv-2100"};
constexpr Camera kDome23{"192.168.20.23", 8081, "service", "hx-d1"};
constexpr Camera kEncoder26{"192.168.20.26", 8000, "admin", "qn-8e"};

channels::ChannelRecord detected(const Camera& c, int video = 1) {
    const seed::Detection d = seed::detectCamera(c.ip, c.port, c.user, c.password, video);
    EXPECT_EQ(d.ret, 0) << c.ip;
    channels::ChannelRecord r;
    channels::Load_ChannelDetectInfo_XML(
        "<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"0\">" + d.body + "</RESPONSE>", r);
    return r;
}

TEST(SimCameras, DetectionAnswersByAddressPortAndAccount) {
    struct Row {
        Camera camera;
        int ret;
    };
    const Row rows[] = {
        {kBullet21, 0},                                               // a free camera with its account
        {{"192.168.20.21", 80, "admin", "cv-2101"}, -6},              // a wrong password
        {{"192.168.20.21", 80, "Admin", "cv-2100"}, -6},              // the camera compares names exactly
        {{"192.168.20.21", 8080, "admin", "cv-2100"}, -5},            // nothing answers on another port
        {kDome23, 0},                                                 // a camera on its own port
        {{"192.168.20.23", 80, "service", "hx-d1"}, -5},              // ... and not on the usual one
        {{"192.168.10.101", 8080, "admin", "second-svc"}, 0},         // a second device at a channel's address
        {{"192.168.10.101", 8080, "admin", "cam-1234"}, -6},          // ... with its own account
        {{"192.168.20.90", 80, "u", "p"}, -6},                        // an account no demo knows
        {{"192.168.20.92", 80, "admin", "admin"}, -3},                // a device the service cannot drive
        {{"192.168.20.92", 80, "x", "y"}, -3},                        // ... whatever the account
        {{"10.1.2.3", 80, "admin", "admin"}, -5},                     // an address where nothing answers
    };
    for (const Row& r : rows)
        EXPECT_EQ(seed::detectCamera(r.camera.ip, r.camera.port, r.camera.user, r.camera.password, 1).ret, r.ret)
            << r.camera.ip << ":" << r.camera.port << " " << r.camera.user << "/" << r.camera.password;

    // What the client reads out of the synthetic cameras' replies.
    const channels::ChannelRecord bullet = detected(kBullet21);
    EXPECT_EQ(bullet.FMTItem, (std::array<std::string, 3>{"jpeg", "h264", ""}));
    EXPECT_TRUE(channels::HasDualStreamFormat(bullet.SupportFMT));
    EXPECT_EQ(bullet.CurFMT[1], "jpeg") << "a second stream for a dual-stream camera";
    EXPECT_EQ(bullet.UserName, "admin");
    EXPECT_EQ(detected(kEncoder26, 9).VideoNumber, 4) << "the encoder's last input";
    EXPECT_EQ(detected({"192.168.20.28", 8090, "admin", "pl-quad"}).Mode4FishEye, "quad");
}

// Every stored channel of the demo and of the full configuration is a camera that takes the
// channel's own port and account, so that detecting it from the page works.
TEST(SimCameras, StoredChannelsCarryThePortAndAccountOfTheirCamera) {
    for (const auto& docs : {demoDocuments(), fullDocuments()}) {
        channels::ChannelTable t{};
        for (const auto& [key, body] : docs)
            if (key == "24582")
                channels::Load_ChannelDetailInfo_XML("<RESPONSE RET=\"0\" ID=\"24582\" RetCode=\"0\">" + body +
                                                         "</RESPONSE>",
                                                     t);
        int configured = 0;
        for (const channels::ChannelRecord& r : t) {
            if (!r.configured()) continue;
            ++configured;
            EXPECT_EQ(seed::detectCamera(r.IP, r.HTTPPort, r.UserName, r.Password, r.VideoNumber).ret, 0)
                << "channel " << r.CH << " at " << r.IP << ":" << r.HTTPPort;
        }
        EXPECT_GE(configured, 16);
    }
}

TEST(SimCameras, SearchFindsFreeCamerasAndTheChannelsOwnAsTheClientReadsThem) {
    channels::SearchCamList found;
    ASSERT_TRUE(channels::Load_SearchCAMList_XML(
        "<RESPONSE RET=\"0\" ID=\"8194\">" + seed::searchReplyBody() + "</RESPONSE>", found));
    std::set<std::string> where;
    for (const auto& d : found) where.insert(d.IP + ":" + std::to_string(d.HTTPPort));
    EXPECT_TRUE(where.contains("192.168.20.21:80")) << "a camera on no channel";
    EXPECT_TRUE(where.contains("192.168.20.23:8081")) << "with the port it answers on";
    for (const auto& d : found)
        EXPECT_NE(seed::detectCamera(d.IP, d.HTTPPort, "", "", 1).ret, -5) << d.IP << " answers where it was found";
    EXPECT_TRUE(where.contains("192.168.10.101:80")) << "channel 1's camera, which the client leaves out";
    EXPECT_TRUE(where.contains("192.168.10.101:8080")) << "the same address on another port";
    EXPECT_EQ(where.size(), found.size()) << "no camera twice";
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

std::string addCommand(int ch, const std::string& name, const Camera& c, int video = 1) {
    channels::ChannelRecord r = detected(c, video);
    r.CH = static_cast<int16_t>(ch);
    r.Name = name;
    r.IP = c.ip;
    r.HTTPPort = c.port;
    return channels::Get_Channel_ADD_XML(r);
}

TEST(SimChannelWrites, AddChangeAndTheRefusals) {
    DocStore d;
    ASSERT_TRUE(d.write(24581, param(addCommand(17, "Dock", kDome23))));
    channels::ChannelTable t = d.channels();
    EXPECT_EQ(t[16].Name, "Dock");
    EXPECT_EQ(t[16].HTTPPort, 8081);
    EXPECT_EQ(t[16].SizeList_JPEG, "720x480||D1,352x240||CIF") << "capabilities of the camera at that address";
    EXPECT_NE(d.docs.at("24578").find("<CH ID=\"17\"><Connected>1</Connected>"), std::string::npos);

    std::string renamed = addCommand(17, "Dock 2", kDome23);
    ASSERT_TRUE(d.write(24581, param(renamed)));
    EXPECT_EQ(d.channels()[16].Name, "Dock 2");

    struct Refused {
        std::string body;
        const char* why;
    };
    std::string wrongPassword = renamed;
    wrongPassword.replace(wrongPassword.find("<Password>hx-d1</Password>"), 26, "<Password>guess</Password>");
    std::string unsupported = addCommand(20, "Bell", kBullet21);
    unsupported.replace(unsupported.find("192.168.20.21"), 13, "192.168.20.92");
    const Refused refused[] = {
        {addCommand(18, "Twin", kDome23), "a camera already in use"},
        {wrongPassword, "an account the camera refuses, even for the channel it is"},
        {unsupported, "a device the service cannot drive"},
        {addCommand(65, "x", kBullet21), "no channel 65"},
        {"<CMD><Param><CH>20</CH><Name>x</Name><IP></IP></Param></CMD>", "no address"},
    };
    for (const Refused& r : refused) EXPECT_FALSE(d.write(24581, param(r.body))) << r.why;
    EXPECT_EQ(d.channels()[16].Password, "hx-d1");

    EXPECT_TRUE(d.write(24581, param(addCommand(18, "Input 2", kEncoder26, 2))));
    EXPECT_TRUE(d.write(24581, param(addCommand(19, "Input 3", kEncoder26, 3)))) << "another input";
    // A camera that does not answer may still be configured: it is off line.
    std::string offline = addCommand(21, "Later", kBullet21);
    offline.replace(offline.find("192.168.20.21"), 13, "192.168.30.21");
    EXPECT_TRUE(d.write(24581, param(offline)));
    EXPECT_NE(d.docs.at("24578").find("<CH ID=\"21\"><Connected>0</Connected>"), std::string::npos);
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

// A channel's settings take effect when the session that wrote them sends 40963; a removal at once.
TEST(SimChannelSessions, SettingsWaitForTheirSessionsApplyNotice) {
    test::TempDir dir;
    auto store = SimStore::open(dir / "sim.db", false);
    ASSERT_TRUE(store);
    ASSERT_TRUE(store.value()->putAll(demoDocuments()));
    asio::io_context io;
    SimService service(io, *store.value(), ServiceOptions{dir.path()});
    const link::PeerInfo a{1, "127.0.0.1", true, "admin", "a"}, b{2, "127.0.0.1", true, "admin", "b"};
    const auto send = [&](const link::PeerInfo& who, const std::string& xml) {
        const std::string answer = service.onCommand(who, xml);
        return answer.substr(0, answer.find('>') + 1);
    };
    const auto stored = [&](int ch) { return seed::channelEntry(store.value()->get("24582"), ch).has_value(); };
    const std::string ok24581 = "<RESPONSE RET=\"0\" ID=\"24581\">", ok40963 = "<RESPONSE RET=\"0\" ID=\"40963\">";
    const std::string apply = "<CMD ID=\"40963\" />";

    EXPECT_EQ(send(a, addCommand(17, "Dock", kDome23)), ok24581);
    EXPECT_FALSE(stored(17)) << "written, not applied";
    EXPECT_EQ(send(b, apply), ok40963);
    EXPECT_FALSE(stored(17)) << "another session's notice applies nothing of this one";
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_TRUE(stored(17));

    // Refused at once when the settings cannot be applied, and nothing waits then.
    EXPECT_EQ(send(a, addCommand(18, "Twin", kDome23)), "<RESPONSE RET=\"-1\" ID=\"24581\">");
    // Two channels of one session check against each other before either is applied.
    EXPECT_EQ(send(a, addCommand(18, "Input 2", kEncoder26, 2)), ok24581);
    EXPECT_EQ(send(a, addCommand(19, "Input 2 again", kEncoder26, 2)), "<RESPONSE RET=\"-1\" ID=\"24581\">");
    // A removal takes effect without a notice and drops what the session wrote for that channel.
    EXPECT_EQ(send(a, "<CMD ID=\"24581\"><Param><CH>17</CH></Param></CMD>"), ok24581);
    EXPECT_FALSE(stored(17));
    EXPECT_EQ(send(a, addCommand(17, "Dock again", kDome23)), ok24581);
    EXPECT_EQ(send(a, "<CMD ID=\"24581\"><Param><CH>17</CH></Param></CMD>"), ok24581);
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_FALSE(stored(17)) << "the removal came last";
    EXPECT_TRUE(stored(18));

    // Another session took the camera meanwhile: the notice is refused and applies nothing.
    EXPECT_EQ(send(a, addCommand(20, "Mine", kBullet21)), ok24581);
    EXPECT_EQ(send(b, addCommand(21, "Yours", kBullet21)), ok24581);
    EXPECT_EQ(send(b, apply), ok40963);
    EXPECT_EQ(send(a, apply), "<RESPONSE RET=\"-1\" ID=\"40963\">");
    EXPECT_FALSE(stored(20));
    EXPECT_TRUE(stored(21));
    // Nothing stays held: a later notice applies nothing; written again once the camera is free,
    // the channel takes effect.
    EXPECT_EQ(send(b, "<CMD ID=\"24581\"><Param><CH>21</CH></Param></CMD>"), ok24581);
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_FALSE(stored(20));
    EXPECT_EQ(send(a, addCommand(20, "Mine", kBullet21)), ok24581);
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_TRUE(stored(20));
    // A second write of a channel replaces the first rather than checking against it.
    EXPECT_EQ(send(a, addCommand(23, "First", kDome23)), ok24581);
    EXPECT_EQ(send(a, addCommand(23, "Second", kDome23)), ok24581);
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_NE(seed::channelEntry(store.value()->get("24582"), 23)->find("Second"), std::string::npos);

    // What a session never applied ends with it.
    EXPECT_EQ(send(a, "<CMD ID=\"24581\"><Param><CH>23</CH></Param></CMD>"), ok24581);
    EXPECT_EQ(send(a, addCommand(22, "Left", kDome23)), ok24581);
    service.sessionClosed(a);
    EXPECT_EQ(send(a, apply), ok40963);
    EXPECT_FALSE(stored(22));
}

}  // namespace
}  // namespace kv::sim
