// The recording page's tabs working together.
#include "recording/page.h"

namespace kv::recording {

RecordingPage::RecordingPage(RecordingTables& tables, const channels::ChannelTables& channels, link::ServiceLink& link,
                             app::Prompter& prompter, const base::Language& lang, std::string title)
    : settings(tables.strRecSet, channels, link, prompter, lang, title),
      schedule(tables.strRecSCDL, channels, link, prompter, lang, title),
      storage(tables, link, prompter, lang, title),
      prompter_(prompter),
      lang_(lang),
      title_(std::move(title)) {
    // A schedule saved while no storage path is set records nowhere: say so, save anyway.
    schedule.checkStorageWarning = [this] { return storage.CheckStorageSetting(true); };
}

void RecordingPage::Open() {
    tabREC = kTabSettings;
    ShowRecInfo();
    if (!storage.dirty()) storage.ShowStorage();
}

void RecordingPage::ShowRecInfo() {
    if (!settings.dirty()) settings.ShowRecInfo();
    else settings.ShoeRecSCDLDetail();
    schedule.Refresh();
    if (settings.channel() != 0) schedule.SelectChannel(settings.channel());
}

void RecordingPage::tabREC_Click(int index) {
    if (index < kTabSettings || index > kTabStorage || index == tabREC) return;
    if (tabREC == kTabSchedule && !LeaveSchedule()) return;
    tabREC = index;
}

bool RecordingPage::SelectChannel(int32_t ch) {
    if (!settings.SelectChannel(ch)) return false;
    schedule.SelectChannel(ch);
    return true;
}

bool RecordingPage::cmbRecSetting_CH_Click(int item) {
    if (!settings.cmbRecSetting_CH_Click(item)) return false;
    schedule.SelectChannel(settings.channel());
    return true;
}

bool RecordingPage::gridRec2_RightClick(int row) {
    if (!settings.gridRec2_RightClick(row)) return false;
    schedule.SelectChannel(settings.channel());
    return true;
}

bool RecordingPage::LeaveSchedule() {
    if (!schedule.dirty()) return true;
    const app::Answer a = prompter_.box(app::BoxKind::YesNo, lang_.GetText(text::kSaveFirst), title_);
    if (a == app::Answer::Yes) return schedule.imgRecSCDLbtn_Click(0);
    schedule.imgRecSCDLbtn_Click(1);
    return true;
}

void RecordingPage::ChannelRemoved(int32_t ch) {
    schedule.ChannelRemoved(ch);
    settings.ChannelRemoved(ch);
    if (settings.channel() != 0) schedule.SelectChannel(settings.channel());
}

}  // namespace kv::recording
