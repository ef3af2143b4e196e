// The video parameter rules: value tables, the frame-rate and bit-rate fills, rate control,
// quality, sizes with alternatives, audio, dual streams and lens modes.
#include <gtest/gtest.h>

#include "channels/video_params.h"
#include "tests/channels/recording_host.h"

namespace kv::channels {
namespace {

using Items = std::vector<std::string>;

TEST(VideoValues, ComboTextToRecordAndBack) {
    struct Row {
        const char* text;
        int16_t fps, bitrate, rateControl, quality, gop;
    };
    // Upper-cased comparison; unknown labels give index 0, rate control -1.
    const std::vector<Row> rows = {
        {"Full", 0, 0, -1, 0, 0}, {"full", 0, 0, -1, 0, 0}, {"5", 2, 0, -1, 5, 5},   {"20", 5, 0, -1, 20, 20},
        {"64k", 0, 1, -1, 64, 64}, {"2048K", 0, 8, -1, 2048, 2048}, {"N/A", 0, 0, -1, -1, -1},
        {"vbr", 0, 0, 0, 0, 0},   {"CBR", 0, 0, 1, 0, 0},   {"12.7", 0, 0, -1, 12, 12},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(FpsIndexOf(r.text), r.fps) << r.text;
        EXPECT_EQ(BitrateIndexOf(r.text), r.bitrate) << r.text;
        EXPECT_EQ(RateControlOf(r.text), r.rateControl) << r.text;
        EXPECT_EQ(QualityOf(r.text), r.quality) << r.text;
        EXPECT_EQ(GopOf(r.text), r.gop) << r.text;
    }
    EXPECT_EQ(FpsLabel(0), "Full");
    EXPECT_EQ(FpsLabel(3), "10");
    EXPECT_EQ(BitrateLabel(7), "1536K");
    EXPECT_EQ(MaskSpecCameraValue(-1), "N/A");
    EXPECT_EQ(MaskSpecCameraValue(1), "CBR");
}

TEST(VideoValues, SizesWithAlternativesAudioAndDualStreams) {
    EXPECT_EQ(FirstAlternative("720x480||D1"), "720x480");
    EXPECT_EQ(GetFuhoResolutionString("720x480||D1,352x240||CIF", "CIF"), "352x240||CIF");
    EXPECT_EQ(GetFuhoResolutionString("720x480||D1", "640x480"), "");
    // Items longer than five characters are cut to four before the comparison.
    EXPECT_TRUE(AudioInputOf(" g711 "));
    EXPECT_TRUE(AudioInputOf("pcm,g711ulaw"));
    EXPECT_TRUE(AudioInputOf("G.726"));
    EXPECT_FALSE(AudioInputOf("g711a")) << "five characters are not cut";
    EXPECT_FALSE(AudioInputOf("G711,aac"));
    EXPECT_TRUE(HasDualStreamFormat("jpeg,h264-jpeg-dual"));
    EXPECT_FALSE(HasDualStreamFormat("jpeg,h264-jpeg"));
}

// A working record with one h264 size list and one jpeg size list.
ChannelRecord camera() {
    ChannelRecord r;
    r.CH = 1;
    r.BrandCode = 1;
    r.FMTList = "jpeg,h264";
    r.FMT = "h264";
    r.SizeList_H264 = "1920x1080,1280x720,640x360";
    r.FPSLower_H264 = {0, 1, -1};
    r.FPSUpper_H264 = {5, 3, -1};
    r.BitrateLower_H264 = {2, 1, -1};
    r.BitrateUpper_H264 = {8, 4, -1};
    r.SizeList_JPEG = "720x480||D1,352x240||CIF";
    r.FPSLower_JPEG = {0, 0};
    r.FPSUpper_JPEG = {4, 5};
    r.BitrateLower_JPEG = {0, 0};
    r.BitrateUpper_JPEG = {0, 0};
    r.QualityLower = {1, 0, 1};
    r.QualityUpper = {5, 0, 10};
    r.RateControlCap = {false, false, true};
    r.GOPCap = {false, true, true};
    r.Size = "1920x1080";
    r.FPS = 2;
    r.RateControl = 1;
    r.Bitrate = 6;
    r.Quality = 4;
    r.GOP = 30;
    r.AudioFMT = "g711";
    return r;
}

struct VideoTest : ::testing::Test {
    ChannelTable table{};
    ChannelRecord my = camera();
    VideoParams v{my, table, test::English()};
    int changes = 0;
    void SetUp() override {
        table[0] = my;
        v.onChange = [this] { ++changes; };
        v.Fill();
    }
    const app::ComboBox& combo(int i) const { return v.cmb_CamDetail[static_cast<size_t>(i)]; }
};

TEST_F(VideoTest, FillingShowsTheRecordWithoutCountingAsAnEdit) {
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(combo(kCmbFormat).text(), "h264");
    EXPECT_EQ(combo(kCmbSize).items, (Items{"1920x1080", "1280x720", "640x360"}));
    EXPECT_EQ(combo(kCmbFps).items, (Items{"Full", "1", "5", "10", "15", "20"}));
    EXPECT_EQ(combo(kCmbFps).text(), "5");
    EXPECT_EQ(combo(kCmbRateControl).text(), "CBR");
    EXPECT_EQ(combo(kCmbBitrate).text(), "1024k");
    EXPECT_EQ(combo(kCmbQuality).items, Items{"N/A"}) << "CBR: quality does not apply";
    EXPECT_EQ(combo(kCmbGop).text(), "30");
    EXPECT_EQ(v.Grid_Videoinfo[kAudioRow][0], "Audio Format :");
    EXPECT_EQ(v.Grid_Videoinfo[kAudioRow][1], "g711");
    EXPECT_EQ(v.RowLabel(kCmbSize), "Resolution :");
    EXPECT_FALSE(v.frameLensMode);
}

TEST_F(VideoTest, FullComesLastWhenTheLowerBoundLeavesItOut) {
    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbSize, 1));
    EXPECT_EQ(combo(kCmbFps).items, (Items{"1", "5", "10", "FULL"}));
    EXPECT_EQ(combo(kCmbFps).text(), "5");
    EXPECT_EQ(combo(kCmbBitrate).items, (Items{"64k", "128k", "256k", "512k"}));
    EXPECT_EQ(combo(kCmbBitrate).text(), "64k") << "a combo without a selection takes its first entry";
    EXPECT_EQ(changes, 1);
    // A size whose bounds are -1 empties both combos.
    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbSize, 2));
    EXPECT_TRUE(combo(kCmbFps).items.empty());
    EXPECT_TRUE(combo(kCmbBitrate).items.empty());
}

