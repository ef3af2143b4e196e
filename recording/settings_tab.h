// The recording settings tab as data: the channel combo, the frame rate of each mode, the I-frame,
// pre-alarm and post-alarm choices, the mode checks, the second stream, the overview of the modes
// and the save of area 11. The Qt page renders it and forwards actions.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "channels/records.h"
#include "link/service_link.h"
#include "recording/dual_stream.h"
#include "recording/records.h"

namespace kv::base {
class Language;
class Log;
}  // namespace kv::base

namespace kv::recording {

/// Text ids of the tab's titles and messages.
namespace text {
inline constexpr int32_t kEvent = 91, kNoCamera = 122, kContinuous = 142, kSchedule = 143, kManual = 144,
                         kSaveFailed = 579, kSingleStream = 968, kDualStream = 969;
}  // namespace text

/// Pictures of `imgDualModify`: one stream, two streams.
inline constexpr int32_t kPictureOneStream = 17, kPictureTwoStreams = 18;
/// The post-alarm manual recording always has.
inline constexpr int16_t kManualPostAlarm = 10;
/// The choices of the alarm combos, in seconds.
inline constexpr std::array<int16_t, 11> kPreAlarmSeconds = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
inline constexpr std::array<int16_t, 13> kPostAlarmSeconds = {5, 10, 15, 20, 25, 30, 40, 50, 60, 90, 120, 180, 300};
/// The entries of `cmbRecSettingIFrame`, by the value of `IFrameOnly`.
inline constexpr std::array<std::string_view, 2> kIFrameItems = {"I+P", "I"};

/// The buttons of `imgRecsetbtn`.
enum RecSetButton : int { kRecSetSave = 0, kRecSetCancel = 1 };

/// The channel number of a combo entry or an overview cell ("CH 12 [name]", "CH12 [name]"): the
/// text before the first "[" with the prefix "CH" dropped; 0 when there is no number.
int32_t ChannelOfItem(std::string_view item);
/// The default choices with `value` added in order when it is not one of them.
std::vector<int16_t> ValuesWith(std::span<const int16_t> defaults, int16_t value);

/// A row of `gridRecSetTmp`: a configured channel and its four modes as the save checks them.
struct RecSetGridRow {
    int16_t CH = 0;
    std::array<RecModeBlock, kModeCount> modes{};
    bool operator==(const RecSetGridRow&) const = default;
};

/// The "Recording settings" tab. `strRecSetTmp` is the working store: edits land in it with
/// `Edited` set and reach `strRecSet` and the service only through the save.
class RecSettingTab {
public:
    RecSettingTab(RecSetTable& strRecSet, const channels::ChannelTables& channels, link::ServiceLink& link,
                  app::Prompter& prompter, const base::Language& lang, std::string title);

    // Page state.
    RecSetTable strRecSetTmp = EmptyRecSetTable();
    app::ComboBox cmbRecSetting_CH;  // "CH n [name]" for every configured channel up to the count
    std::array<app::ComboBox, kModeCount> cmbRecSettingFPS;  // by mode: "Full", "1", "5", "10", "15", "20"
    app::ComboBox cmbRecSettingIFrame;                        // "I+P", "I"
    app::ComboBox cmbRecSettingPreAlarm;                      // seconds
    app::ComboBox cmbRecSettingPostAlarm;                     // seconds
    std::array<bool, 2> chkRecSetting{};                      // Continuous, Schedule
    int optRecordingVideo = 0;                                // 0 one stream, 1 two
    int32_t imgDualModify = kPictureOneStream;
    std::string lbDualStream;  // "Single Stream" or "Dual Stream"; empty without a channel
    std::vector<RecSetGridRow> gridRecSetTmp;
    /// The overview: a title row ("CH" and the four modes), then one row a configured channel
    /// with "O" or "X" for each mode.
    std::vector<std::vector<std::string>> gridRec2;
    bool bFilling = false;                 // the tab fills its controls: changes are not edits
    std::array<bool, 2> imgRecsetbtn{};    // save, cancel offered
    /// The second-stream dialog while it is open.
    std::optional<FormRECDetailSetting> dualDialog;

    /// Area 11: a working entry has changes the service has not taken.
    bool dirty() const;
    /// The channel shown, 0 for none.
    int32_t channel() const;

    /// Opening or refreshing: `strRecSet` over the working entries (unsent edits stay), the channel
    /// combo refilled (the shown channel kept while it is configured, else the first) and the
    /// fields shown.
    void ShowRecInfo();
    /// The fields of the shown channel's working entry; empty fields without a channel.
    void ShowRecSetting();
    /// Redraws the overview `gridRec2` from the working entries.
    void ShoeRecSCDLDetail();

    bool cmbRecSetting_CH_Click(int item);
    /// Shows channel `ch`; false when the combo does not offer it.
    bool SelectChannel(int32_t ch);
    bool cmbRecSettingFPS_Click(int mode, int item);
    bool cmbRecSettingIFrame_Click(int item);
    bool cmbRecSettingPreAlarm_Click(int item);
    bool cmbRecSettingPostAlarm_Click(int item);
    bool chkRecSetting_Click(int i, bool on);
    bool optRecordingVideo_Click(int i);
    /// Moves the combo to the channel of overview row `row` (from 1); a channel without a camera
    /// shows 122.
    bool gridRec2_RightClick(int row);

    /// Builds `gridRecSetTmp` from the configured channels and forces the triggered modes on in
    /// their working entries; false when there is no row.
    bool CheckRecordingSetting();
    /// 0 save, 1 cancel.
    bool imgRecsetbtn_Click(int index);
    /// The save of area 11: one 32784 per edited entry, in channel order. A refused entry stays
    /// edited, 579 is shown once and the result is false; with no configured channel nothing goes
    /// out and the result is false. The reload after it is the caller's.
    bool SaveSetting() { return imgRecsetbtn_Click(kRecSetSave); }

    /// Opens the second-stream dialog for the shown channel when it records two streams.
    bool imgDualModify_Click();
    /// The dialog's store button: its values into the working entry, which becomes edited; the
    /// dialog closes.
    bool dualDialogCommit(base::Log* log);
    /// The dialog closed without storing: the working entry keeps what it had.
    void dualDialogCancel() { dualDialog.reset(); }

    /// The channel page changes a format the camera cannot send beside a second stream: DualMode 0
    /// and 32784 for that channel at once. When the send fails the working entry keeps the change,
    /// edited, for the next save.
    bool SwitchDualModeOff(int32_t ch);
    /// A removed channel: the tab refreshed, moved off the channel when it showed it, then saved.
    void ChannelRemoved(int32_t ch);

private:
    int32_t channelCount() const;
    bool configured(int32_t ch) const;
    RecSetRecord* shownEntry();
    void fillChannelCombo();
    /// Empties the fields (no channel to show).
    void CleanRecSetFirld();
    void fillAlarmCombo(app::ComboBox& combo, std::span<const int16_t> defaults, int16_t value);
    bool selectItem(int32_t ch);
    void edited(RecSetRecord& e);
    void updateButtons();
    bool save();
    void cancel();

    RecSetTable& strRecSet_;
    const channels::ChannelTables& channels_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
};

}  // namespace kv::recording
