// The "Schedule" tab of the event handling page as data: the channel list with its marks, the
// week of the shown channel on the week grid, and a save that gives that week to every marked
// channel.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "app/prompter.h"
#include "base/lang.h"
#include "channels/records.h"
#include "events/records.h"
#include "link/service_link.h"
#include "recording/week_grid.h"

namespace kv::events {

/// A row of `gridEventSCDL_CHList`: a configured channel and whether a save reaches it.
struct EventSCDLChannelRow {
    int32_t ch = 0;
    std::string text;  // "CH n [name]"
    bool marked = false;
    bool operator==(const EventSCDLChannelRow&) const = default;
};

namespace event_schedule_text {
inline constexpr int32_t kAskSave = 322, kSaveFailed = 579, kFirstDay = 393;
}

class EventScheduleTab {
public:
    enum Button { kSave = 0, kCancel = 1 };

    EventScheduleTab(EventSCDLTable& strEventSCDL, const channels::ChannelTables& channels, link::ServiceLink& link,
                     app::Prompter& prompter, const base::Language& lang, std::string title);

    std::vector<EventSCDLChannelRow> gridEventSCDL_CHList;
    /// An empty day string shows as on all day here.
    recording::WeekGrid gridEventSCDL{recording::WeekGrid::EmptyDay::kAllOn};
    /// Titles of the grid's seven rows, Sunday first (texts 393..399).
    std::array<std::string, 7> rowTitles;

    bool dirty() const { return dirty_; }
    /// The channel whose week the grid shows; 0 when no channel is configured.
    int32_t channel() const { return channel_; }
    /// The marked channels in channel order.
    std::vector<int32_t> markedChannels() const;

    /// A click on a list row (0-based). With unsaved cells asks 322: Yes saves first (a refused
    /// save keeps the tab where it is and returns false), No drops them. Then only that channel is
    /// marked and its week is painted.
    bool gridEventSCDL_CHList_Click(size_t row);
    /// Marks or unmarks a list row without repainting; false for a row outside the list.
    bool markChannel(size_t row, bool marked);

    /// The saved week of `ch` into the grid.
    void Form_Config_Main_PaintCHSCDL(int32_t ch);
    /// The 96 characters of grid row 1..7 ("1" on, "0" off); empty outside.
    std::string Form_Config_Main_CalSCDLStringToSave(int row) const;

    /// The mouse on the grid; a completed drag makes the tab dirty.
    bool gridEventSCDL_MouseDown(int button, int x, int y);
    bool gridEventSCDL_MouseMove(int x, int y);
    bool gridEventSCDL_MouseUp(int x, int y);

    /// 0 Save: the grid's week to every marked channel, one 32810 each in channel order; a refused
    /// one shows 579 and the tab stays dirty. 1 Cancel: the shown week again from the table.
    bool imgEventSCDLbtn_Click(int index);

    /// The list rebuilt (marks kept); the shown week repainted unless the tab is dirty.
    void Refresh();
    /// A channel was removed: it leaves the list and the marks; if it was shown, the first
    /// remaining channel is shown and marked and unsaved cells are dropped.
    void ChannelRemoved(int32_t ch);

private:
    bool configured(int32_t ch) const;
    void showFirst();
    void setDirty(bool d) { dirty_ = d; }

    EventSCDLTable& strEventSCDL_;
    const channels::ChannelTables& channels_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    int32_t channel_ = 0;
    bool dirty_ = false;
};

}  // namespace kv::events
