// The Schedule tab: the working copy of the weeks, the grids drawn from it, copies, save, cancel.
#include "recording/schedule_tab.h"

#include <algorithm>

#include "app/commands.h"
#include "app/protocol.h"
#include "recording/save.h"

namespace kv::recording {

RecScheduleTab::RecScheduleTab(RecSCDLTable& strRecSCDL, const channels::ChannelTables& channels,
                               link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                               std::string title)
    : working(strRecSCDL), strRecSCDL_(strRecSCDL), channels_(channels), link_(link), prompter_(prompter),
      lang_(lang), title_(std::move(title)) {
    Refresh();
}

bool RecScheduleTab::configured(int32_t ch) const {
    const int32_t count = std::min<int32_t>(channels_.iMaxChannel, base::kMaxChannel);
    return ch >= 1 && ch <= count && channels_.strCH[static_cast<size_t>(ch - 1)].configured();
}

int32_t RecScheduleTab::nextConfigured(int32_t after, int32_t except) const {
    // The channels after `after`, then from the first one round again.
    for (int32_t i = 1; i <= base::kMaxChannel; ++i) {
        const int32_t ch = (after + i - 1) % base::kMaxChannel + 1;
        if (ch != except && configured(ch)) return ch;
    }
    return 0;
}

bool RecScheduleTab::changed(int32_t ch) const {
    return ch >= 1 && ch <= base::kMaxChannel && changed_[static_cast<size_t>(ch - 1)];
}

std::vector<int32_t> RecScheduleTab::changedChannels() const {
    std::vector<int32_t> out;
    for (int32_t ch = 1; ch <= base::kMaxChannel; ++ch)
        if (changed_[static_cast<size_t>(ch - 1)]) out.push_back(ch);
    return out;
}

std::string RecScheduleTab::channelText(int32_t ch) const {
    return "CH " + std::to_string(ch) + " [" + channels_.strCH[static_cast<size_t>(ch - 1)].Name + "]";
}

std::vector<SliceRect> RecScheduleTab::PaintGridSlice(std::string_view day) {
    std::vector<SliceRect> out;
    if (day.empty()) return out;
    out.reserve(kSlotsPerDay);
    // Slots count from 0 here so that the first quarter starts at the margin.
    for (size_t slot = 0; slot < static_cast<size_t>(kSlotsPerDay); ++slot) {
        const bool on = slot < day.size() && day[slot] == '1';
        out.push_back({kSliceLeft + static_cast<double>(slot) * kSliceWidth, kSliceWidth, on ? kSliceOn : kSliceOff});
    }
    return out;
}

ScheduleOverviewRow RecScheduleTab::overviewRow(int32_t ch) const {
    // The overview shows what the service has: the saved table, not the working copy.
    ScheduleOverviewRow row{ch, channelText(ch), {}};
    const RecSCDLRecord& saved = strRecSCDL_[static_cast<size_t>(ch - 1)];
    for (size_t d = 0; d < static_cast<size_t>(kDays); ++d) row.days[d] = PaintGridSlice(saved.Day[d]);
    return row;
}

void RecScheduleTab::rebuildOverview() {
    gridRec3.clear();
    for (int32_t ch = 1; ch <= base::kMaxChannel; ++ch)
        if (configured(ch)) gridRec3.push_back(overviewRow(ch));
}

void RecScheduleTab::redrawOverviewRow(int32_t ch) {
    for (ScheduleOverviewRow& row : gridRec3)
        if (row.ch == ch) row = overviewRow(ch);
}

void RecScheduleTab::ShowRecSCDL() {
    if (channel_ >= 1 && channel_ <= base::kMaxChannel) gridRec4.Load(workingOf(channel_).Day);
    else gridRec4.Load({});
}

void RecScheduleTab::Refresh() {
    if (!dirty_) {
        working = strRecSCDL_;
        changed_.fill(false);
    }
    rebuildOverview();
    if (!configured(channel_)) channel_ = nextConfigured(0, 0);
    gridRec4.CancelDrag();
    ShowRecSCDL();
}

bool RecScheduleTab::SelectChannel(int32_t ch) {
    if (!configured(ch)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(schedule_text::kNoCamera), title_);
        return false;
    }
    // Every week lives in the working copy, so switching loses nothing and needs no question.
    channel_ = ch;
    gridRec4.CancelDrag();
    ShowRecSCDL();
    return true;
}

