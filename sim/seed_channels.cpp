// The demo's cameras and the cameras of the network: the channel detail (24582), status (24578)
// and preset documents, detection, search, and the channel writes.
#include "sim/seed_channels.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "app/commands.h"
#include "base/text.h"
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

// A fisheye camera with a PTZ view that shows four panes in "quad" mode.
const CameraModel kQuadFisheye{20, "Panorama Labs", "PL-360Q", 1, 0, 0, 0, 0,
    "h264,h264-jpeg-dual", "h264 jpeg",
    {{"jpeg", 1, 10, 0, {{"1024x768", 0, 5, 0, 0}}},
     {"h264", 1, 10, 1, {{"2048x1536", 1, 4, 3, 8}, {"1024x768", 0, 5, 2, 8}}}},
    "h264", "2048x1536", 4, -1, 1, 6, 20, "", "", 0, 0, true, true, true, "quad", "1O,1P,2P,quad", &kPanoramaLens};

// A device on the network: it answers at its address and HTTP port, and only to its own account.
struct Camera {
    std::string ip;
    int httpPort;
    const CameraModel* model;
    std::string user;
    std::string password;
    std::string deviceName;
    std::string mac;
    bool listed = true;  // found by a search
};

// A device of a maker the service has no driver for: it answers, but cannot be a channel.
const CameraModel kDoorStation{0, "Ostrander", "OS-7 door station", 1, 0, 0, 0, 0, "", "", {}, "", "",
    0, -1, -1, 0, -1, "", "", 0, 0, false, false, false, "", "", nullptr};

bool supported(const CameraModel& m) { return m.brand > 0; }

// The demo's channels; model, account and hardware address come from the camera at the address.
struct ChannelSpec {
    int ch;
    const char* name;
    const char* ip;
    int httpPort;
    int videoNumber;
    int connected;
};

const std::vector<ChannelSpec>& channelSpecs() {
    static const std::vector<ChannelSpec> channels{
        {1, "Entrance", "192.168.10.101", 80, 1, 1},
        {2, "Lobby", "192.168.10.102", 80, 1, 1},
        {3, "Parking North", "192.168.10.103", 80, 1, 1},
        {4, "Warehouse", "192.168.10.104", 80, 1, 1},
        {5, "Loading Bay", "192.168.10.105", 80, 1, 1},
        {6, "Door <A> & \"B\"", "192.168.10.106", 80, 1, 1},
        {7, "Corridor 1F", "192.168.10.107", 80, 1, 1},
        {8, "Roof PTZ", "192.168.10.108", 80, 1, 1},
        {9, "Till 1", "192.168.10.109", 80, 1, 1},
        {10, "Till 2", "192.168.10.110", 80, 1, 0},
        {11, "Bar", "192.168.10.111", 80, 1, 1},
        {12, "Atrium Fisheye", "192.168.10.112", 8080, 1, 1},
        {13, "Encoder In 1", "192.168.10.120", 80, 1, 1},
        {14, "Encoder In 2", "192.168.10.120", 80, 2, 1},
        {15, "Encoder In 3", "192.168.10.120", 80, 3, 1},
        {16, "Encoder In 4", "192.168.10.120", 80, 4, 0},
    };
    return channels;
}

// The full configuration's channels 17 to 64 repeat the single-input cameras of channels 1 to 12.
constexpr int kFullFirst = 17, kFullLast = 64, kSingleInputChannels = 12;

std::string fullAddress(int ch) { return "192.168.11." + std::to_string(ch); }

std::string hexMac(const char* prefix, int n) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s%02X", prefix, n);
    return buf;
}

