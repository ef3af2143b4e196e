// The channel codec: the detail, detection, status, search and preset replies with their bad
// forms, and the commands byte for byte.
#include <gtest/gtest.h>

#include "channels/codec.h"
#include "channels/ptz_codec.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

namespace kv::channels {
namespace {

std::string detail(const std::string& channels, const std::string& ret = "0") {
    return "<RESPONSE RET=\"" + ret + "\" ID=\"24582\" RetCode=\"" + ret +
           "\"><UserData>Form_Main</UserData><CHList>" + channels + "</CHList></RESPONSE>";
}

// One channel with every section, as the service sends it.
const std::string kFull =
    "<CH ID=\"5\"><IP>10.0.0.5</IP><Name>Gate &amp; Yard</Name><HTTPPort>8080</HTTPPort><StartConfig>1</StartConfig>"
    "<System><UserName>admin</UserName><Password>p&lt;w</Password><Manufacturer>Corvid</Manufacturer>"
    "<Model>CV</Model><MACAddress>00-11</MACAddress><NumberVideo>4</NumberVideo><VideoNumber>2</VideoNumber>"
    "<RtspPort>5540</RtspPort><BrandCode>20</BrandCode><NumberDI>1</NumberDI><NumberDO>2</NumberDO>"
    "<MotionDetect>1</MotionDetect><DITriggerType>5</DITriggerType></System>"
    "<Video><FMT>h264</FMT><Size>1280x720</Size><FPS>3</FPS><Quality>-1</Quality><RateControl>1</RateControl>"
    "<Bitrate>6</Bitrate><GOP>0</GOP><SupportFMT>jpeg,h264-jpeg-dual</SupportFMT><FMTList>jpeg h264</FMTList>"
    "<SizeList FMT=\"h264\" QualityLower=\"2\" QualityUpper=\"9\" RateControl=\"1\">"
    "<Size FPSLower=\"0\" FPSUpper=\"5\" BitrateLower=\"1\" BitrateUpper=\"8\"> 1920x1080 </Size>"
    "<Size FPSLower=\"1\" FPSUpper=\"3\" BitrateLower=\"2\" BitrateUpper=\"6\">1280x720</Size></SizeList>"
    "<SizeList FMT=\"jpeg\" QualityLower=\"1\" QualityUpper=\"5\" RateControl=\"0\"></SizeList>"
    "<LensMode>both</LensMode><LensModeList><Mode>left</Mode><Mode>both</Mode></LensModeList></Video>"
    "<Audio><FMT>g711</FMT><FMTList>g711 g726</FMTList><CapAudioIn>1</CapAudioIn><CapAudioOut>0</CapAudioOut></Audio>"
    "<PTZ><PTZEnable>1</PTZEnable><PTZABS>0</PTZABS><SetPreset>2</SetPreset><SpeedLower>1</SpeedLower>"
    "<SpeedUpper>8</SpeedUpper><Move>12</Move><Mode4FishEye>quad</Mode4FishEye>"
    "<ModeList4FishEye>1O,quad</ModeList4FishEye></PTZ></CH>";

TEST(ChannelDetail, CommandListsTheChannelsAsTheLoginSendsThem) {
    EXPECT_EQ(ChannelDetail_XML(2),
              "<CMD ID=\"24582\"><UserData>Form_Main</UserData><Param><CHList><CH>1</CH><CH>2</CH></CHList>"
              "</Param></CMD>");
    EXPECT_EQ(ChannelDetail_XML(64), test::ExpectedLoginCommands(false)[4]);
}

TEST(ChannelDetail, ReadsEverySection) {
    ChannelTable t{};
    ASSERT_EQ(Load_ChannelDetailInfo_XML(detail(kFull), t), 1);
    const ChannelRecord& r = t[4];
    EXPECT_EQ(r.CH, 5);
    EXPECT_EQ(r.Name, "Gate & Yard");
    EXPECT_EQ(r.HTTPPort, 8080);
    EXPECT_EQ(r.StartConfig, 1);
    EXPECT_EQ(r.Password, "p<w");
    EXPECT_EQ(r.RtspPort, 5540);
    EXPECT_EQ(r.VideoNumber, 2);
    EXPECT_TRUE(r.DILow && !r.DIHigh && r.DIEdge) << "DITriggerType 5 is bits 0 and 2";
    EXPECT_EQ(r.FMTList, "jpeg,h264");
    EXPECT_EQ(r.SizeList_H264, "1920x1080,1280x720") << "sizes trimmed";
    EXPECT_EQ(r.FPSLower_H264, (std::vector<int16_t>{0, 1}));
    EXPECT_EQ(r.BitrateUpper_H264, (std::vector<int16_t>{8, 6}));
    EXPECT_EQ(r.SizeList_JPEG, "");
    EXPECT_EQ(r.FPSLower_JPEG, std::vector<int16_t>{-1}) << "a size list without sizes still has one -1";
    EXPECT_EQ(r.QualityLower[kH264], 2);
    EXPECT_TRUE(r.RateControlCap[kH264]);
    EXPECT_FALSE(r.RateControlCap[kJpeg]);
    EXPECT_FALSE(r.GOPCap[kH264]) << "GOP 0 with h264 read before it";
    EXPECT_TRUE(r.GOPCap[kMpeg4]);
    EXPECT_EQ(r.LensModeList, "left,both");
    EXPECT_EQ(r.AudioFMT, "g711,g726") << "the list arrives after the format and wins";
    EXPECT_TRUE(r.CapAudioIn);
    EXPECT_TRUE(r.PTZEnable && r.SetPreset && !r.PTZABS);
    EXPECT_EQ(r.SpeedLower, 1);
    EXPECT_EQ(r.Move, 12);
    EXPECT_EQ(r.FishEyeModes, (std::vector<std::string>{"1O", "quad"}));
}

TEST(ChannelDetail, AnUnchangedAddressRestoresTheSavedRecordThenLaysLaterElementsOverIt) {
    ChannelTable t{};
    t[0].CH = 1;
    t[0].IP = "10.0.0.1";
    t[0].Name = "old";
    t[0].FPSUpper_H264 = {5, 4, 3};  // learned by a detection
    t[0].Size = "old size";
    ASSERT_EQ(Load_ChannelDetailInfo_XML(detail("<CH ID=\"1\"><Name>lost</Name><IP>10.0.0.1</IP><Video>"
                                                "<Size>640x480</Size></Video></CH>"),
                                         t),
              1);
    EXPECT_EQ(t[0].FPSUpper_H264, (std::vector<int16_t>{5, 4, 3})) << "detected arrays kept";
    EXPECT_EQ(t[0].Name, "old") << "a Name before an unchanged IP is lost";
    EXPECT_EQ(t[0].Size, "640x480") << "elements after IP are laid over the saved record";

    // A changed address starts from the blank slot.
    ASSERT_EQ(Load_ChannelDetailInfo_XML(detail("<CH ID=\"1\"><Name>new</Name><IP>10.0.0.9</IP></CH>"), t), 1);
    EXPECT_EQ(t[0].Name, "new");
    EXPECT_TRUE(t[0].FPSUpper_H264.empty());
}

TEST(ChannelDetail, BadRepliesLeaveTheTablesAsTheRulesSay) {
    ChannelTable before{};
    before[0].CH = 1, before[0].IP = "10.0.0.1", before[0].Name = "one";
    before[1].CH = 2, before[1].IP = "10.0.0.2", before[1].Name = "two";
    const std::string one = "<CH ID=\"1\"><IP>10.0.0.1</IP><Name>uno</Name></CH>";
    struct Case {
        const char* why;
        std::string xml;
        int result;
        const char* name1;  // Name of slot 0 afterwards
        bool slot2;         // slot 1 still configured
    };
    const std::vector<Case> cases = {
        {"a channel left out is blanked", detail(one), 1, "uno", false},
        {"a repeated channel: the second is laid over the first",
         detail(one + "<CH ID=\"1\"><IP>10.0.0.1</IP><Name>again</Name></CH>"), 1, "again", false},
        {"channel 0 ends the read; what came before stays", detail(one + "<CH ID=\"0\"><IP>x</IP></CH>"), 0, "uno",
         false},
        {"channel 65 ends the read", detail(one + "<CH ID=\"65\"><IP>x</IP></CH>"), 0, "uno", false},
        {"an empty channel list blanks all", detail(""), 0, "", false},
        {"not XML changes nothing", "<RESPONSE RET=\"0\"", 0, "one", true},
        {"a refused reply changes nothing", detail(one, "-1"), 0, "one", true},
        {"no return code in third place changes nothing",
         "<RESPONSE RET=\"0\" ID=\"24582\"><CHList>" + one + "</CHList></RESPONSE>", 0, "one", true},
        {"a reply without children changes nothing", "<RESPONSE RET=\"0\" ID=\"24582\" RetCode=\"0\"/>", 1, "one",
         true},
    };
    for (const Case& c : cases) {
        ChannelTable t = before;
        EXPECT_EQ(Load_ChannelDetailInfo_XML(c.xml, t), c.result) << c.why;
        EXPECT_EQ(t[0].Name, c.name1) << c.why;
        EXPECT_EQ(t[1].configured(), c.slot2) << c.why;
    }
}

TEST(ChannelReplies, EveryTruncatedPrefixIsReadWithoutHarm) {
    const std::string full = detail(kFull);
    for (size_t n = 0; n < full.size(); ++n) {
        ChannelTable t{};
        t[4].IP = "10.0.0.5";
        const int r = Load_ChannelDetailInfo_XML(std::string_view(full).substr(0, n), t);
        EXPECT_EQ(r, 0) << n;
        EXPECT_EQ(t[4].IP, "10.0.0.5") << "a broken reply changes nothing, cut at " << n;
        ChannelRecord d;
        EXPECT_EQ(Load_ChannelDetectInfo_XML(std::string_view(full).substr(0, n), d), 0);
        GetChannelStatus(std::string_view(full).substr(0, n), t, 64);
        PresetList l;
        Load_Preset_XML(std::string_view(full).substr(0, n), l);
    }
}

TEST(ChannelDetail, ElementOrderDecidesTheGopCapability) {
    ChannelTable t{};
    Load_ChannelDetailInfo_XML(detail("<CH ID=\"1\"><IP>a</IP><Video><GOP>0</GOP><FMT>h264</FMT></Video></CH>"), t);
    EXPECT_TRUE(t[0].GOPCap[kH264]) << "GOP before FMT is judged by the format the record had";
    Load_ChannelDetailInfo_XML(detail("<CH ID=\"1\"><IP>b</IP><Video><FMT>jpeg</FMT><GOP>0</GOP></Video></CH>"), t);
    EXPECT_EQ(t[0].GOPCap, (std::array<bool, 3>{false, true, true})) << "GOP 0 for jpeg changes nothing";
}

TEST(SizeList, FaultsAndTheFormatsItDoesNotKnow) {
    pugi::xml_document d;
    ChannelRecord r;
    d.load_string("<SizeList FMT=\"h264\"><Size FPSLower=\"0\" FPSUpper=\"5\" BitrateLower=\"1\">a</Size></SizeList>");
    EXPECT_FALSE(SetstrCHSystem(r, d.first_child())) << "a size with three bounds is a fault";
    EXPECT_EQ(r.SizeList_H264, "a") << "what was read before the fault stays";

    // "mjpeg" picks no lists, and its quality bounds land on the H.264 index.
    d.load_string("<SizeList FMT=\"mjpeg\" QualityLower=\"3\"><Size>a</Size></SizeList>");
    r = {};
    EXPECT_TRUE(SetstrCHSystem(r, d.first_child()));
    EXPECT_EQ(r.SizeList_JPEG, "");
    EXPECT_EQ(r.QualityLower[kH264], 3);
}

const std::string kDetection =
    "<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"0\"><System><UserName>cam</UserName><Password>cam</Password>"
    "<BrandCode>3</BrandCode></System><Video><FMT>mpeg4</FMT><FMTList><FMT>jpeg</FMT><FMT>mpeg4</FMT><FMT>h264</FMT>"
    "<FMT>x</FMT></FMTList><CurrentSettingsList><Stream><FMT>mpeg4</FMT><GOP>0</GOP></Stream>"
    "<Stream><FMT>h264</FMT><Size>640x480</Size><FPS>2</FPS><RateControl>CBR</RateControl><GOP>30</GOP></Stream>"
    "<Stream><FMT>mjpeg</FMT></Stream><Stream><FMT>h264</FMT></Stream></CurrentSettingsList></Video>"
    "<PTZ><SpeedLower>3</SpeedLower><SpeedUpper>9</SpeedUpper></PTZ></RESPONSE>";

TEST(Detection, StreamsItemsAndTheLowerSpeedAsymmetry) {
    ChannelRecord r;
    r.UserName = "typed";
    r.CurFPS[2] = 9;
    ASSERT_EQ(Load_ChannelDetectInfo_XML(kDetection, r), 1);
    EXPECT_EQ(r.UserName, "cam") << "the reply overwrites what was typed";
    EXPECT_EQ(r.FMTItem, (std::array<std::string, 3>{"jpeg", "mpeg4", "h264"})) << "items beyond three ignored";
    EXPECT_EQ(r.FMTList, "jpeg,mpeg4,h264,x");
    EXPECT_EQ(r.CurSize[1], "640x480");
    EXPECT_EQ(r.CurRateControl[1], "CBR");
    EXPECT_EQ(r.CurRateControl[0], "-1") << "absent values are -1";
    EXPECT_EQ(r.CurFPS[2], -1);
    EXPECT_EQ(r.GOPCap, (std::array<bool, 3>{false, true, false})) << "mpeg4 GOP 0, h264 GOP 30, mjpeg";
    EXPECT_EQ(r.SpeedLower, 0) << "a detection leaves the lower speed unset";
    EXPECT_TRUE(r.CapAudioOut) << "and takes it as a flag into CapAudioOut";
    EXPECT_EQ(r.SpeedUpper, 9);
}

TEST(Detection, ARefusalOrNoXmlLeavesTheRecord) {
    for (const char* xml : {"<RESPONSE RET=\"-6\" ID=\"8193\" RetCode=\"-6\"><System><Model>m</Model></System></RESPONSE>",
                            "-2 time-out", ""}) {
        ChannelRecord r;
        r.Model = "before";
        EXPECT_EQ(Load_ChannelDetectInfo_XML(xml, r), 0) << xml;
        EXPECT_EQ(r.Model, "before") << xml;
    }
    int32_t code = 0;
    EXPECT_TRUE(ChannelRetCode("<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"-5\"/>", code));
    EXPECT_EQ(code, -5);
    EXPECT_FALSE(ChannelRetCode("<RESPONSE RET=\"0\" ID=\"8193\"/>", code));
}

TEST(ChannelStatus, ChannelsAboveTheCountAreSkippedAndChannelZeroStops) {
    ChannelTable t{};
    const auto status = [](const std::string& ret, const std::string& nodes) {
        return "<RESPONSE RET=\"" + ret + "\" ID=\"24578\"><ChannelStatus><CHList>" + nodes +
               "</CHList></ChannelStatus></RESPONSE>";
    };
    const std::string nodes = "<CH ID=\"1\"><Connected>1</Connected><InRecord>1</InRecord><FPS>15</FPS></CH>"
                              "<CH ID=\"20\"><Connected>1</Connected></CH>";
    EXPECT_TRUE(GetChannelStatus(status("0", nodes), t, 16));
    EXPECT_EQ(t[0].Connected, 1);
    EXPECT_EQ(t[0].InRecord, 1);
    EXPECT_EQ(t[19].Connected, 0) << "channel 20 lies above the server's 16";

    EXPECT_FALSE(GetChannelStatus(status("-1", "<CH ID=\"2\"><Connected>1</Connected></CH>"), t, 64));
    EXPECT_EQ(t[1].Connected, 0);
    EXPECT_FALSE(GetChannelStatus(status("0", "<CH ID=\"0\"/><CH ID=\"3\"><Connected>1</Connected></CH>"), t, 64));
    EXPECT_EQ(t[2].Connected, 0);
    EXPECT_FALSE(GetChannelStatus("garbage", t, 64));
}

ChannelRecord sample() {
    ChannelRecord r = CleanMyCH(16);
    r.Name = "Dock <1> & \"2\"";
    r.IP = "192.168.20.21";
    r.UserName = "admin";
    r.Password = "a&b";
    r.VideoNumber = 1;
    r.BrandCode = 1;
    r.Model = "CV-2100";
    r.StartConfig = 1;
    r.FMT = "h264";
    r.Size = "1280x720";
    r.FPS = 4;
    r.Quality = -1;
    r.RateControl = 1;
    r.Bitrate = 6;
    r.GOP = 30;
    r.AudioFMT = "g711";
    return r;
}

TEST(ChannelCommands, ByteForByte) {
    const ChannelRecord r = sample();
    EXPECT_EQ(Get_Channel_ADD_XML(r), test::readFile(std::string(KV_TEST_DATA) + "/channel_add.txt"))
        << "a record without a MAC address is written with the zero address";
    EXPECT_EQ(Get_Channel_Remove_XML(r),
              "<CMD ID=\"24581\"><UserData>CONFIG_AP</UserData><Param><CH>17</CH></Param></CMD>");
    EXPECT_EQ(Get_PreView_XML(r), test::readFile(std::string(KV_TEST_DATA) + "/preview.txt"));
    EXPECT_EQ(GetRemoteChannelXML("10.0.0.1", 80, "ad<m", "p\"w", 2),
              "<CMD ID=\"8193\"><Param><IP>10.0.0.1</IP><HTTPPort>80</HTTPPort><UserName>ad&lt;m</UserName>"
              "<Password>p&quot;w</Password><VideoNumber>2</VideoNumber></Param></CMD>");
    EXPECT_EQ(Get_SearchCAM_XML(), "<CMD ID=\"8194\" />");
}

TEST(CameraSearch, DevicesAndTheRepliesThatListNothing) {
    SearchCamList l;
    ASSERT_TRUE(Load_SearchCAMList_XML(
        "<RESPONSE RET=\"0\" ID=\"8194\"><Device><IP>10.0.0.7</IP><HTTPPort>8080</HTTPPort><Model>M</Model>"
        "<MACAddress>00-AA</MACAddress></Device><Other/><Device><IP>10.0.0.8</IP></Device></RESPONSE>",
        l));
    ASSERT_EQ(l.size(), 3u) << "sized by all children";
    EXPECT_EQ(l[0].HTTPPort, 8080);
    EXPECT_EQ(l[0].MACAddress, "00-AA");
    EXPECT_EQ(l[1], SearchCamRecord{});
    EXPECT_EQ(l[2].IP, "10.0.0.8");
    for (const char* xml : {"<RESPONSE RET=\"0\" ID=\"8194\"/>", "<RESPONSE RET=\"-1\" ID=\"8194\"><Device><IP>x</IP>"
                                                                 "</Device></RESPONSE>",
                            "oops"}) {
        Load_SearchCAMList_XML(xml, l);
        EXPECT_EQ(l, SearchCamList(1)) << xml;
    }
}

TEST(Presets, ListsErrorsAndPositions) {
    PresetList l;
    ASSERT_TRUE(Load_Preset_XML("<RESPONSE RET=\"0\" ID=\"4101\"><UserData>u</UserData><PresetList>"
                                "<Preset Name=\"Gate\" PTZABS=\"1\" Pan=\"40\" Tilt=\"-5\" Zoom=\"1\" Focus=\"50\">3"
                                "</Preset><Preset Name=\"B\">4</Preset></PresetList></RESPONSE>",
                                l));
    ASSERT_EQ(l.size(), 2u);
    EXPECT_EQ(l[0].ID, 3);
    EXPECT_TRUE(l[0].PTZABS);
    EXPECT_EQ(l[0].Tilt, "-5");
    EXPECT_EQ(l[1].Name, "B");
    for (const char* xml : {"ERROR", "<RESPONSE RET=\"-1\" ID=\"4101\">ERROR</RESPONSE>",
                            "<RESPONSE RET=\"0\" ID=\"4101\"><UserData>u</UserData>ERROR</RESPONSE>",
                            "<RESPONSE RET=\"0\" ID=\"4101\"><PresetList></PresetList></RESPONSE>"}) {
        l.assign(3, PresetRecord{});
        l[0].ID = 1;
        Load_Preset_XML(xml, l);
        EXPECT_TRUE(NoPresets(l)) << xml;
    }
    PresetRecord p;
    p.Pan = "1";
    ASSERT_TRUE(Load_PTZABS_Pos_XML("<RESPONSE RET=\"0\" ID=\"12297\"><CH>3</CH><Tilt>7</Tilt><Zoom>2</Zoom>"
                                    "</RESPONSE>",
                                    p));
    EXPECT_EQ(p.Pan, "1") << "missing values stay";
    EXPECT_EQ(p.Tilt, "7");
    EXPECT_EQ(GetFisheyeMode4XML("<RESPONSE RET=\"0\" ID=\"12302\"><CH>1</CH><Mode4FishEye>1O</Mode4FishEye>"
                                 "</RESPONSE>"),
              "1O");
}

TEST(PtzCommands, ByteForByte) {
    EXPECT_EQ(Get_PTZ_XML(12289, 3, 0, 5, 4),
              "<CMD ID=\"12289\"><Param><CH>3</CH><Target>0</Target><Direction>5</Direction><Speed>4</Speed>"
              "</Param></CMD>");
    EXPECT_EQ(Get_GotoPreset_XML("page", 3, 2, 4),
              "<CMD ID=\"12294\" ><UserData>page</UserData><Param><CH>3</CH><Preset>2</Preset><Speed>4</Speed>"
              "</Param></CMD>");
    EXPECT_EQ(Get_StorePreset_XML("page", 3, 2, "A&B"),
              "<CMD ID=\"12298\" ><UserData>page</UserData><Param><CH>3</CH><ID>2</ID><Name>A&amp;B</Name>"
              "</Param></CMD>");
    EXPECT_EQ(Get_Preset_XML("page", 3), "<CMD ID=\"4101\" ><UserData>page</UserData><Param><CH>3</CH></Param></CMD>");
    EXPECT_EQ(Get_PTZABS_Pos_XML("page", 3),
              "<CMD ID=\"12297\" ><UserData>page</UserData><Param><CH>3</CH></Param></CMD>");
    EXPECT_EQ(Set_FisheyeMode_XML(12, "quad"),
              "<CMD ID=\"12303\"><Param><CH>12</CH><Mode4FishEye>quad</Mode4FishEye></Param></CMD>");
    PresetList l = EmptyPresetList();
    // The last preset removed: the list's blank entry goes out, as the other lists send theirs.
    EXPECT_EQ(Set_PresetList_XML(3, l),
              "<CMD ID=\"32814\"><UserData>CONFIG_AP</UserData><Param><CH>3</CH><PresetList><Preset Name=\"\" "
              "PTZABS=\"0\" Pan=\"\" Tilt=\"\" Zoom=\"\" Focus=\"\">-1</Preset></PresetList></Param></CMD>");
    l.assign(2, PresetRecord{});
    l[0].ID = 1, l[0].Name = "G\"1", l[0].PTZABS = true, l[0].Pan = "40", l[0].Tilt = "-5", l[0].Zoom = "1";
    l[0].Focus = "50";
    l[1].ID = 2, l[1].Name = "B";
    EXPECT_EQ(Set_PresetList_XML(3, l),
              "<CMD ID=\"32814\"><UserData>CONFIG_AP</UserData><Param><CH>3</CH><PresetList>"
              "<Preset Name=\"G&quot;1\" PTZABS=\"1\" Pan=\"40\" Tilt=\"-5\" Zoom=\"1\" Focus=\"50\">1</Preset>"
              "<Preset Name=\"B\" PTZABS=\"0\" Pan=\"\" Tilt=\"\" Zoom=\"\" Focus=\"\">2</Preset></PresetList>"
              "</Param></CMD>");
}

}  // namespace
}  // namespace kv::channels