void RecScheduleTab::setDirty(bool d) {
    dirty_ = d;
    imgRecSCDLbtn = d ? std::array<int, 2>{kPictureSaveDirty, kPictureCancelDirty}
                      : std::array<int, 2>{kPictureSaveClean, kPictureCancelClean};
}

void RecScheduleTab::markChanged(int32_t ch) {
    workingOf(ch).CH = static_cast<int16_t>(ch);
    changed_[static_cast<size_t>(ch - 1)] = true;
    setDirty(true);
}

bool RecScheduleTab::gridRec4_MouseDown(int button, int x, int y) {
    if (channel_ == 0) return false;
    return gridRec4.MouseDown(button, x, y);
}

bool RecScheduleTab::gridRec4_MouseMove(int x, int y) { return gridRec4.MouseMove(x, y); }

bool RecScheduleTab::gridRec4_MouseUp(int x, int y) {
    if (!gridRec4.MouseUp(x, y) || channel_ == 0) return false;
    workingOf(channel_).Day = gridRec4.Days();
    markChanged(channel_);
    return true;
}

bool RecScheduleTab::imgRecSCDLbtn_Click(int index) {
    if (index == kCancel) {
        working = strRecSCDL_;
        changed_.fill(false);
        gridRec4.CancelDrag();
        ShowRecSCDL();
        setDirty(false);
        return true;
    }
    if (index != kSave) return false;
    if (!dirty_) return true;
    if (checkStorageWarning) checkStorageWarning();  // it warns; the schedule is saved all the same
    bool failed = false, reached = false;
    for (const int32_t ch : changedChannels()) {
        RecSCDLRecord week = workingOf(ch);
        week.CH = static_cast<int16_t>(ch);
        if (!SaveRecSCDL_Setting(link_, week)) {
            failed = true;  // the week stays changed and goes out with the next save
            continue;
        }
        strRecSCDL_[static_cast<size_t>(ch - 1)] = week;
        changed_[static_cast<size_t>(ch - 1)] = false;
        redrawOverviewRow(ch);
        reached = true;
    }
    if (reached && onConfigChanged) onConfigChanged();
    if (failed) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(schedule_text::kSaveFailed), title_);
        return false;
    }
    setDirty(false);
    // The service hears that schedules were saved; nobody waits for its answer.
    link_.SendCommand(0, false, app::CommandC(app::cmd::kSettingsSaved));
    return true;
}

bool RecScheduleTab::CopyDay(int fromDay, const std::vector<int>& toDays) {
    if (channel_ == 0 || fromDay < 0 || fromDay >= kDays || toDays.empty()) return false;
    for (const int d : toDays)
        if (d < 0 || d >= kDays || d == fromDay) return false;
    // The week as the grid shows it (96 characters a day), as a paint stores it, not a short
    // string the service may have sent.
    RecSCDLRecord& week = workingOf(channel_);
    week.Day = gridRec4.Days();
    for (const int d : toDays) week.Day[static_cast<size_t>(d)] = week.Day[static_cast<size_t>(fromDay)];
    markChanged(channel_);
    ShowRecSCDL();
    return true;
}

bool RecScheduleTab::CopyWeek(const std::vector<int32_t>& toChannels) {
    if (channel_ == 0 || toChannels.empty()) return false;
    for (const int32_t ch : toChannels)
        if (ch == channel_ || !configured(ch)) return false;
    const std::array<std::string, kDays>& shown = gridRec4.Days();
    for (const int32_t ch : toChannels) {
        workingOf(ch).Day = shown;
        markChanged(ch);
    }
    return true;
}

void RecScheduleTab::ChannelRemoved(int32_t ch) {
    if (ch < 1 || ch > base::kMaxChannel) return;
    workingOf(ch) = strRecSCDL_[static_cast<size_t>(ch - 1)];
    changed_[static_cast<size_t>(ch - 1)] = false;
    if (dirty_ && changedChannels().empty()) setDirty(false);
    std::erase_if(gridRec3, [ch](const ScheduleOverviewRow& row) { return row.ch == ch; });
    if (channel_ == ch) {
        channel_ = nextConfigured(ch, ch);
        gridRec4.CancelDrag();
        ShowRecSCDL();
    }
}

}  // namespace kv::recording
