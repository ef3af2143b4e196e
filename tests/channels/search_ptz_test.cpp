// The camera search dialog and the PTZ panel: cameras in use left out, the hand-over, the button
// table, the channel choice with presets and fisheye mode, and the preset buttons with their limit.
#include <gtest/gtest.h>

#include "channels/channel_page.h"
#include "channels/ptz_codec.h"
#include "channels/ptz_panel.h"
#include "channels/search.h"
#include "tests/channels/recording_host.h"

namespace kv::channels {
namespace {

SearchCamRecord cam(const char* ip, int32_t port, const char* manufacturer = "") {
    SearchCamRecord c;
    c.IP = ip;
    c.HTTPPort = port;
    c.Manufacturer = manufacturer;
    return c;
}

struct SearchTest : ::testing::Test {
    ChannelTables config;
    app::Dispatcher dispatcher;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    test::FixedClock clock;
    test::RecordingHost host;
    FormSearch form{config, dispatcher, link, test::English()};

    void SetUp() override {
        config.iMaxChannel = 16;
        config.strCH[0].IP = "10.0.0.1";
        config.strCH[0].HTTPPort = 80;
        config.strSearchCam = {cam("10.0.0.1", 80), cam("10.0.0.1", 8080, "Corvid"), cam("10.0.0.7", 80), {}};
    }
};

TEST_F(SearchTest, CamerasInUseAreLeftOut) {
    form.CheckSet();
    ASSERT_EQ(form.CameraList.size(), 3u);
    EXPECT_EQ(form.CameraList[0], (std::array<std::string, 5>{"IP Address", "Brand", "Model", "Port", "MAC"}));
    EXPECT_EQ(form.CameraList[1][0], "10.0.0.1") << "the channel's address with another port stays";
    EXPECT_EQ(form.CameraList[1][3], "8080");
    EXPECT_EQ(form.CameraList[2][0], "10.0.0.7");

    config.strSearchCam = {cam("10.0.0.1", 80)};
    form.CheckSet();
    EXPECT_EQ(form.CameraList.size(), 1u) << "only known cameras: the title row alone";
    // The hardware address: a channel's camera found at another address is not offered again;
    // no address, or the zero address, says nothing.
    config.strCH[0].MACAddress = "00-1c-5a-10-00-01";
    config.strSearchCam = {cam("10.0.0.9", 80), cam("10.0.0.8", 80), cam("10.0.0.6", 80)};
    config.strSearchCam[0].MACAddress = "00-1C-5A-10-00-01";
    config.strSearchCam[2].MACAddress = "00-00-00-00-00-00";
    config.strCH[1].IP = "10.0.0.2", config.strCH[1].MACAddress = "00-00-00-00-00-00";
    form.CheckSet();
    ASSERT_EQ(form.CameraList.size(), 3u);
    EXPECT_EQ(form.CameraList[1][0], "10.0.0.8");
    EXPECT_EQ(form.CameraList[2][0], "10.0.0.6");
}

TEST_F(SearchTest, TheSearchWaitsForItsAnswerThenListsIt) {
    form.StartSearch();
    EXPECT_EQ(link.sent, std::vector<std::string>{"<CMD ID=\"8194\" />"});
    form.onTick();
    EXPECT_TRUE(form.searching);
    dispatcher.bSearchDone = true;  // the dispatcher's follow-up of 8194
    form.onTick();
    EXPECT_FALSE(form.searching);
    EXPECT_EQ(form.CameraList.size(), 3u);

    form.CmdResearch_Click();
    EXPECT_EQ(form.CameraList.size(), 1u);
    for (int i = 0; i < kSearchTickLimit; ++i) form.onTick();
    EXPECT_FALSE(form.searching) << "no answer: the wait ends with an empty list";
    EXPECT_EQ(form.CameraList.size(), 1u);
}

TEST_F(SearchTest, ADoubleClickHandsTheCameraToTheChannelPage) {
    ChannelPage page{config, link, prompter, test::English(), clock, host, "Config"};
    form.CheckSet();
    EXPECT_FALSE(form.CameraList_DblClick(0, page)) << "the title row";
    ASSERT_TRUE(form.CameraList_DblClick(1, page));
    EXPECT_TRUE(form.closed);
    EXPECT_EQ(page.iSelCH, 2) << "the first free channel";
    EXPECT_EQ(page.txtNetwork[kNetIP].text, "10.0.0.1");
    EXPECT_EQ(page.txtNetwork[kNetHTTPPort].text, "8080");
    EXPECT_EQ(page.CmbBrand.text(), "Corvid");
    EXPECT_TRUE(page.dirty());
}

struct PtzTest : ::testing::Test {
    ChannelTables config;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    PtzPanel panel{config, link, prompter, test::English(), "Config"};
    bool dirty = false;