// Every device on the network: the demo's cameras, free cameras (some of them refuse every account
// a demo knows, one cannot be driven) and the cameras of the full configuration.
const std::vector<Camera>& cameras() {
    static const std::vector<Camera> all = [] {
        std::vector<Camera> out{
            {"192.168.10.101", 80, &kBullet, "admin", "cam-1234", "Entrance", hexMac("00-1C-5A-10-00-", 1)},
            {"192.168.10.101", 8080, &kBullet, "admin", "second-svc", "Entrance (second service)",
             hexMac("00-1C-5A-10-00-", 1)},
            {"192.168.10.102", 80, &kBullet, "admin", "cam-1234", "Lobby", hexMac("00-1C-5A-10-00-", 2), false},
            {"192.168.10.103", 80, &kSpeedDome, "root", "ptz&pass", "Parking North", hexMac("00-1C-5A-10-00-", 3)},
            {"192.168.10.104", 80, &kBox, "admin", "bf-4040", "Warehouse", hexMac("00-1C-5A-10-00-", 4), false},
            {"192.168.10.105", 80, &kBox, "admin", "bf-4040", "Loading Bay", hexMac("00-1C-5A-10-00-", 5), false},
            {"192.168.10.106", 80, &kDome, "service", "hx<d1>", "Door", hexMac("00-1C-5A-10-00-", 6), false},
            {"192.168.10.107", 80, &kDome, "service", "hx<d1>", "Corridor", hexMac("00-1C-5A-10-00-", 7), false},
            {"192.168.10.108", 80, &kSpeedDome, "root", "ptz&pass", "Roof", hexMac("00-1C-5A-10-00-", 8), false},
            {"192.168.10.109", 80, &kCube, "admin", "", "Till 1", hexMac("00-1C-5A-10-00-", 9), false},
            {"192.168.10.110", 80, &kCube, "admin", "", "Till 2", hexMac("00-1C-5A-10-00-", 10), false},
            {"192.168.10.111", 80, &kBullet, "admin", "cam-1234", "Bar", hexMac("00-1C-5A-10-00-", 11), false},
            {"192.168.10.112", 8080, &kFisheye, "admin", "pl360", "Atrium", hexMac("00-1C-5A-10-00-", 12), false},
            // The encoder's four inputs are one device with one address.
            {"192.168.10.120", 80, &kEncoder, "admin", "enc", "Encoder In 1", hexMac("00-1C-5A-10-00-", 0x20)},
            // Free cameras, each on its own port with its own account.
            {"192.168.20.21", 80, &kBullet, "admin", "cv-2100", "Bullet 21", hexMac("00-1C-5A-20-00-", 0x21)},
            {"192.168.20.22", 80, &kBox, "admin", "pw", "Box 22", hexMac("00-1C-5A-20-00-", 0x22)},
            {"192.168.20.23", 8081, &kDome, "service", "hx-d1", "Dome 23", hexMac("00-1C-5A-20-00-", 0x23)},
            {"192.168.20.24", 8080, &kFisheye, "admin", "pl360", "Panorama 24", hexMac("00-1C-5A-20-00-", 0x24)},
            {"192.168.20.25", 80, &kSpeedDome, "root", "nl-ptz30", "Speed dome 25", hexMac("00-1C-5A-20-00-", 0x25)},
            {"192.168.20.26", 8000, &kEncoder, "admin", "qn-8e", "Encoder 26", hexMac("00-1C-5A-20-00-", 0x26)},
            {"192.168.20.27", 8888, &kCube, "admin", "", "Cube 27", hexMac("00-1C-5A-20-00-", 0x27)},
            {"192.168.20.28", 8090, &kQuadFisheye, "admin", "pl-quad", "Fisheye 28", hexMac("00-1C-5A-20-00-", 0x28)},
            {"192.168.20.90", 80, &kBullet, "installer", "k3y-90", "Bullet 90", hexMac("00-1C-5A-20-00-", 0x90)},
            {"192.168.20.92", 80, &kDoorStation, "admin", "admin", "Door station 92", hexMac("00-1C-5A-20-00-", 0x92)},
        };
        const size_t demo = out.size();
        for (int ch = kFullFirst; ch <= kFullLast; ++ch) {
            const ChannelSpec& like = channelSpecs()[static_cast<size_t>((ch - kFullFirst) % kSingleInputChannels)];
            for (size_t i = 0; i < demo; ++i) {
                if (out[i].ip != like.ip || out[i].httpPort != like.httpPort) continue;
                Camera c = out[i];
                c.ip = fullAddress(ch);
                c.deviceName = "Camera " + std::to_string(ch);
                c.mac = hexMac("00-1C-5A-11-00-", ch);
                c.listed = false;  // a search on the demo stays short
                out.push_back(c);
                break;
            }
        }
        return out;
    }();
    return all;
}

