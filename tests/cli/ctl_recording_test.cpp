// kelvarra-ctl's recording sections against kelvarra-sim: what dump prints, an unchanged dump that
// sends nothing, changes that go out in the order of the shell's save of every area, byte for
// byte, and refusals of the page rules that send nothing.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "sim/process.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/run_process.h"

using kv::sim::SimProcess;
using kv::test::TempDir;
using Json = nlohmann::json;

namespace {

kv::test::ProcessResult ctl(int port, std::vector<std::string> extra = {"dump"}) {
    std::vector<std::string> args{KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", "admin"};
    args.insert(args.end(), extra.begin(), extra.end());
    return kv::test::RunProcess(args, {"KELVARRA_PASSWORD=admin"});
}

// The commands of the runs as sent, without the load, the reads of the channel status and presets
// and the end of the configuration.
std::vector<std::string> changes(const std::filesystem::path& traffic) {
    std::vector<std::string> out;
    const auto load = kv::test::ExpectedLoginCommands(true);
    for (const std::string& logged : kv::test::readLines(traffic)) {
        const std::string line = kv::sim::unescapeTrafficLine(logged);
        const bool read = std::find(load.begin(), load.end(), line) != load.end() ||
                          line == "<CMD ID=\"24578\" />" || line.rfind("<CMD ID=\"4101\" >", 0) == 0 ||
                          line == "<CMD ID=\"40964\" />";
        if (!read) out.push_back(line);
    }
    return out;
}

Json& ofChannel(Json& list, int ch) {
    for (Json& c : list)
        if (c["CH"] == ch) return c;
    throw std::runtime_error("no channel " + std::to_string(ch));
}

// A day with the quarter hours [from, to) on.
std::string day(int from, int to) {
    return std::string(from, '0') + std::string(to - from, '1') + std::string(96 - to, '0');
}

class CtlRecording : public ::testing::Test {
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

TEST_F(CtlRecording, ChangesGoOutStorageFirstThenSettingsThenWeeks) {
    EXPECT_EQ(dump_["strStorage"]["RetainDays"], 30) << "720 hours";
    EXPECT_EQ(dump_["strStorage"]["strHDPath"].size(), 3u) << "the service's disks";
    ASSERT_EQ(dump_["strRecSet"].size(), 16u) << "the configured channels";
    EXPECT_EQ(ofChannel(dump_["strRecSet"], 1)["FPS"], "10") << "the second stream's frame rate as its text";
    EXPECT_EQ(ofChannel(dump_["strRecSCDL"], 5)["Day"][1], day(28, 76));

    const auto same = apply(dump_);
    ASSERT_EQ(same.exitCode, 0) << same.err;
    EXPECT_NE(same.out.find("nothing to apply"), std::string::npos) << same.out;

    Json doc = dump_;
    doc["strStorage"]["RetainDays"] = 14;
    Json& settings = ofChannel(doc["strRecSet"], 3);
    settings["Continuous"]["FPS"] = "10";
    for (const char* key : {"Continuous", "Schedule"}) settings[key]["PreAlarmLength"] = 3;
    settings["PreAlarmLength"] = 3;
    ofChannel(doc["strRecSCDL"], 5)["Day"][1] = day(0, 8);
    const auto r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("plan:\n  changes the storage: RetainDays\n"
                         "  changes the recording settings of channel 3: Continuous.FPS, Continuous.PreAlarmLength, "
                         "Schedule.PreAlarmLength, PreAlarmLength\n"
                         "  changes the week of channel 5: day 1\n"),
              std::string::npos)
        << r.out;
    const auto mode = [](const char* name, int fps, int pre, int post, int active) {
        return std::string("<") + name + "><FPS>" + std::to_string(fps) + "</FPS><IFrameOnly>0</IFrameOnly>" +
               "<PreAlarmLength>" + std::to_string(pre) + "</PreAlarmLength><PostAlarmLength>" + std::to_string(post) +
               "</PostAlarmLength><Active>" + std::to_string(active) + "</Active></" + name + ">";
    };
    const std::string weekday = day(28, 76);
    const std::vector<std::string> expected = {
        "<CMD ID=\"32786\"><UserData>CONFIG_AP</UserData><Param><RetainTime>336</RetainTime><ReservedSpace>10240"
        "</ReservedSpace><FilePathList><FilePath>D:\\Record\\</FilePath><FilePath>E:\\Record\\</FilePath>"
        "</FilePathList></Param></CMD>",
        "<CMD ID=\"32784\"><UserData>CONFIG_AP</UserData><Param><CH>3</CH>" + mode("Continuous", 3, 3, 0, 0) +
            mode("Schedule", 0, 3, 0, 1) + mode("Event", 0, 0, 30, 1) + mode("Manual", 0, 0, 10, 1) +
            "<PreAlarmLength>3</PreAlarmLength><DualMode>0</DualMode><FMT></FMT><Size></Size><FPS>0</FPS>"
            "<Quality>-1</Quality><RateControl>-1</RateControl><BitRate>0</BitRate><GOP>-1</GOP></Param></CMD>",
        "<CMD ID=\"32782\"><UserData>CONFIG_AP</UserData><Param><CH>5</CH><EnableList><Enable Day=\"0\">" + day(0, 0) +
            "</Enable><Enable Day=\"1\">" + day(0, 8) + "</Enable><Enable Day=\"2\">" + weekday +
            "</Enable><Enable Day=\"3\">" + weekday + "</Enable><Enable Day=\"4\">" + weekday +
            "</Enable><Enable Day=\"5\">" + weekday + "</Enable><Enable Day=\"6\">" + day(32, 52) +
            "</Enable></EnableList></Param></CMD>",
        "<CMD ID=\"32813\" />",
    };
    EXPECT_EQ(changes(dir_ / "traffic.log"), expected);

    Json again = Json::parse(ctl(sim_.port()).out);
    EXPECT_EQ(again["strStorage"]["RetainDays"], 14);
    EXPECT_EQ(ofChannel(again["strRecSet"], 3)["Continuous"]["FPS"], "10");
    EXPECT_EQ(ofChannel(again["strRecSet"], 3)["Schedule"]["PreAlarmLength"], 3);
    EXPECT_EQ(ofChannel(again["strRecSCDL"], 5)["Day"][1], day(0, 8));
}

TEST_F(CtlRecording, ARefusedDocumentSendsNothing) {
    struct Case {
        std::function<void(Json&)> edit;
        std::string message;
    };
    const std::vector<Case> cases = {
        // The grid has 96 quarter hours a day.
        {[](Json& d) { ofChannel(d["strRecSCDL"], 5)["Day"][2] = std::string(95, '1'); },
         "refused: channel 5, day 2: 95 characters"},
        // The storage tab's own check: message 317.
        {[](Json& d) { d["strStorage"]["FilePath"] = Json::array(); },
         "strStorage: refused: There is no storage path set. Please add at least one path!"},
    };
    for (const Case& c : cases) {
        Json doc = dump_;
        // A change the page could make rides along: a refusal anywhere sends nothing at all.
        doc["strStorage"]["RetainDays"] = 7;
        c.edit(doc);
        const auto r = apply(doc);
        EXPECT_EQ(r.exitCode, 4) << c.message << "\n" << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
    EXPECT_EQ(changes(dir_ / "traffic.log"), std::vector<std::string>{});
}

}  // namespace

// A channel whose new format leaves the camera no second stream: its recording's second stream
// goes off, and that write goes out before the channel's own.
TEST_F(CtlRecording, AFormatWithoutSecondStreamEndsItBeforeTheChannelIsWritten) {
    Json doc = dump_;
    ofChannel(doc["strRecSet"], 6)["DualMode"] = 1;
    auto r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;

    const size_t before = changes(dir_ / "traffic.log").size();
    doc = Json::parse(ctl(sim_.port()).out);
    Json& cam = ofChannel(doc["strCH"], 6);
    ASSERT_EQ(cam["FMT"], "jpeg");
    cam["FMT"] = "mpeg4";
    cam["RateControl"] = 0;  // the format's own choices: VBR with a quality and a GOP
    cam["GOP"] = 30;
    r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err << r.out;
    const std::vector<std::string> sent = changes(dir_ / "traffic.log");
    ASSERT_GE(sent.size(), before + 3);
    EXPECT_EQ(sent[before].rfind("<CMD ID=\"32784\"><UserData>CONFIG_AP</UserData><Param><CH>6</CH>", 0), 0u)
        << sent[before];
    EXPECT_NE(sent[before].find("<DualMode>0</DualMode>"), std::string::npos);
    EXPECT_EQ(sent[before + 1].rfind("<CMD ID=\"24581\"", 0), 0u) << sent[before + 1];
    EXPECT_EQ(sent[before + 2], "<CMD ID=\"40963\" />");
    Json again = Json::parse(ctl(sim_.port()).out);
    EXPECT_EQ(ofChannel(again["strRecSet"], 6)["DualMode"], 0);
}