    void SetUp() override {
        ChannelRecord& r = config.strCH[2];
        r.CH = 3;
        r.IP = "10.0.0.3";
        r.Name = "Dome";
        r.PTZEnable = true;
        r.SpeedLower = 1, r.SpeedUpper = 4, r.SpeedStep = 1;
        r.Move = 4;
        r.Zoom = 1;
        config.strCH[3] = r;
        config.strCH[3].CH = 4;
        config.strCH[3].PTZEnable = false;
        link.replies[4101] = "<RESPONSE RET=\"0\" ID=\"4101\"><UserData>Form_Config_Main</UserData><PresetList>"
                             "<Preset Name=\"Gate\" PTZABS=\"0\">1</Preset><Preset Name=\"Yard\" PTZABS=\"0\">2"
                             "</Preset></PresetList></RESPONSE>";
        panel.onDirtyChanged = [this](bool d) { dirty = d; };
        panel.Refresh();
    }
};

TEST_F(PtzTest, ChoosingAChannelReadsItsPresetsAndSpeeds) {
    ASSERT_EQ(panel.cmdPtesetCH.items, std::vector<std::string>{"Dome [3]"}) << "PTZ channels only";
    ASSERT_TRUE(panel.cmdPtesetCH_Click(0));
    EXPECT_EQ(panel.channel(), 3);
    EXPECT_EQ(link.sent, std::vector<std::string>{Get_Preset_XML(kPtzUserData, 3)});
    EXPECT_EQ(panel.gridPresetList.size(), 2u);
    EXPECT_EQ(panel.cmbPtzSpeed.items, (std::vector<std::string>{"1", "2", "3", "4"}));
    EXPECT_TRUE(panel.cmbPtzSpeed.enabled);

    config.strCH[2].SpeedUpper = 1;
    link.replies[4101] = "<RESPONSE RET=\"-1\" ID=\"4101\">ERROR</RESPONSE>";
    panel.cmdPtesetCH_Click(0);
    EXPECT_FALSE(panel.cmbPtzSpeed.enabled) << "equal bounds: the speed can't be changed";
    EXPECT_TRUE(panel.gridPresetList.empty()) << "ERROR leaves the list empty";
}

TEST_F(PtzTest, ButtonsFollowTheCapabilitiesAndSendTheirRowOfTheTable) {
    panel.cmdPtesetCH_Click(0);
    // Move 4: straight moves only; zoom but no focus or iris.
    const std::array<bool, kPtzButtons> expected = {false, true,  false, true,  true,  false, true,  false, true,
                                                    true,  true,  true,  false, false, false, false, false, false};
    EXPECT_EQ(panel.cmdPTZ, expected);
    link.sent.clear();
    panel.cmbPtzSpeed_Click(2);
    EXPECT_TRUE(panel.cmdPTZ_Click(1));
    EXPECT_TRUE(panel.mnu_Click(mnu_Left));
    EXPECT_TRUE(panel.cmdPTZ_Click(10));
    EXPECT_FALSE(panel.cmdPTZ_Click(0)) << "a diagonal needs bit 8";
    EXPECT_EQ(link.sent, (std::vector<std::string>{Get_PTZ_XML(12289, 3, 0, 3, 3), Get_PTZ_XML(12289, 3, 0, 1, 3),
                                                   Get_PTZ_XML(12290, 3, 0, 0, 3)}));
    config.strCH[2].Move = 8;
    config.strCH[2].AutoPan = 1;
    panel.UpadtePTZButtonDisplay();
    EXPECT_TRUE(panel.cmdPTZ[0] && panel.cmdPTZ[1] && panel.cmdPTZ[17]);
    link.sent.clear();
    EXPECT_FALSE(panel.cmdPTZ_Click(17));
    EXPECT_TRUE(link.sent.empty()) << "button 17 has no direction and sends nothing";
    EXPECT_EQ(PtzMoveOf(7).direction, 8);
    EXPECT_EQ(PtzMoveOf(16).id, 12292);
}

TEST_F(PtzTest, ThePopUpMenuSendsTheMovesOfThePad) {
    EXPECT_FALSE(panel.mnuOffered()) << "no channel chosen: no menu";
    EXPECT_FALSE(panel.mnu_Click(mnu_Top));
    config.strCH[2].Move = 8;
    panel.cmdPtesetCH_Click(0);
    ASSERT_TRUE(panel.mnuOffered());
    struct Case { PtzMenu entry; int32_t direction; };
    const Case cases[] = {
        {mnu_LeftTop, 5}, {mnu_Top, 3},  {mnu_RightTop, 6},  {mnu_Left, 1},   {mnu_Right, 2},
        {mnu_LeftDown, 7}, {mnu_Down, 4}, {mnu_RightDown, 8}, {mnu_Direct, 0},  // the centre of the pad
    };
    for (const Case& c : cases) {
        link.sent.clear();
        EXPECT_TRUE(panel.mnu_Click(c.entry)) << c.entry;
        EXPECT_EQ(link.sent, std::vector<std::string>{Get_PTZ_XML(12289, 3, 0, c.direction, 1)}) << c.entry;
    }
    // Straight moves only: the diagonal entries are off, as their buttons are.
    config.strCH[2].Move = 4;
    panel.UpadtePTZButtonDisplay();
    link.sent.clear();
    EXPECT_TRUE(panel.mnuEnabled(mnu_Down));
    EXPECT_FALSE(panel.mnuEnabled(mnu_RightDown));
    EXPECT_FALSE(panel.mnu_Click(mnu_RightDown));
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(PtzTest, QuadFisheyeIsSetOnlyWhenTheCameraIsInAnotherMode) {
    config.strCH[2].Mode4FishEye = "quad";
    link.replies[12302] = "<RESPONSE RET=\"0\" ID=\"12302\"><CH>3</CH><Mode4FishEye>quad</Mode4FishEye></RESPONSE>";
    panel.cmdPtesetCH_Click(0);
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{4101, 12302}));
    EXPECT_EQ(panel.fisheyePanes, 4);

