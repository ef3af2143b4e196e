// The recording sections of kelvarra-ctl's documents over an answering link: an unchanged dump
// sends nothing where the page rounds or rebuilds, the rules of the page's controls refuse what it
// cannot make, and the staged changes go out storage first, then settings, then weeks.
#include <gtest/gtest.h>

#include <functional>

#include "app/document.h"
#include "recording/codec.h"
#include "recording/document.h"
#include "tests/support/fakes.h"

namespace kv::recording {
namespace {

using app::Json;

std::string day(int from, int to) {
    return std::string(from, '0') + std::string(to - from, '1') + std::string(96 - to, '0');
}

Json& ofChannel(Json& list, int ch) {
    for (Json& c : list)
        if (c["CH"] == ch) return c;
    throw std::runtime_error("no channel " + std::to_string(ch));
}

class RecordingDocumentTest : public ::testing::Test {
protected:
    RecordingDocumentTest() {
        channels.iMaxChannel = 16;
        // Cameras on 3 and 5, and on 20 beyond the server's count.
        for (int ch : {3, 5, 20}) channels.strCH[static_cast<size_t>(ch - 1)].IP = "10.0.0." + std::to_string(ch);
        // Channel 5's camera offers h264 in two sizes with rate control, quality and GOP.
        channels::ChannelRecord& cam = channels.strCH[4];
        cam.FMTList = cam.FMT = "h264", cam.SizeList_H264 = "1280x720,640x360", cam.Size = "1280x720";
        cam.FPSLower_H264 = {0, 0}, cam.FPSUpper_H264 = {5, 5};
        cam.BitrateLower_H264 = {1, 1}, cam.BitrateUpper_H264 = {8, 8};
        cam.QualityLower = {0, 0, 1}, cam.QualityUpper = {0, 0, 10};
        cam.RateControlCap = cam.GOPCap = {false, false, true};
        for (int ch : {3, 5}) {
            RecSetRecord& r = tables.strRecSet[static_cast<size_t>(ch - 1)];
            r.Continuous = {0, 0, 5, 0, -1}, r.Schedule = {0, 0, 5, 0, 0}, r.Event = {0, 0, 0, 20, -1};
            r.Manual = {0, 0, 0, 10, -1}, r.PreAlarmLength = 5;
            tables.strRecSCDL[static_cast<size_t>(ch - 1)].Day.fill(day(28, 76));
        }
        RecSetRecord& five = tables.strRecSet[4];
        five.DualMode = 1, five.FMT = "h264", five.Size = "640x360", five.FPS = 2;
        five.RateControl = 0, five.Quality = 4, five.Bitrate = 0, five.GOP = 10;
        tables.strRecSCDL[4].Day[3] = "01";  // a short day from the service
        tables.strStorage = {{0, false, "D:\\Rec\\"}, {1, false, "E:\\Rec\\"}};
        tables.RetainDays = 2, tables.ReservedGB = 10;
        tables.strHDPath = {HDPathRecord{}, {1, "D:\\", 500, 1863}, {2, "E:\\", 4.5, 1863}};
    }
    Json dump() {
        Json doc;
        RecordingDocument(tables, channels).dump(doc, {});
        return doc;
    }
    // One apply of the part: "2: ..." for a document not in dump's form, "4: ..." for a refusal,
    // else the commands each write and its commit sent.
    std::string apply(const Json& doc, std::vector<std::string>* sent = nullptr) {
        link.sent.clear();
        RecordingDocument part(tables, channels);
        app::Stage stage(link, test::English());
        try {
            part.stage(doc, stage);
        } catch (const app::DocumentError& e) {
            return std::string("2: ") + e.what();
        }
        if (stage.refused()) return "4: " + stage.refusals.front();
        std::vector<app::PendingSave> saves;
        part.saves(stage, saves);
        for (app::PendingSave& s : saves) {
            std::string reply;
            if (!s.send(reply)) break;
            s.commit();
            if (sent) sent->push_back(s.command);
        }
        return "";
    }