TEST_F(VideoTest, RateControlMakesEitherQualityOrBitRateLive) {
    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbRateControl, 0));  // VBR
    EXPECT_EQ(combo(kCmbBitrate).items, Items{"N/A"});
    EXPECT_EQ(combo(kCmbQuality).items.size(), 10u);
    EXPECT_EQ(combo(kCmbQuality).text(), "4");
    ChannelRecord out = my;
    v.SetToRecord(out);
    EXPECT_EQ(out.RateControl, 0);
    EXPECT_EQ(out.Bitrate, 0) << "N/A is no label of the table";
    EXPECT_EQ(out.Quality, 4);

    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbRateControl, 1));  // CBR
    EXPECT_EQ(combo(kCmbQuality).items, Items{"N/A"});
    v.SetToRecord(out);
    EXPECT_EQ(out.Quality, -1);
    EXPECT_EQ(out.Bitrate, 6);
}

TEST_F(VideoTest, FormatChangeShowsTheFirstAlternativesAndSaveKeepsTheWholeItem) {
    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbFormat, 0));  // jpeg
    EXPECT_EQ(combo(kCmbSize).items, (Items{"720x480", "352x240"}));
    EXPECT_EQ(combo(kCmbRateControl).items, Items{"N/A"}) << "jpeg has no rate control here";
    EXPECT_EQ(combo(kCmbGop).items, Items{"N/A"});
    ASSERT_TRUE(v.cmb_CamDetail_Click(kCmbSize, 1));
    EXPECT_EQ(combo(kCmbFps).items.size(), 6u);
    ChannelRecord out = my;
    v.SetToRecord(out);
    EXPECT_EQ(out.FMT, "jpeg");
    EXPECT_EQ(out.Size, "352x240||CIF");
    EXPECT_EQ(out.GOP, -1);
    EXPECT_TRUE(out.CapAudioIn) << "g711 in the audio row";
}

TEST(VideoQuality, BrandThreeSelectsOneBelowItsNaturalPlace) {
    ChannelTable table{};
    ChannelRecord my = camera();
    my.BrandCode = kQualityBrand;
    my.RateControl = 0;  // VBR: quality is live
    my.QualityLower[kH264] = 1;
    for (const auto& [saved, expected] : std::vector<std::pair<int16_t, int>>{{5, 3}, {0, 0}, {1, 0}, {99, 4}}) {
        my.Quality = 5;
        table[0] = my;
        table[0].Quality = saved;
        VideoParams v(my, table, test::English());
        v.Fill();
        EXPECT_EQ(v.cmb_CamDetail[kCmbQuality].index, expected) << "saved " << saved;
    }
    my.BrandCode = 1;
    table[0] = my;
    VideoParams other(my, table, test::English());
    other.Fill();
    EXPECT_EQ(other.cmb_CamDetail[kCmbQuality].text(), "5") << "other brands select the value itself";
}

TEST(VideoLens, DisplayModesFollowTheLensModeForBrandTwentyOnly) {
    ChannelTable table{};
    ChannelRecord my = camera();
    my.BrandCode = kLensBrand;
    my.LensModeList = "left,right,both,auto";
    my.LensMode = "both";
    my.LeftDisplayModeList = "1O,1P";
    my.LeftDisplayMode = "1P";
    my.RightDisplayModeList = "1R,4R";
    my.RightDisplayMode = "4R";
    VideoParams v(my, table, test::English());
    v.Fill();
    ASSERT_TRUE(v.frameLensMode);
    EXPECT_EQ(v.cmbDisplayMode[0].text(), "1P");
    EXPECT_EQ(v.cmbDisplayMode[1].text(), "4R");
    struct Row {
        int lens;
        bool left, right;
    };
    for (const Row& r : {Row{0, true, false}, Row{1, false, true}, Row{2, true, true}, Row{3, false, false}}) {
        v.cmbLensMode_Click(r.lens);
        EXPECT_EQ(v.cmbDisplayMode[0].enabled, r.left) << r.lens;
        EXPECT_EQ(v.cmbDisplayMode[1].enabled, r.right) << r.lens;
        EXPECT_EQ(v.cmbDisplayMode[0].items.empty(), !r.left) << r.lens;
    }
    // "auto" leaves both combos empty: the record keeps its display modes.
    ChannelRecord out = my;
    v.SetToRecord(out);
    EXPECT_EQ(out.LensMode, "auto");
    EXPECT_EQ(out.LeftDisplayMode, "1P");
    EXPECT_EQ(out.RightDisplayMode, "4R");

    my.BrandCode = 1;
    VideoParams plain(my, table, test::English());
    plain.Fill();
    out = my;
    out.LensMode = "kept";
    plain.SetToRecord(out);
    EXPECT_FALSE(plain.frameLensMode);
    EXPECT_EQ(out.LensMode, "kept");
}

}  // namespace
}  // namespace kv::channels
