// The recording page's "Schedule" tab as data: the week of the shown channel on the week grid,
// the overview of every configured channel, copies of a day or a week, save and cancel.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/prompter.h"
#include "base/lang.h"
#include "base/text.h"
#include "channels/records.h"
#include "link/service_link.h"
#include "recording/records.h"
#include "recording/week_grid.h"

namespace kv::recording {

/// One quarter hour of an overview day: a rectangle of the day's picture.
struct SliceRect {
    double left = 0;
    double width = 0;
    int32_t colour = 0;
    bool operator==(const SliceRect&) const = default;
};

/// The day picture's geometry: a margin, then one rectangle a slot.
inline constexpr double kSliceLeft = 14;
inline constexpr double kSliceWidth = 12.5;
inline constexpr int32_t kSliceOn = kSlotOn;
inline constexpr int32_t kSliceOff = 0xFFFFFF;

/// A row of the overview `gridRec(3)`: a configured channel and its saved week.
struct ScheduleOverviewRow {
    int32_t ch = 0;
    std::string text;  // "CH n [name]"
    std::array<std::vector<SliceRect>, kDays> days;
};

/// The pictures of the tab's buttons (save, cancel).
inline constexpr int kPictureSaveClean = 5, kPictureSaveDirty = 6;
inline constexpr int kPictureCancelClean = 7, kPictureCancelDirty = 8;

namespace schedule_text {
inline constexpr int32_t kNoCamera = 122, kSaveFailed = 579;
}

class RecScheduleTab {
public:
    enum Button { kSave = 0, kCancel = 1 };

    RecScheduleTab(RecSCDLTable& strRecSCDL, const channels::ChannelTables& channels, link::ServiceLink& link,
                   app::Prompter& prompter, const base::Language& lang, std::string title);

    /// The storage check in its warning mode, set by the page; its answer never stops a save.
    std::function<bool()> checkStorageWarning;
    /// A week reached the service (the configuration changed).
    std::function<void()> onConfigChanged;

    /// Every channel's week as the tab has it: paints and copies land here until the save.
    RecSCDLTable working;
    WeekGrid gridRec4{WeekGrid::EmptyDay::kAllOff};
    std::vector<ScheduleOverviewRow> gridRec3;
    std::array<int, 2> imgRecSCDLbtn{kPictureSaveClean, kPictureCancelClean};

    bool dirty() const { return dirty_; }
    /// The channel whose week `gridRec4` shows; 0 when no channel is configured.
    int32_t channel() const { return channel_; }
    /// The weeks changed and not yet on the service.
    bool changed(int32_t ch) const;
    std::vector<int32_t> changedChannels() const;

    /// The shown channel's working week into `gridRec4`.
    void ShowRecSCDL();
    /// After a load: the working copy from `strRecSCDL` unless the tab is dirty, the overview
    /// rebuilt, and a shown channel that lost its camera replaced by the first configured one.
    void Refresh();
    /// Shows channel `ch`; without a camera, message 122 and nothing changes.
    bool SelectChannel(int32_t ch);
    /// The rectangles of one day's picture (`picSlice`): none for an empty day, else one a slot,
    /// green for "1".
    static std::vector<SliceRect> PaintGridSlice(std::string_view day);

    /// The mouse on `gridRec4`; a completed drag stores the grid's week into the working copy and
    /// marks the channel changed and the tab dirty, even when no cell changed.
    bool gridRec4_MouseDown(int button, int x, int y);
    bool gridRec4_MouseMove(int x, int y);
    bool gridRec4_MouseUp(int x, int y);

    /// 0 Save: one 32782 a changed channel, in channel order, then 32813 unless one failed (579,
    /// the failed weeks stay to be saved). 1 Cancel: every working week back from `strRecSCDL`.
    bool imgRecSCDLbtn_Click(int index);

    /// Copies a day of the shown channel onto other days of it. Refused (false, nothing changes)
    /// for a day outside 0..6, an empty list, or a list naming the source day.
    bool CopyDay(int fromDay, const std::vector<int>& toDays);
    /// Copies the shown channel's week onto other channels. Refused (false, nothing changes) for an
    /// empty list, or one naming the shown channel or a channel without a camera.
    bool CopyWeek(const std::vector<int32_t>& toChannels);

    /// A channel was removed (its week already pruned from `strRecSCDL`): its unsaved week and its
    /// overview row go, and the tab moves on to the next configured channel if it showed it.
    void ChannelRemoved(int32_t ch);

private:
    bool configured(int32_t ch) const;
    int32_t nextConfigured(int32_t after, int32_t except) const;
    std::string channelText(int32_t ch) const;
    ScheduleOverviewRow overviewRow(int32_t ch) const;
    void redrawOverviewRow(int32_t ch);
    void rebuildOverview();
    void markChanged(int32_t ch);
    void setDirty(bool d);
    RecSCDLRecord& workingOf(int32_t ch) { return working[static_cast<size_t>(ch - 1)]; }

    RecSCDLTable& strRecSCDL_;
    const channels::ChannelTables& channels_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    base::ChannelFlags changed_{};
    int32_t channel_ = 0;
    bool dirty_ = false;
};

}  // namespace kv::recording