    link.sent.clear();
    link.replies[12302] = "<RESPONSE RET=\"0\" ID=\"12302\"><CH>3</CH><Mode4FishEye>1O</Mode4FishEye></RESPONSE>";
    panel.cmdPtesetCH_Click(0);
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{4101, 12302, 12303}));
    EXPECT_EQ(link.sent.back(), Set_FisheyeMode_XML(3, "quad"));
}

TEST_F(PtzTest, TheListStopsAtEightPresets) {
    panel.cmdPtesetCH_Click(0);
    for (int i = 0; i < 6; ++i) ASSERT_TRUE(panel.cmdPreset_Click(kPresetNew)) << i;
    EXPECT_EQ(config.strPreset.size(), 8u);
    EXPECT_TRUE(dirty);
    EXPECT_TRUE(panel.bPresetFull);
    EXPECT_FALSE(panel.cmdPreset_Click(kPresetNew)) << "the ninth is refused";
    EXPECT_EQ(config.strPreset[2].ID, 3) << "the lowest free id";
    EXPECT_EQ(config.strPreset[2].Name, "Preset 3");
}

TEST_F(PtzTest, TakingANameStoresThePositionOnTheCamera) {
    panel.cmdPtesetCH_Click(0);
    panel.gridPresetList_Click(1);
    EXPECT_EQ(panel.txtPreset.text, "Yard");
    panel.txtPreset_Change("");
    EXPECT_FALSE(panel.cmdPreset_Click(kPresetTake));
    EXPECT_EQ(prompter.boxes.back(), "There is an empty field or has been set !");
    panel.txtPreset_Change("Gate");
    EXPECT_FALSE(panel.cmdPreset_Click(kPresetTake)) << "a name already in the list";
    EXPECT_FALSE(panel.txtPreset_Change("a<b")) << "no markup characters";
    EXPECT_FALSE(txtPreset_KeyPress('&'));
    EXPECT_TRUE(txtPreset_KeyPress('\b'));

    link.sent.clear();
    panel.txtPreset_Change("Back door");
    ASSERT_TRUE(panel.cmdPreset_Click(kPresetTake));
    EXPECT_EQ(link.sent, std::vector<std::string>{Get_StorePreset_XML(kPtzUserData, 3, 2, "Back door")});

    config.strCH[2].PTZABS = true;
    link.replies[12297] = "<RESPONSE RET=\"0\" ID=\"12297\"><CH>3</CH><Pan>120</Pan><Tilt>-4</Tilt><Zoom>3</Zoom>"
                          "<Focus>50</Focus></RESPONSE>";
    link.sent.clear();
    ASSERT_TRUE(panel.cmdPreset_Click(kPresetTake));
    EXPECT_EQ(link.sent, std::vector<std::string>{Get_PTZABS_Pos_XML(kPtzUserData, 3)});
    EXPECT_EQ(config.strPreset[1].Pan, "120");
    EXPECT_TRUE(config.strPreset[1].PTZABS);
}

