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
    EXPECT_EQ(detected("192.168.20.26", 9).VideoNumber, 4) << "the encoder's last input";
    EXPECT_EQ(detected("192.168.20.28").Mode4FishEye, "quad");
}

TEST(SimCameras, SearchFindsFreeCamerasAndTheChannelsOwnAsTheClientReadsThem) {
    channels::SearchCamList found;
    ASSERT_TRUE(channels::Load_SearchCAMList_XML(
        "<RESPONSE RET=\"0\" ID=\"8194\">" + seed::searchReplyBody() + "</RESPONSE>", found));
    std::set<std::string> where;
    for (const auto& d : found) where.insert(d.IP + ":" + std::to_string(d.HTTPPort));
    EXPECT_TRUE(where.contains("192.168.20.21:80")) << "a camera on no channel";
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

}  // namespace
}  // namespace kv::sim
