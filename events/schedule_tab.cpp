// The event schedule tab: channel list and marks, the shown week, save to the marked channels.
#include "events/schedule_tab.h"

#include <algorithm>

#include "base/text.h"
#include "events/save.h"

namespace kv::events {

namespace {
constexpr int32_t kMaxCh = 64;
}

EventScheduleTab::EventScheduleTab(EventSCDLTable& strEventSCDL, const channels::ChannelTables& channels,
                                   link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                                   std::string title)
    : strEventSCDL_(strEventSCDL), channels_(channels), link_(link), prompter_(prompter), lang_(lang),
      title_(std::move(title)) {
    for (size_t d = 0; d < rowTitles.size(); ++d)
        rowTitles[d] = lang_.GetText(event_schedule_text::kFirstDay + static_cast<int32_t>(d));
    Refresh();
}

bool EventScheduleTab::configured(int32_t ch) const {
    const int32_t count = std::min<int32_t>(channels_.iMaxChannel, kMaxCh);
    return ch >= 1 && ch <= count && channels_.strCH[static_cast<size_t>(ch - 1)].configured();
}

std::vector<int32_t> EventScheduleTab::markedChannels() const {
    std::vector<int32_t> out;
    for (const EventSCDLChannelRow& r : gridEventSCDL_CHList)
        if (r.marked) out.push_back(r.ch);
    std::sort(out.begin(), out.end());
    return out;
}

void EventScheduleTab::Form_Config_Main_PaintCHSCDL(int32_t ch) {
    gridEventSCDL.CancelDrag();
    if (ch >= 1 && ch <= kMaxCh) gridEventSCDL.Load(strEventSCDL_[static_cast<size_t>(ch - 1)].Day);
    else gridEventSCDL.Load({});
}

std::string EventScheduleTab::Form_Config_Main_CalSCDLStringToSave(int row) const {
    if (row < 1 || row > recording::kDays) return {};
    std::string out;
    out.reserve(recording::kSlotsPerDay);
    for (int slot = 1; slot <= recording::kSlotsPerDay; ++slot) out += gridEventSCDL.on(row, slot) ? '1' : '0';
    return out;
}

void EventScheduleTab::showFirst() {
    // The first listed channel becomes the shown one and the only marked one.
    for (EventSCDLChannelRow& r : gridEventSCDL_CHList) r.marked = false;
    channel_ = gridEventSCDL_CHList.empty() ? 0 : gridEventSCDL_CHList.front().ch;
    if (!gridEventSCDL_CHList.empty()) gridEventSCDL_CHList.front().marked = true;
    Form_Config_Main_PaintCHSCDL(channel_);
}

void EventScheduleTab::Refresh() {
    const std::vector<int32_t> wasMarked = markedChannels();
    gridEventSCDL_CHList.clear();
    for (int32_t ch = 1; ch <= kMaxCh; ++ch) {
        if (!configured(ch)) continue;
        const bool marked = std::find(wasMarked.begin(), wasMarked.end(), ch) != wasMarked.end();
        gridEventSCDL_CHList.push_back(
            {ch, "CH " + std::to_string(ch) + " [" + channels_.strCH[static_cast<size_t>(ch - 1)].Name + "]", marked});
    }
    if (!configured(channel_)) {
        // The shown channel is gone: whatever was painted for it is dropped.
        setDirty(false);
        showFirst();
        return;
    }
    for (EventSCDLChannelRow& r : gridEventSCDL_CHList)
        if (r.ch == channel_) r.marked = true;
    if (!dirty_) Form_Config_Main_PaintCHSCDL(channel_);
}

bool EventScheduleTab::markChannel(size_t row, bool marked) {
    if (row >= gridEventSCDL_CHList.size()) return false;
    gridEventSCDL_CHList[row].marked = marked;
    return true;
}

bool EventScheduleTab::gridEventSCDL_CHList_Click(size_t row) {
    if (row >= gridEventSCDL_CHList.size()) return false;
    const int32_t ch = gridEventSCDL_CHList[row].ch;
    if (dirty_) {
        const app::Answer a =
            prompter_.box(app::BoxKind::YesNo, lang_.GetText(event_schedule_text::kAskSave), title_);
        if (a == app::Answer::Yes) {
            if (!imgEventSCDLbtn_Click(kSave)) return false;  // 579 shown; the unsaved cells stay
        } else {
            setDirty(false);
        }
    }
    for (EventSCDLChannelRow& r : gridEventSCDL_CHList) r.marked = r.ch == ch;
    channel_ = ch;
    Form_Config_Main_PaintCHSCDL(ch);
    return true;
}

bool EventScheduleTab::gridEventSCDL_MouseDown(int button, int x, int y) {
    if (channel_ == 0) return false;
    return gridEventSCDL.MouseDown(button, x, y);
}

bool EventScheduleTab::gridEventSCDL_MouseMove(int x, int y) { return gridEventSCDL.MouseMove(x, y); }

bool EventScheduleTab::gridEventSCDL_MouseUp(int x, int y) {
    if (!gridEventSCDL.MouseUp(x, y) || channel_ == 0) return false;
    setDirty(true);
    return true;
}

bool EventScheduleTab::imgEventSCDLbtn_Click(int index) {
    if (index == kCancel) {
        Form_Config_Main_PaintCHSCDL(channel_);
        setDirty(false);
        return true;
    }
    if (index != kSave) return false;
    if (!dirty_) return true;
    // The strings are taken once, so every marked channel gets the same week.
    EventSCDLRecord week;
    for (int row = 1; row <= recording::kDays; ++row)
        week.Day[static_cast<size_t>(row - 1)] = Form_Config_Main_CalSCDLStringToSave(row);
    bool failed = false;
    for (const int32_t ch : markedChannels()) {
        if (!configured(ch)) continue;  // never a write for a channel that has left
        week.CH = static_cast<int16_t>(ch);
        if (!Save_EventSCDL(link_, week)) {
            failed = true;
            continue;
        }
        strEventSCDL_[static_cast<size_t>(ch - 1)] = week;
    }
    if (failed) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(event_schedule_text::kSaveFailed), title_);
        return false;
    }
    setDirty(false);
    return true;
}

void EventScheduleTab::ChannelRemoved(int32_t ch) {
    std::erase_if(gridEventSCDL_CHList, [ch](const EventSCDLChannelRow& r) { return r.ch == ch; });
    if (channel_ == ch) {
        setDirty(false);
        showFirst();
    }
}

}  // namespace kv::events
