// Recording settings (32783), recording schedule (32808), storage (32785) and the folders the
// demo's recordings lie in.
#include <iterator>

#include "sim/seed_internal.h"
#include "sim/service.h"

namespace kv::sim::seed {
namespace {

struct ModeBlock {
    int fps, iFrameOnly, preAlarm, postAlarm, active;
};

std::string modeBlock(const char* name, const ModeBlock& b) {
    return wrap(name, elem("FPS", b.fps) + elem("IFrameOnly", b.iFrameOnly) + elem("PreAlarmLength", b.preAlarm) +
                          elem("PostAlarmLength", b.postAlarm) + elem("Active", b.active));
}

// One channel's entry as the page would write it: pre-alarm belongs to the running modes,
// post-alarm to the triggered ones, manual has a post-alarm of 10, event and manual are active.
std::string recSetting(int ch, bool continuous, int fps, int iFrame, int pre, int post, bool dual) {
    std::string out = "<RecSetting>" + elem("CH", ch);
    out += modeBlock("Continuous", {fps, iFrame, pre, 0, continuous ? 1 : 0});
    out += modeBlock("Schedule", {fps, iFrame, pre, 0, continuous ? 0 : 1});
    out += modeBlock("Event", {0, iFrame, 0, post, 1});
    out += modeBlock("Manual", {0, 0, 0, 10, 1});
    out += elem("PreAlarmLength", pre) + elem("DualMode", dual ? 1 : 0);
    if (dual) {
        out += elem("FMT", "jpeg") + elem("Size", "640x360") + elem("FPS", 3) + elem("Quality", 5) +
               elem("RateControl", -1) + elem("Bitrate", 0) + elem("GOP", -1);
    } else {
        out += elem("FMT", "") + elem("Size", "") + elem("FPS", 0) + elem("Quality", -1) + elem("RateControl", -1) +
               elem("Bitrate", 0) + elem("GOP", -1);
    }
    return out + "</RecSetting>";
}

const DemoChannel* configured(int ch) {
    for (const DemoChannel& c : demoChannels())
        if (c.ch == ch) return &c;
    return nullptr;
}

// Channels that record around the clock; the others of the demo record on their schedule.
bool continuousChannel(int ch) { return ch == 1 || ch == 2 || ch == 4 || ch == 11 || ch >= 13; }

std::string recSettings() {
    std::string out;
    for (int ch = 1; ch <= 64; ++ch) {
        if (!configured(ch)) {
            out += recSetting(ch, true, 0, 0, 5, 10, false);
            continue;
        }
        const int fps = ch >= 13 ? 3 : continuousChannel(ch) ? 4 : 0;
        out += recSetting(ch, continuousChannel(ch), fps, ch == 4 ? 1 : 0, ch % 2 ? 5 : 3, ch % 3 ? 20 : 30, ch == 1);
    }
    return wrap("RecSettingList", out);
}

std::string recSchedule() {
    const std::string allDay = dayString(0, 96);
    const std::string weekday = dayString(28, 76);   // 07:00 to 19:00
    const std::string saturday = dayString(32, 52);  // 08:00 to 13:00
    const std::string off = dayString(0, 0);
    std::string out;
    for (int ch = 1; ch <= 64; ++ch) {
        const bool scheduled = configured(ch) && !continuousChannel(ch);
        for (int day = 0; day < 7; ++day) {
            const std::string& s = !scheduled ? allDay : day == 0 ? off : day == 6 ? saturday : weekday;
            out += "<Enable" + attr("CH", ch) + attr("Day", day) + ">" + s + "</Enable>";
        }
    }
    return wrap("EnableList", out);
}

// The demo records into two folders, one on each data disk.
constexpr const char* kDemoPaths[] = {"D:\\Record\\", "E:\\Record\\"};

}  // namespace

void addRecordingDocuments(Documents& docs, bool demo) {
    docs.emplace_back("32783", demo ? recSettings() : wrap("RecSettingList", ""));
    docs.emplace_back("32808", demo ? recSchedule() : wrap("EnableList", ""));
    // Retention in hours, reserve in megabytes: 30 days and 10 GB.
    std::string paths;
    if (demo)
        for (const char* path : kDemoPaths) paths += elem("FilePath", path);
    docs.emplace_back("32785", elem("RetainTime", 720) + elem("ReservedSpace", 10240) + wrap("FilePathList", paths));
}

}  // namespace kv::sim::seed

namespace kv::sim {

std::vector<std::string> demoRecordingFolders() {
    // A recorder keeps one folder a camera in each storage path; the first cameras have recorded.
    std::vector<std::string> folders(std::begin(seed::kDemoPaths), std::end(seed::kDemoPaths));
    for (const char* camera : {"Cam01", "Cam02", "Cam03", "Cam04"})
        folders.push_back(std::string(seed::kDemoPaths[0]) + camera + "\\");
    return folders;
}

}  // namespace kv::sim
