// Analytics settings (32787) and their shapes: motion (32794), object loss (32792), tripwire (32796),
// face counting (32820) and object counting (32811).
#include "sim/seed_internal.h"

namespace kv::sim::seed {
namespace {

bool in(int ch, std::initializer_list<int> list) {
    for (int c : list)
        if (c == ch) return true;
    return false;
}

bool motionOn(int ch) { return in(ch, {1, 2, 4, 7}); }

std::string analytics() {
    std::string md, ma, ol, tw, oc, uo, fc;
    for (int ch = 1; ch <= 64; ++ch) {
        const std::string c = attr("CH", ch);
        // Channel 1's camera detects motion itself and is set to use that.
        md += "<MotionDetect" + c + attr("Enable", motionOn(ch) ? 1 : 0) + attr("CameraEnable", ch == 1 ? 1 : 0) +
              attr("AlarmInterval", 10) + attr("AlarmLevel", 3) + attr("History", 5) + attr("Sensitivity", 50) + " />";
        ma += "<MaliciousAttack" + c + attr("Enable", in(ch, {2, 5}) ? 1 : 0) + attr("AlarmLevel", 3) +
              attr("Sensitivity", 40) + attr("AlarmInterval", 10) + attr("Period", 30) + " />";
        ol += "<ObjectLoss" + c + attr("Enable", ch == 5 ? 1 : 0) + attr("Sensitivity", 50) + attr("AlarmLevel", 3) +
              attr("AlarmInterval", 10) + attr("Period", 60) + " />";
        // Channel 3 watches lines, channel 12 a polygon.
        tw += "<Tripwire" + c + attr("Enable", in(ch, {3, 12}) ? 1 : 0) + attr("Sensitivity", 50) +
              attr("AlarmInterval", 5) + attr("ROIType", ch == 12 ? 2 : 1) + " />";
        oc += "<ObjectCounting" + c + attr("Enable", ch == 9 ? 1 : 0) + " />";
        uo += "<UnattendedObject" + c + attr("Enable", ch == 7 ? 1 : 0) + attr("Period", 120) + " />";
        fc += "<FaceCounting" + c + attr("Enable", ch == 11 ? 1 : 0) + attr("AlarmInterval", 10) +
              attr("AlarmLevel", 3) + attr("Period", 60) + " />";
    }
    return wrap("MotionDetectList", md) + wrap("MaliciousAttackList", ma) + wrap("ObjectLossList", ol) +
           wrap("TripwireList", tw) + wrap("ObjectCountingList", oc) + wrap("UnattendedObjectList", uo) +
           wrap("FaceCountingList", fc);
}

// A 24-row mask of 32 cells a row with the rectangle of cells [c0, c1) x [r0, r1) on.
std::string mask(int ch, int width, int height, int c0, int c1, int r0, int r1) {
    std::string rows;
    for (int r = 0; r < 24; ++r) {
        std::string row(32, '0');
        if (r >= r0 && r < r1)
            for (int c = c0; c < c1; ++c) row[static_cast<size_t>(c)] = '1';
        rows += "<ROI" + attr("Row", r) + ">" + row + "</ROI>";
    }
    return "<CH" + attr("ID", ch) + ">" + elem("Width", width) + elem("Height", height) + wrap("ROIList", rows) +
           "</CH>";
}

std::string box(int width, int height, int x0, int y0, int x1, int y1) {
    return attr("Width", width) + attr("Height", height) + attr("LeftTopX", x0) + attr("LeftTopY", y0) +
           attr("RightBottomX", x1) + attr("RightBottomY", y1);
}

std::string objectLoss() {
    return wrap("ROIList", "<ROI" + attr("CH", 5) + box(640, 480, 40, 300, 200, 460) + attr("ID", 1) + " />" +
                               "<ROI" + attr("CH", 5) + box(640, 480, 420, 280, 600, 440) + attr("ID", 2) + " />");
}

std::string tripwire() {
    std::string out = "<ROI" + attr("CH", 3) + box(1280, 720, 100, 500, 1180, 520) + attr("ID", 1) +
                      attr("Direction", 0) + " />";
    out += "<ROI" + attr("CH", 3) + box(1280, 720, 640, 100, 660, 700) + attr("ID", 2) + attr("Direction", 1) + " />";
    // The polygon always travels with the id 4.
    out += "<ROI" + attr("CH", 12) + attr("Width", 2048) + attr("Height", 1536) + attr("ID", 4) +
           attr("Direction", 1) + "><PointList>";
    const int points[][2] = {{400, 300}, {1600, 300}, {1800, 1200}, {250, 1200}};
    for (const auto& p : points) out += "<Point" + attr("X", p[0]) + attr("Y", p[1]) + " />";
    return wrap("ROIList", out + "</PointList></ROI>");
}

std::string objectCounting() {
    return wrap("ROIList", "<ROI" + attr("CH", 9) + box(800, 600, 100, 320, 700, 320) + attr("ID", 1) +
                               attr("Direction", 0) + attr("InDisplayLeftTopX", 120) +
                               attr("InDisplayLeftTopY", 250) + attr("OutDisplayLeftTopX", 120) +
                               attr("OutDisplayLeftTopY", 380) + attr("AlarmLevel", 50) + attr("CurrPeriod", 60) +
                               attr("AccuPeriod", 1440) + " />");
}

}  // namespace

void addAnalyticsDocuments(Documents& docs, bool demo) {
    if (!demo) {
        docs.emplace_back("32787", wrap("MotionDetectList", "") + wrap("MaliciousAttackList", "") +
                                       wrap("ObjectLossList", "") + wrap("TripwireList", "") +
                                       wrap("ObjectCountingList", "") + wrap("UnattendedObjectList", "") +
                                       wrap("FaceCountingList", ""));
        docs.emplace_back("32794", wrap("CHList", ""));
        docs.emplace_back("32792", wrap("ROIList", ""));
        docs.emplace_back("32796", wrap("ROIList", ""));
        docs.emplace_back("32820", wrap("CHList", ""));
        docs.emplace_back("32811", wrap("ROIList", ""));
        return;
    }
    docs.emplace_back("32787", analytics());
    docs.emplace_back("32794", wrap("CHList", mask(1, 640, 480, 8, 24, 6, 20) + mask(2, 640, 480, 0, 32, 12, 24) +
                                                  mask(4, 640, 480, 4, 16, 4, 16) + mask(7, 720, 480, 10, 22, 0, 24)));
    docs.emplace_back("32792", objectLoss());
    docs.emplace_back("32796", tripwire());
    docs.emplace_back("32820", wrap("CHList", mask(11, 1280, 720, 12, 20, 4, 14)));
    docs.emplace_back("32811", objectCounting());
}

}  // namespace kv::sim::seed
