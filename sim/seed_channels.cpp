// The demo's cameras: the channel detail (24582) and the channel status (24578) documents.
#include <cstdio>

#include "sim/seed_internal.h"

namespace kv::sim::seed {
namespace {

// One picture size of a format: bounds into the frame-rate and bit-rate tables.
struct SizeItem {
    const char* size;
    int fpsLower, fpsUpper, bitrateLower, bitrateUpper;
};

struct FormatCaps {
    const char* fmt;  // "jpeg", "mpeg4" or "h264": the client picks its lists by this text
    int qualityLower, qualityUpper;
    int rateControl;  // rate control can be chosen
    std::vector<SizeItem> sizes;
};

struct LensModes {
    const char* lensModes;  // comma lists, one <Mode> child per item on the wire
    const char* lensMode;
    const char* leftModes;
    const char* leftMode;
    const char* rightModes;
    const char* rightMode;
};

// What a camera model offers and the settings a channel of it runs with.
struct CameraModel {
    int brand;
    const char* manufacturer;
    const char* model;
    int numberVideo;
    int numberDI, numberDO, diTriggerType, motionDetect;
    const char* supportFMT;
    const char* fmtList;  // blank-separated: the client turns blanks into commas
    std::vector<FormatCaps> formats;
    const char* fmt;
    const char* size;
    int fps, quality, rateControl, bitrate, gop;
    const char* audioFMT;
    const char* audioList;
    int audioIn, audioOut;
    bool ptz, ptzAbs, setPreset;
    const char* fisheyeMode;
    const char* fisheyeModes;
    const LensModes* lens;
};

// Dual-lens camera of brand 20: the only brand whose lens and display modes the client shows.
const LensModes kPanoramaLens{"left,right,both,auto", "both", "1O,1P,2P", "1P", "1O,1R,4R", "1R"};

const CameraModel kBullet{1, "Corvid Optics", "CV-2100", 1, 1, 1, 7, 1,
    "jpeg,h264,h264-jpeg-dual", "jpeg h264",
    {{"jpeg", 1, 10, 0, {{"1920x1080", 1, 3, 0, 0}, {"1280x720", 0, 5, 0, 0}, {"640x360", 0, 5, 0, 0}}},
     {"h264", 1, 10, 1, {{"1920x1080", 0, 5, 3, 8}, {"1280x720", 0, 5, 2, 8}, {"640x360", 0, 5, 1, 6}}}},
    "h264", "1920x1080", 0, -1, 1, 7, 30, "g711", "g711 g726", 1, 1, false, false, false, "", "", nullptr};

// Brand 3 counts its quality values from one less; the client corrects the selection for it.
const CameraModel kBox{3, "Brightfield", "BF-M40", 1, 1, 0, 3, 0,
    "jpeg,mpeg4", "jpeg mpeg4",
    {{"jpeg", 1, 5, 0, {{"1280x1024", 1, 4, 0, 0}, {"640x480", 0, 5, 0, 0}}},
     {"mpeg4", 1, 5, 1, {{"1280x1024", 1, 4, 2, 7}, {"640x480", 0, 5, 1, 6}}}},
    "mpeg4", "640x480", 4, 3, 0, 0, 15, "", "", 0, 0, false, false, false, "", "", nullptr};

// Sizes with alternatives: the client shows the first and keeps the whole item.
const CameraModel kDome{7, "Helix Vision", "HX-D1", 1, 0, 0, 0, 0,
    "jpeg,mpeg4", "jpeg mpeg4",
    {{"jpeg", 1, 8, 0, {{"720x480||D1", 0, 5, 0, 0}, {"352x240||CIF", 0, 5, 0, 0}}},
     {"mpeg4", 1, 8, 1, {{"720x480||D1", 0, 5, 1, 6}, {"352x240||CIF", 0, 5, 1, 4}}}},
    "jpeg", "720x480||D1", 0, 6, -1, 0, -1, "g711", "g711", 1, 0, false, false, false, "", "", nullptr};

const CameraModel kSpeedDome{11, "Nordlicht", "NL-PTZ30", 1, 0, 1, 0, 1,
    "jpeg,h264,h264-jpeg-dual", "jpeg h264",
    {{"jpeg", 1, 10, 0, {{"1280x720", 1, 3, 0, 0}}},
     {"h264", 1, 10, 1, {{"1920x1080", 0, 5, 3, 8}, {"1280x720", 0, 5, 2, 8}}}},
    "h264", "1280x720", 0, -1, 1, 6, 25, "", "", 0, 0, true, true, true, "", "", nullptr};

const CameraModel kCube{2, "Sablewood", "SW-220", 1, 0, 0, 0, 0,
    "mjpeg,h264", "mjpeg h264",
    {{"jpeg", 1, 5, 0, {{"800x600", 0, 5, 0, 0}, {"640x480", 0, 5, 0, 0}}},
     {"h264", 1, 5, 0, {{"800x600", 0, 5, 1, 5}, {"640x480", 0, 5, 1, 4}}}},
    "mjpeg", "800x600", 3, 4, -1, 0, -1, "", "", 0, 0, false, false, false, "", "", nullptr};

const CameraModel kFisheye{20, "Panorama Labs", "PL-360F", 1, 0, 0, 0, 0,
    "h264", "h264",
    {{"h264", 1, 10, 1, {{"2048x1536", 1, 4, 3, 8}, {"1024x768", 0, 5, 2, 8}}}},
    "h264", "2048x1536", 4, -1, 1, 6, 20, "", "", 0, 0, false, false, false, "1O", "1O,1P,2P,4R", &kPanoramaLens};

// A four-input video encoder: four channels on one address, told apart by VideoNumber.
const CameraModel kEncoder{24, "Quillon", "QN-8E", 4, 4, 2, 1, 0,
    "mpeg4,h264", "mpeg4 h264",
    {{"mpeg4", 1, 10, 1, {{"720x480", 0, 5, 1, 6}, {"352x240", 0, 5, 1, 4}}},
     {"h264", 1, 10, 1, {{"720x480", 0, 5, 1, 6}, {"352x240", 0, 5, 1, 4}}}},
    "h264", "720x480", 0, -1, 1, 5, 30, "g711", "g711", 1, 0, false, false, false, "", "", nullptr};

struct ChannelSpec {
    int ch;
    const char* name;
    const CameraModel* model;
    const char* ip;
    int httpPort;
    int videoNumber;
    const char* user;
    const char* password;
    int connected;
};

const std::vector<ChannelSpec>& channelSpecs() {
    static const std::vector<ChannelSpec> channels{
        {1, "Entrance", &kBullet, "192.168.10.101", 80, 1, "admin", "cam-1234", 1},
        {2, "Lobby", &kBullet, "192.168.10.102", 80, 1, "admin", "cam-1234", 1},
        {3, "Parking North", &kSpeedDome, "192.168.10.103", 80, 1, "root", "ptz&pass", 1},
        {4, "Warehouse", &kBox, "192.168.10.104", 80, 1, "admin", "bf-4040", 1},
        {5, "Loading Bay", &kBox, "192.168.10.105", 80, 1, "admin", "bf-4040", 1},
        {6, "Door <A> & \"B\"", &kDome, "192.168.10.106", 80, 1, "service", "hx<d1>", 1},
        {7, "Corridor 1F", &kDome, "192.168.10.107", 80, 1, "service", "hx<d1>", 1},
        {8, "Roof PTZ", &kSpeedDome, "192.168.10.108", 80, 1, "root", "ptz&pass", 1},
        {9, "Till 1", &kCube, "192.168.10.109", 80, 1, "admin", "", 1},
        {10, "Till 2", &kCube, "192.168.10.110", 80, 1, "admin", "", 0},
        {11, "Bar", &kBullet, "192.168.10.111", 80, 1, "admin", "cam-1234", 1},
        {12, "Atrium Fisheye", &kFisheye, "192.168.10.112", 8080, 1, "admin", "pl360", 1},
        {13, "Encoder In 1", &kEncoder, "192.168.10.120", 80, 1, "admin", "enc", 1},
        {14, "Encoder In 2", &kEncoder, "192.168.10.120", 80, 2, "admin", "enc", 1},
        {15, "Encoder In 3", &kEncoder, "192.168.10.120", 80, 3, "admin", "enc", 1},
        {16, "Encoder In 4", &kEncoder, "192.168.10.120", 80, 4, "admin", "enc", 0},
    };
    return channels;
}

std::string macOf(const ChannelSpec& c) {
    // The encoder's four channels are one device and share its address.
    const int n = c.model == &kEncoder ? 0x20 : c.ch;
    char buf[32];
    std::snprintf(buf, sizeof buf, "00-1C-5A-10-00-%02X", n);
    return buf;
}

std::string modeList(const char* tag, const char* commaList) {
    std::string out = "<" + std::string(tag) + ">";
    std::string_view rest = commaList;
    while (!rest.empty()) {
        const size_t comma = rest.find(',');
        out += elem("Mode", rest.substr(0, comma));
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return out + "</" + tag + ">";
}

std::string sizeList(const FormatCaps& f) {
    std::string out = "<SizeList" + attr("FMT", f.fmt) + attr("QualityLower", f.qualityLower) +
                      attr("QualityUpper", f.qualityUpper) + attr("RateControl", f.rateControl) + ">";
    // The client reads the four bounds of a size by position, in this order.
    for (const SizeItem& s : f.sizes) {
        out += "<Size" + attr("FPSLower", s.fpsLower) + attr("FPSUpper", s.fpsUpper) +
               attr("BitrateLower", s.bitrateLower) + attr("BitrateUpper", s.bitrateUpper) + ">" +
               esc(s.size) + "</Size>";
    }
    return out + "</SizeList>";
}

std::string channelDetail(const ChannelSpec& c) {
    const CameraModel& m = *c.model;
    // IP comes first: on a reload with an unchanged address the client restores its saved
    // record at IP and lays the later elements over it.
    std::string out = "<CH" + attr("ID", c.ch) + ">";
    out += elem("IP", c.ip) + elem("Name", c.name) + elem("HTTPPort", c.httpPort) + elem("StartConfig", 0);
    out += wrap("System", elem("UserName", c.user) + elem("Password", c.password) +
                              elem("Manufacturer", m.manufacturer) + elem("Model", m.model) +
                              elem("MACAddress", macOf(c)) + elem("NumberVideo", m.numberVideo) +
                              elem("VideoNumber", c.videoNumber) + elem("RtspPort", 554) +
                              elem("BrandCode", m.brand) + elem("NumberDI", m.numberDI) +
                              elem("NumberDO", m.numberDO) + elem("MotionDetect", m.motionDetect) +
                              elem("DITriggerType", m.diTriggerType));
    // FMT precedes GOP: the client decides the GOP capability from the format read so far.
    std::string video = elem("FMT", m.fmt) + elem("Size", m.size) + elem("FPS", m.fps) +
                        elem("Quality", m.quality) + elem("RateControl", m.rateControl) +
                        elem("Bitrate", m.bitrate) + elem("GOP", m.gop) + elem("SupportFMT", m.supportFMT) +
                        elem("FMTList", m.fmtList);
    for (const FormatCaps& f : m.formats) video += sizeList(f);
    if (m.lens) {
        video += elem("LensMode", m.lens->lensMode) + elem("LeftDisplayMode", m.lens->leftMode) +
                 elem("RightDisplayMode", m.lens->rightMode) + modeList("LensModeList", m.lens->lensModes) +
                 modeList("LeftDisplayModeList", m.lens->leftModes) +
                 modeList("RightDisplayModeList", m.lens->rightModes);
    }
    out += wrap("Video", video);
    out += wrap("Audio", elem("FMT", m.audioFMT) + elem("FMTList", m.audioList) + elem("CapAudioIn", m.audioIn) +
                             elem("CapAudioOut", m.audioOut));
    std::string ptz = elem("PTZEnable", m.ptz ? 1 : 0) + elem("PTZABS", m.ptzAbs ? 1 : 0) +
                      elem("SetPreset", m.setPreset ? 1 : 0);
    if (m.ptz) {
        ptz += elem("AutoPan", 1) + elem("SpeedLower", 1) + elem("SpeedUpper", 8) + elem("SpeedStep", 1) +
               elem("Zoom", 1) + elem("Focus", 1) + elem("Iris", 1) + elem("SyncPreset", 1) + elem("Move", 1);
    }
    if (*m.fisheyeModes) ptz += elem("Mode4FishEye", m.fisheyeMode) + elem("ModeList4FishEye", m.fisheyeModes);
    out += wrap("PTZ", ptz);
    return out + "</CH>";
}

}  // namespace

const std::vector<DemoChannel>& demoChannels() {
    static const std::vector<DemoChannel> channels = [] {
        std::vector<DemoChannel> out;
        for (const ChannelSpec& c : channelSpecs()) {
            out.push_back({c.ch, c.name, c.model->numberDI, c.model->numberDO, c.model->motionDetect, c.model->ptz});
        }
        return out;
    }();
    return channels;
}

void replaceDocument(Documents& docs, const std::string& key, std::string body) {
    for (auto& [k, v] : docs) {
        if (k == key) {
            v = std::move(body);
            return;
        }
    }
    docs.emplace_back(key, std::move(body));
}

void replaceWithFullChannels(Documents& docs) {
    // Channels 17 to 64 repeat the demo's cameras at their own addresses and names.
    static const std::vector<std::string> names = [] {
        std::vector<std::string> out;
        for (int ch = 17; ch <= 64; ++ch) out.push_back("Camera " + std::to_string(ch));
        return out;
    }();
    static const std::vector<std::string> addresses = [] {
        std::vector<std::string> out;
        for (int ch = 17; ch <= 64; ++ch) out.push_back("192.168.11." + std::to_string(ch));
        return out;
    }();
    std::vector<ChannelSpec> all = channelSpecs();
    for (int ch = 17; ch <= 64; ++ch) {
        ChannelSpec c = channelSpecs()[static_cast<size_t>((ch - 17) % 12)];  // the single-input cameras
        c.ch = ch;
        c.name = names[static_cast<size_t>(ch - 17)].c_str();
        c.ip = addresses[static_cast<size_t>(ch - 17)].c_str();
        c.videoNumber = 1;
        all.push_back(c);
    }
    std::string detail, status;
    for (const ChannelSpec& c : all) {
        detail += channelDetail(c);
        status += "<CH" + attr("ID", c.ch) + ">" + elem("Connected", c.connected) + elem("InRecord", c.connected) +
                  elem("RecordMode", 1) + elem("Bitrate", 1024) + elem("FPS", c.connected ? 15 : 0) + "</CH>";
    }
    replaceDocument(docs, "24582", wrap("CHList", detail));
    replaceDocument(docs, "24578", wrap("ChannelStatus", wrap("CHList", status)));
}

void addChannelDocuments(Documents& docs, bool demo) {
    std::string detail;
    std::string status;
    if (demo) {
        for (const ChannelSpec& c : channelSpecs()) {
            detail += channelDetail(c);
            status += "<CH" + attr("ID", c.ch) + ">" + elem("Connected", c.connected) +
                      elem("InRecord", c.connected) + elem("RecordMode", 1) + elem("Bitrate", 1024) +
                      elem("FPS", c.connected ? 15 : 0) + "</CH>";
        }
    }
    docs.emplace_back("24582", wrap("CHList", detail));
    // The client takes the channel nodes from the first child of the first child.
    docs.emplace_back("24578", wrap("ChannelStatus", wrap("CHList", status)));
}

}  // namespace kv::sim::seed
