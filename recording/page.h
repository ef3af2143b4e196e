// The recording page as data: the settings, schedule and storage tabs over one channel choice.
// The Qt page renders these models and forwards clicks and edits to them.
#pragma once

#include <string>

#include "app/prompter.h"
#include "base/lang.h"
#include "channels/records.h"
#include "link/service_link.h"
#include "recording/records.h"
#include "recording/schedule_tab.h"
#include "recording/settings_tab.h"
#include "recording/storage_tab.h"

namespace kv::recording {

/// The tabs of `tabREC`.
enum Tab : int { kTabSettings = 0, kTabSchedule = 1, kTabStorage = 2 };

namespace text {
inline constexpr int32_t kSaveFirst = 322;  // "Settings not save yet, do you want to save?"
}

class RecordingPage {
public:
    RecordingPage(RecordingTables& tables, const channels::ChannelTables& channels, link::ServiceLink& link,
                  app::Prompter& prompter, const base::Language& lang, std::string title);

    RecSettingTab settings;
    RecScheduleTab schedule;
    StorageTab storage;
    int tabREC = kTabSettings;

    /// The menu entry: the first tab, every tab showing the tables unless edits wait on it.
    void Open();
    /// New data arrived (the schedules, a reload of the settings): tabs without edits show it.
    void ShowRecInfo();
    /// A tab of `tabREC`; leaving the schedule with edits asks first (see `LeaveSchedule`).
    void tabREC_Click(int index);
    /// The channel both the settings and the schedule show.
    bool SelectChannel(int32_t ch);
    /// The channel combo and a right click on the mode overview: both tabs follow.
    bool cmbRecSetting_CH_Click(int item);
    bool gridRec2_RightClick(int row);
    /// A week painted and not saved: 322; Yes saves it, No drops it. True when the week is
    /// settled (saved, dropped or clean).
    bool LeaveSchedule();
    /// After a removed channel: both tabs move off it; the settings save through their button.
    void ChannelRemoved(int32_t ch);

private:
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
};

}  // namespace kv::recording