// The device answering at that address and port, if any.
const Camera* cameraAt(std::string_view ip, int httpPort) {
    for (const Camera& c : cameras())
        if (c.ip == ip && c.httpPort == httpPort) return &c;
    return nullptr;
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

std::string systemBody(const CameraModel& m, std::string_view user, std::string_view password,
                       const std::string& mac, int videoNumber) {
    return wrap("System", elem("UserName", user) + elem("Password", password) + elem("Manufacturer", m.manufacturer) +
                              elem("Model", m.model) + elem("MACAddress", mac) + elem("NumberVideo", m.numberVideo) +
                              elem("VideoNumber", videoNumber) + elem("RtspPort", 554) + elem("BrandCode", m.brand) +
                              elem("NumberDI", m.numberDI) + elem("NumberDO", m.numberDO) +
                              elem("MotionDetect", m.motionDetect) + elem("DITriggerType", m.diTriggerType));
}

// The current video settings of a model; FMT precedes GOP, since the client decides the GOP
// capability from the format read so far.
std::string videoSettings(const CameraModel& m) {
    return elem("FMT", m.fmt) + elem("Size", m.size) + elem("FPS", m.fps) + elem("Quality", m.quality) +
           elem("RateControl", m.rateControl) + elem("Bitrate", m.bitrate) + elem("GOP", m.gop);
}

// The size lists of every format and the lens modes of a dual-lens camera.
std::string videoCapabilities(const CameraModel& m) {
    std::string video;
    for (const FormatCaps& f : m.formats) video += sizeList(f);
    if (m.lens) {
        video += elem("LensMode", m.lens->lensMode) + elem("LeftDisplayMode", m.lens->leftMode) +
                 elem("RightDisplayMode", m.lens->rightMode) + modeList("LensModeList", m.lens->lensModes) +
                 modeList("LeftDisplayModeList", m.lens->leftModes) +
                 modeList("RightDisplayModeList", m.lens->rightModes);
    }
    return video;
}

std::string audioBody(const CameraModel& m) {
    return wrap("Audio", elem("FMT", m.audioFMT) + elem("FMTList", m.audioList) + elem("CapAudioIn", m.audioIn) +
                             elem("CapAudioOut", m.audioOut));
}

std::string ptzBody(const CameraModel& m) {
    std::string ptz = elem("PTZEnable", m.ptz ? 1 : 0) + elem("PTZABS", m.ptzAbs ? 1 : 0) +
                      elem("SetPreset", m.setPreset ? 1 : 0);
    if (m.ptz) {
        // Move is a bit mask: 4 straight moves, 8 diagonal ones.
        ptz += elem("AutoPan", 1) + elem("SpeedLower", 1) + elem("SpeedUpper", 8) + elem("SpeedStep", 1) +
               elem("Zoom", 1) + elem("Focus", 1) + elem("Iris", 1) + elem("SyncPreset", 1) + elem("Move", 12);
    }
    if (*m.fisheyeModes) ptz += elem("Mode4FishEye", m.fisheyeMode) + elem("ModeList4FishEye", m.fisheyeModes);
    return wrap("PTZ", ptz);
}

std::string channelDetail(int ch, std::string_view name, const Camera& cam, int videoNumber, std::string_view user,
                          std::string_view password) {
    const CameraModel& m = *cam.model;
    // IP comes first: on a reload with an unchanged address the client restores its saved
    // record at IP and lays the later elements over it.
    std::string out = "<CH" + attr("ID", ch) + ">";
    out += elem("IP", cam.ip) + elem("Name", name) + elem("HTTPPort", cam.httpPort) + elem("StartConfig", 0);
    out += systemBody(m, user, password, cam.mac, videoNumber);
    out += wrap("Video", videoSettings(m) + elem("SupportFMT", m.supportFMT) + elem("FMTList", m.fmtList) +
                             videoCapabilities(m));
    out += audioBody(m) + ptzBody(m);
    return out + "</CH>";
}

// A demo channel as stored: its camera's model and account.
std::string channelDetail(int ch, std::string_view name, const Camera& cam, int videoNumber) {
    return channelDetail(ch, name, cam, videoNumber, cam.user, cam.password);
}

std::string statusEntry(int ch, int connected) {
    return "<CH" + attr("ID", ch) + ">" + elem("Connected", connected) + elem("InRecord", connected) +
           elem("RecordMode", 1) + elem("Bitrate", 1024) + elem("FPS", connected ? 15 : 0) + "</CH>";
}

// A camera that can send two streams has a format item of three parts ("h264-jpeg-dual").
bool dualStream(const CameraModel& m) {
    std::string_view rest = m.supportFMT;
    while (!rest.empty()) {
        const size_t comma = rest.find(',');
        const std::string_view item = rest.substr(0, comma);
        if (std::count(item.begin(), item.end(), '-') == 2) return true;
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return false;
}

// A detection's reply: the detail of the model, the format list item by item, and the current
// settings of each stream the camera sends (a second JPEG stream where it can send two).
std::string detectionBody(const CameraModel& m, std::string_view user, std::string_view password,
                          const std::string& mac, int videoNumber) {
    std::string items;
    std::string_view rest = m.fmtList;
    while (!rest.empty()) {
        const size_t blank = rest.find(' ');
        items += elem("FMT", rest.substr(0, blank));
        rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
    }
    std::string streams = wrap("Stream", videoSettings(m));
    if (dualStream(m)) {
        std::string size = m.size;
        for (const FormatCaps& f : m.formats)
            if (std::string_view(f.fmt) == "jpeg" && !f.sizes.empty()) size = f.sizes.back().size;
        streams += wrap("Stream", elem("FMT", "jpeg") + elem("Size", size) + elem("FPS", 3) + elem("Quality", 5) +
                                      elem("RateControl", -1) + elem("Bitrate", 0) + elem("GOP", -1));
    }
    const std::string video = videoSettings(m) + elem("SupportFMT", m.supportFMT) + wrap("FMTList", items) +
                              videoCapabilities(m) + wrap("CurrentSettingsList", streams);
    return systemBody(m, user, password, mac, videoNumber) + wrap("Video", video) + audioBody(m) + ptzBody(m);
}

std::string preset(int id, const char* name, int pan, int tilt, int zoom, int focus) {
    return "<Preset" + attr("Name", name) + attr("PTZABS", 1) + attr("Pan", pan) + attr("Tilt", tilt) +
           attr("Zoom", zoom) + attr("Focus", focus) + ">" + std::to_string(id) + "</Preset>";
}

}  // namespace

const std::vector<DemoChannel>& demoChannels() {
    static const std::vector<DemoChannel> channels = [] {
        std::vector<DemoChannel> out;
        for (const ChannelSpec& c : channelSpecs()) {
            const CameraModel& m = *cameraAt(c.ip, c.httpPort)->model;
            out.push_back({c.ch, c.name, m.numberDI, m.numberDO, m.motionDetect, m.ptz});
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
    std::string detail, status;
    for (const ChannelSpec& c : channelSpecs()) {
        detail += channelDetail(c.ch, c.name, *cameraAt(c.ip, c.httpPort), c.videoNumber);
        status += statusEntry(c.ch, c.connected);
    }
    // Channels 17 to 64 repeat the single-input cameras at their own addresses and names.
    for (int ch = kFullFirst; ch <= kFullLast; ++ch) {
        const ChannelSpec& like = channelSpecs()[static_cast<size_t>((ch - kFullFirst) % kSingleInputChannels)];
        detail += channelDetail(ch, "Camera " + std::to_string(ch), *cameraAt(fullAddress(ch), like.httpPort), 1);
        status += statusEntry(ch, like.connected);
    }
    replaceDocument(docs, "24582", wrap("CHList", detail));
    replaceDocument(docs, "24578", wrap("ChannelStatus", wrap("CHList", status)));
}

void addChannelDocuments(Documents& docs, bool demo) {
    std::string detail;
    std::string status;
    if (demo) {
        for (const ChannelSpec& c : channelSpecs()) {
            detail += channelDetail(c.ch, c.name, *cameraAt(c.ip, c.httpPort), c.videoNumber);
            status += statusEntry(c.ch, c.connected);
        }
    }
    docs.emplace_back("24582", wrap("CHList", detail));
    // The client takes the channel nodes from the first child of the first child.
    docs.emplace_back("24578", wrap("ChannelStatus", wrap("CHList", status)));
    if (demo) {
        // The two speed domes have presets with the positions they were stored at.
        docs.emplace_back(presetKey(3), wrap("PresetList", preset(1, "Gate", 40, 10, 1, 50) +
                                                               preset(2, "Car park", 200, -20, 4, 50)));
        docs.emplace_back(presetKey(8), wrap("PresetList", preset(1, "Roof", 90, 30, 2, 50)));
    }
}

Detection detectCamera(std::string_view ip, int httpPort, std::string_view user, std::string_view password,
                       int videoNumber) {
    const Camera* cam = cameraAt(ip, httpPort);
    if (!cam) return {-5, ""};  // nothing answers at that address and port
    // The service tells what the device is before it logs in to it.
    if (!supported(*cam->model)) return {-3, ""};
    if (user != cam->user || password != cam->password) return {-6, ""};
    const CameraModel& m = *cam->model;
    return {0, detectionBody(m, user, password, cam->mac, std::clamp(videoNumber, 1, m.numberVideo))};
}

std::optional<std::string> cameraEntry(int ch, std::string_view name, std::string_view ip, int httpPort,
                                       int videoNumber, std::string_view user, std::string_view password) {
    const Camera* cam = cameraAt(ip, httpPort);
    if (!cam || !supported(*cam->model)) return std::nullopt;
    return channelDetail(ch, name, *cam, videoNumber, user, password);
}

std::string searchReplyBody() {
    std::string out;
    for (const Camera& c : cameras()) {
        if (!c.listed) continue;
        const CameraModel& m = *c.model;
        out += wrap("Device", elem("IP", c.ip) + elem("NetMask", "255.255.255.0") + elem("HTTPPort", c.httpPort) +
                                  elem("Manufacturer", m.manufacturer) + elem("Model", m.model) +
                                  elem("DeviceType", m.numberVideo > 1 ? "Video server" : "IP camera") +
                                  elem("DeviceName", c.deviceName) + elem("MACAddress", c.mac));
    }
    return out;
}

std::string statusAt(const std::optional<std::string>& statusDoc, int64_t nowSeconds) {
    pugi::xml_document doc;
    if (!statusDoc || !parseBody(doc, *statusDoc)) return wrap("ChannelStatus", wrap("CHList", ""));
    std::string out;
    for (const pugi::xml_node c : bodyRoot(doc).first_child().first_child().children("CH")) {
        const int ch = toInt(c.attribute("ID").value());
        // Each connected channel drops out for 20 seconds in every two minutes, and stops
        // recording for the 20 seconds after, each channel at its own time.
        const int64_t phase = (nowSeconds / 20 + ch) % 6;
        const bool connected = toInt(c.child_value("Connected")) != 0 && phase != 0;
        const bool recording = connected && phase != 1;
        out += "<CH" + attr("ID", ch) + ">" + elem("Connected", connected ? 1 : 0) +
               elem("InRecord", recording ? 1 : 0) + elem("RecordMode", c.child_value("RecordMode")) +
               elem("Bitrate", c.child_value("Bitrate")) + elem("FPS", connected ? 15 : 0) + "</CH>";
    }
    return wrap("ChannelStatus", wrap("CHList", out));
}

std::string presetKey(int ch) { return std::to_string(app::cmd::kGetPresets) + "." + std::to_string(ch); }

std::string positionKey(int ch) { return std::to_string(app::cmd::kGetPtzPosition) + "." + std::to_string(ch); }

std::optional<std::string> channelEntry(const std::optional<std::string>& detailDoc, int ch) {
    pugi::xml_document doc;
    if (!detailDoc || !parseBody(doc, *detailDoc)) return std::nullopt;
    for (const pugi::xml_node c : bodyRoot(doc).child("CHList").children())
        if (toInt(c.attribute("ID").value()) == ch) return serialize(c);
    return std::nullopt;
}

bool ptzChannel(const std::optional<std::string>& detailDoc, int ch) {
    const std::optional<std::string> entry = channelEntry(detailDoc, ch);
    pugi::xml_document doc;
    if (!entry || !parseBody(doc, *entry)) return false;
    const pugi::xml_node c = bodyRoot(doc).first_child();
    return !std::string_view(c.child_value("IP")).empty() && toInt(c.child("PTZ").child_value("PTZEnable")) != 0;
}

}  // namespace kv::sim::seed