    RecordingTables tables;
    channels::ChannelTables channels;
    test::AnsweringLink link;
};

TEST_F(RecordingDocumentTest, AnUnchangedDumpSendsNothingWhereThePageRoundsOrRebuilds) {
    Json doc = dump();
    EXPECT_EQ(ofChannel(doc["strRecSCDL"], 5)["Day"][3], "01" + std::string(94, '0')) << "as the grid shows it";
    EXPECT_EQ(doc["strRecSet"].size(), 2u) << "channel 20 lies beyond the server's count";
    // The free space moves as the service records: a dump of yesterday is still unchanged.
    doc["strStorage"]["strHDPath"][0]["FreeSpaceGB"] = 480;
    ofChannel(doc["strRecSet"], 3)["Continuous"]["FPS"] = " full ";  // a table's text in any case
    EXPECT_EQ(apply(doc), "");
    EXPECT_TRUE(link.sent.empty());
    // A service without folders: the tab's check (317) is for a save, not for a document that keeps them.
    tables.strStorage.clear();
    doc = dump();
    doc["strStorage"]["strHDPath"][1]["FreeSpaceGB"] = 3;
    EXPECT_EQ(apply(doc), "");
}

TEST_F(RecordingDocumentTest, FoldersSecondStreamAndWeeksGoOutAsThePageMakesThem) {
    Json doc = dump();
    doc["strStorage"]["FilePath"] = Json::array({"E:\\Rec\\", "D:\\New"});  // one kept, one gone, one picked
    Json& five = ofChannel(doc["strRecSet"], 5);
    five["RateControl"] = "CBR", five["Bitrate"] = "512k", five["Quality"] = -1;  // CBR leaves no quality
    ofChannel(doc["strRecSCDL"], 5)["Day"][0] = day(0, 96);
    std::vector<std::string> sent;
    ASSERT_EQ(apply(doc, &sent), "");
    ASSERT_EQ(link.ids(), (std::vector<int32_t>{32786, 32784, 32782}));
    EXPECT_NE(sent[0].find("<FilePath>E:\\Rec\\</FilePath><FilePath>D:\\New\\</FilePath></FilePathList>"),
              std::string::npos) << sent[0];
    EXPECT_NE(sent[1].find("<Quality>-1</Quality><RateControl>1</RateControl><BitRate>4</BitRate>"), std::string::npos)
        << sent[1];
    // The painted week is rebuilt from the grid: the short day goes out with 96 quarter hours.
    EXPECT_NE(sent[2].find("<Enable Day=\"3\">01" + std::string(94, '0') + "<"), std::string::npos);
    EXPECT_EQ(apply(doc), "");
    EXPECT_TRUE(link.sent.empty()) << "the tables hold what went out";
}

TEST_F(RecordingDocumentTest, WhatThePageCannotMakeIsRefusedWithItsRule) {
    const auto set = [](Json& d, int ch) -> Json& { return ofChannel(d["strRecSet"], ch); };
    const auto week = [](Json& d, int ch) -> Json& { return ofChannel(d["strRecSCDL"], ch)["Day"]; };
    const std::pair<std::function<void(Json&)>, std::string> cases[] = {
        // Pre-alarm is the running modes' only, one combo sets both of them.
        {[&](Json& d) { set(d, 3)["Event"]["PreAlarmLength"] = 5; }, "channel 3: Event.PreAlarmLength 5: pre-alarm"},
        {[&](Json& d) { set(d, 3)["Continuous"]["PreAlarmLength"] = 3; }, "channel 3: Schedule.PreAlarmLength 5: pre"},
        // Manual keeps its post-alarm and records I+P; the triggered modes always record.
        {[&](Json& d) { set(d, 3)["Manual"]["PostAlarmLength"] = 20; }, "channel 3: Manual.PostAlarmLength 20: post"},
        {[&](Json& d) { set(d, 3)["Manual"]["IFrameOnly"] = "I"; }, "channel 3: Manual.IFrameOnly \"I\": the I-frame"},
        {[&](Json& d) { set(d, 3)["Event"]["Active"] = false; }, "channel 3: Event.Active false: Event and Manual"},
        // A post-alarm the combo lacks.
        {[&](Json& d) { set(d, 3)["Event"]["PostAlarmLength"] = 7; },
         "channel 3: Event.PostAlarmLength 7 is not offered (offered: 5, 10, 15, 20,"},
        // No second-stream dialog for one stream; CBR leaves the dialog no quality.
        {[&](Json& d) { set(d, 3)["FPS"] = "5"; }, "channel 3: the second stream is set in its dialog"},
        {[&](Json& d) { set(d, 5)["RateControl"] = "CBR"; }, "channel 5: Quality 4: the second stream's dialog"},
        {[](Json& d) { d["strRecSet"].push_back({{"CH", 7}, {"DualMode", 1}}); }, "channel 7: No camera assigned"},
        // Day strings of 0 and 1 only, seven of them.
        {[&](Json& d) { week(d, 5)[0] = std::string(9, '0') + "x" + std::string(86, '0'); },
         "channel 5, day 0: \"x\" at quarter hour 10"},
        {[&](Json& d) { week(d, 5).erase(6); }, "2: strRecSCDL[1].Day: expected seven"},
        // The pickers' rules: 307 and 499.
        {[](Json& d) { d["strStorage"]["FilePath"].push_back("d:\\rec"); }, "\"d:\\rec\": The path is already"},
        {[](Json& d) { d["strStorage"]["FilePath"].push_back("E:\\More\\"); }, "space has not more than 10GB"},
        // The disks are the service's.
        {[](Json& d) { d["strStorage"]["strHDPath"][0]["TotalSpaceGB"] = 100; }, "strHDPath: refused: the disks"},
        {[&](Json& d) { set(d, 3)["Event"]["FPS"] = "fast"; }, "2: strRecSet[0].Event.FPS: \"fast\" is no frame rate"},
    };
    for (const auto& [edit, message] : cases) {
        Json doc = dump();
        doc["strStorage"]["ReservedGB"] = 20;  // a change the page makes rides along and is not sent
        edit(doc);
        const std::string got = apply(doc);
        EXPECT_NE(got.find(message), std::string::npos) << got;
        EXPECT_EQ(got.substr(0, 3), message.rfind("2: ", 0) == 0 ? "2: " : "4: ") << got;
        EXPECT_TRUE(link.sent.empty()) << message;
    }
}

}  // namespace
}  // namespace kv::recording
