// Recording settings, week schedules and storage of the service.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/text.h"

namespace kv::recording {

/// One recording mode of a channel. `Active` is a flag: -1 on, 0 off (written 1/0).
struct RecModeBlock {
    int16_t FPS = 0;         // 0 "Full", else the index of the frame-rate table
    int16_t IFrameOnly = 0;  // index of "I+P", "I"
    int16_t PreAlarmLength = 0;
    int16_t PostAlarmLength = 0;
    int16_t Active = 0;
    bool operator==(const RecModeBlock&) const = default;
};

/// A channel's recording settings: four modes, the channel-level pre-alarm and the second stream.
struct RecSetRecord {
    int16_t CH = 0;
    RecModeBlock Continuous, Schedule, Event, Manual;
    int16_t PreAlarmLength = 0;  // channel level
    int16_t DualMode = 0;        // 1 records a second stream, 0 does not
    std::string FMT;             // second stream
    std::string Size;
    int16_t FPS = 0;
    int16_t Quality = -1;
    int32_t RateControl = -1;
    int32_t Bitrate = 0;
    int16_t GOP = -1;
    bool Edited = false;  // the page changed the entry and it is to be sent
    bool operator==(const RecSetRecord&) const = default;
};

/// The modes in their wire order.
inline constexpr int kModeCount = 4;
enum Mode : int { kContinuous = 0, kSchedule, kEvent, kManual };
inline RecModeBlock& ModeOf(RecSetRecord& r, int mode) {
    return mode == kContinuous ? r.Continuous : mode == kSchedule ? r.Schedule : mode == kEvent ? r.Event : r.Manual;
}
inline const RecModeBlock& ModeOf(const RecSetRecord& r, int mode) {
    return ModeOf(const_cast<RecSetRecord&>(r), mode);
}

/// A day of 96 quarter hours: "1" on, any other character off.
inline constexpr int kSlotsPerDay = 96;
inline constexpr int kDays = 7;

/// A channel's week: seven day strings, days 0 to 6.
struct RecSCDLRecord {
    int16_t CH = 0;
    std::array<std::string, kDays> Day;
    std::string Spare;  // kept with the entry, never used
    bool operator==(const RecSCDLRecord&) const = default;
};

/// A storage folder. Rows whose mark reads "REMOVE" are not sent.
struct StorageRecord {
    int16_t ID = -1;  // -1: a row that is not sent
    bool Remove = false;
    std::string FilePath;  // always with a closing "\"
    bool operator==(const StorageRecord&) const = default;
};

/// A disk of the service, or a folder of a directory listing (with its modification time).
struct HDPathRecord {
    int16_t ID = -1;  // -1: the blank first entry
    std::string Path;
    double FreeSpaceGB = 0;
    double TotalSpaceGB = 0;
    int32_t ModifyTime = 0;  // seconds since 1970/1/1
    bool operator==(const HDPathRecord&) const = default;
};

using RecSetTable = std::array<RecSetRecord, base::kMaxChannel>;
using RecSCDLTable = std::array<RecSCDLRecord, base::kMaxChannel>;
using StorageList = std::vector<StorageRecord>;
using HDPathList = std::vector<HDPathRecord>;

/// Entry i holds channel i + 1 before anything is read.
inline RecSetTable EmptyRecSetTable() {
    RecSetTable t{};
    for (size_t i = 0; i < t.size(); ++i) t[i].CH = static_cast<int16_t>(i + 1);
    return t;
}
inline RecSCDLTable EmptyRecSCDLTable() {
    RecSCDLTable t{};
    for (size_t i = 0; i < t.size(); ++i) t[i].CH = static_cast<int16_t>(i + 1);
    return t;
}
/// The disk list before a reply: one blank row.
inline HDPathList EmptyHDPathList() { return HDPathList(1); }

/// The recording subject's tables in the session.
struct RecordingTables {
    RecSetTable strRecSet = EmptyRecSetTable();
    RecSCDLTable strRecSCDL = EmptyRecSCDLTable();
    StorageList strStorage;
    int32_t RetainDays = 0;
    int32_t ReservedGB = 0;
    HDPathList strHDPath = EmptyHDPathList();
};

}  // namespace kv::recording
