// The channel record (64 slots), presets, cameras found by a search, and the video value tables.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kv::channels {

inline constexpr int kChannelSlots = 64;

/// Frame rates by table index; records hold the index.
inline constexpr std::array<std::string_view, 6> kFpsTable = {"Full", "1", "5", "10", "15", "20"};
/// Bit rates by table index; records hold the index.
inline constexpr std::array<std::string_view, 9> kBitrateTable = {"Full",  "64k",   "128k",  "256k", "512k",
                                                                  "768k",  "1024k", "1536k", "2048k"};

/// Index of the per-format fields: 0 JPEG ("jpeg", "mjpeg"), 1 MPEG-4, 2 H.264.
inline constexpr int kJpeg = 0, kMpeg4 = 1, kH264 = 2;
/// Streams of a detection reply's current settings.
inline constexpr int kStreams = 3;

/// One channel. A slot is configured exactly when `IP` is not empty. Flags are true where the
/// service's records hold -1.
struct ChannelRecord {
    int16_t BrandCode = 0;  // 20: lens and display modes; 3: the quality off-by-one
    int16_t CH = 0;         // 1..64; 0 in an empty slot
    bool CapAudioOut = false;
    int32_t HTTPPort = 0;
    int32_t RtspPort = 0;
    int32_t EditTime = 0;  // seconds since 1970/1/1 of the last edit, local clock
    std::string AudioFMT;  // a format, or a comma list of formats
    std::string Manufacturer;
    std::string IP;
    std::string MACAddress;
    std::string Name;
    std::string Password;
    std::string Model;
    std::string UserName;
    std::string LensModeList;
    std::string LensMode;
    std::string LeftDisplayModeList;
    std::string LeftDisplayMode;
    std::string RightDisplayModeList;
    std::string RightDisplayMode;
    int16_t NumberVideo = 0;  // video sources the device offers
    int16_t VideoNumber = 0;  // the source this channel uses
    int16_t FPS = 0;          // index into kFpsTable
    int16_t Quality = 0;      // -1: does not apply
    int16_t RateControl = 0;  // 0 VBR, 1 CBR, -1 N/A
    int16_t Bitrate = 0;      // index into kBitrateTable
    int16_t GOP = 0;          // -1: does not apply
    std::string FMT;          // "jpeg", "mjpeg", "mpeg4" or "h264"
    std::string FMTList;      // comma list
    std::array<std::string, kStreams> FMTItem;  // detection only
    std::string SupportFMT;
    std::string Size;
    std::array<std::string, kStreams> CurFMT;
    std::array<std::string, kStreams> CurSize;
    std::array<int16_t, kStreams> CurFPS{};
    std::array<int16_t, kStreams> CurQuality{};
    std::array<std::string, kStreams> CurRateControl;
    std::array<int16_t, kStreams> CurBitrate{};
    std::array<int16_t, kStreams> CurGOP{};
    std::array<int16_t, 3> QualityUpper{};  // per format
    std::array<int16_t, 3> QualityLower{};
    std::array<bool, 3> RateControlCap{};
    // Per format and per size (item i of the format's size list): bounds into the tables.
    std::vector<int16_t> FPSUpper_JPEG, FPSLower_JPEG, FPSUpper_MPEG4, FPSLower_MPEG4, FPSUpper_H264, FPSLower_H264;
    std::vector<int16_t> BitrateUpper_JPEG, BitrateLower_JPEG, BitrateUpper_MPEG4, BitrateLower_MPEG4,
        BitrateUpper_H264, BitrateLower_H264;
    std::string SizeListAll;  // no reply fills it; where set it replaces the format's list
    std::string SizeList_JPEG, SizeList_MPEG4, SizeList_H264;
    std::array<bool, 3> GOPCap{};
    bool CapAudioIn = false;
    bool PTZEnable = false;
    bool PTZABS = false;
    int16_t SpeedUpper = 0, SpeedLower = 0, SpeedStep = 0;
    int16_t AutoPan = 0, Zoom = 0, Focus = 0, Iris = 0;
    int16_t Move = 0;  // bit mask: 8 diagonal moves, 4 straight moves
    bool SetPreset = false;
    std::string ModeList4FishEye;
    std::string Mode4FishEye;
    std::vector<std::string> FishEyeModes;
    int32_t Connected = 0;  // from the status poll
    int32_t InRecord = 0;
    bool SaveFlag = false;
    bool ChannelEdited = false;  // taken from the page and not saved yet
    int32_t StartConfig = 0;     // nonzero: the service pushes the settings to the camera
    int16_t NumberDI = 0, NumberDO = 0;
    int16_t SyncPreset = 0;
    int16_t MotionDetect = 0;
    bool DILow = false, DIHigh = false, DIEdge = false;  // bits 0, 1, 2 of DITriggerType

    bool configured() const { return !IP.empty(); }
    bool operator==(const ChannelRecord&) const = default;
};

/// Slot n holds channel n+1.
using ChannelTable = std::array<ChannelRecord, kChannelSlots>;

/// The address a channel without one is written with.
inline constexpr const char* kNoMACAddress = "00-00-00-00-00-00";

/// CleanMyCH: the fresh record of slot `slot` (0-based) on the channel page.
ChannelRecord CleanMyCH(int slot);

struct PresetRecord {
    int16_t ID = -1;  // -1: the blank entry of an empty list
    std::string Name;
    bool PTZABS = false;  // the position below is absolute
    std::string Pan, Tilt, Zoom, Focus;
    bool operator==(const PresetRecord&) const = default;
};
using PresetList = std::vector<PresetRecord>;
inline PresetList EmptyPresetList() { return PresetList(1); }
inline bool NoPresets(const PresetList& l) { return l.empty() || (l.size() == 1 && l[0].ID < 0); }
/// The list is full at an upper bound of 7: eight presets.
inline constexpr size_t kPresetLimit = 8;

/// A camera found by the service's search.
struct SearchCamRecord {
    std::string IP;
    std::string NetMask;
    int32_t HTTPPort = 0;
    std::string Manufacturer;
    std::string Model;
    std::string DeviceType;
    std::string DeviceName;
    std::string MACAddress;
    bool operator==(const SearchCamRecord&) const = default;
};
/// Entry 0 is blank before a search.
using SearchCamList = std::vector<SearchCamRecord>;

/// The channel subject's tables in the session.
struct ChannelTables {
    int32_t iMaxChannel = 64;  // the server's channel count
    ChannelTable strCH{};
    /// The presets of the channel the PTZ panel shows.
    PresetList strPreset = EmptyPresetList();
    SearchCamList strSearchCam = SearchCamList(1);
    /// The preset lists of every PTZ channel, by channel: the command-line client reads them all.
    std::map<int32_t, PresetList> presetLists;
};

}  // namespace kv::channels