TEST_F(PtzTest, RemovingAndMovingSaveTheWholeList) {
    panel.cmdPtesetCH_Click(0);
    panel.gridPresetList_Click(1);
    link.sent.clear();
    ASSERT_TRUE(panel.img_Preset_Btn_Click(kPresetUp));
    EXPECT_EQ(config.strPreset[0].Name, "Yard");
    EXPECT_EQ(panel.selectedPreset, 0);
    EXPECT_EQ(link.sent, std::vector<std::string>{Set_PresetList_XML(3, config.strPreset)});
    EXPECT_FALSE(dirty) << "saved";

    ASSERT_TRUE(panel.cmdPreset_Click(kPresetRemove));
    ASSERT_EQ(config.strPreset.size(), 1u);
    EXPECT_EQ(config.strPreset[0].Name, "Gate");
    ASSERT_TRUE(panel.gridPresetList_Click(0));
    ASSERT_TRUE(panel.cmdPreset_Click(kPresetRemove));
    EXPECT_TRUE(NoPresets(config.strPreset));
    EXPECT_EQ(link.sent.back(), Set_PresetList_XML(3, EmptyPresetList()));

    link.replies[32814] = "<RESPONSE RET=\"-1\" ID=\"32814\"/>";
    panel.cmdPreset_Click(kPresetNew);
    EXPECT_FALSE(panel.SaveSetting());
    EXPECT_TRUE(dirty) << "a refused save leaves the area dirty";
    EXPECT_EQ(prompter.boxes.back(), "The setting could not be saved on the server!");
}

TEST_F(PtzTest, GoToUsesTheChosenSpeed) {
    panel.cmdPtesetCH_Click(0);
    EXPECT_FALSE(panel.cmdPreset_Click(kPresetGoto)) << "no row chosen";
    panel.gridPresetList_Click(1);
    panel.cmbPtzSpeed_Click(3);
    link.sent.clear();
    ASSERT_TRUE(panel.cmdPreset_Click(kPresetGoto));
    EXPECT_EQ(link.sent, std::vector<std::string>{Get_GotoPreset_XML(kPtzUserData, 3, 2, 4)});
}

}  // namespace
}  // namespace kv::channels
