// The recording settings tab: the working entries, the rules of each control, the overview of
// the modes and the save of area 11.
#include "recording/settings_tab.h"

#include <algorithm>

#include "base/lang.h"
#include "base/text.h"
#include "channels/video_params.h"
#include "recording/save.h"

namespace kv::recording {
namespace {

// Marks the tab as filling for a scope; nested fills keep the outer mark.
class Filling {
public:
    explicit Filling(bool& flag) : flag_(flag), old_(flag) { flag_ = true; }
    ~Filling() { flag_ = old_; }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;

private:
    bool& flag_;
    bool old_;
};

int16_t toInt16(std::string_view text) {
    return static_cast<int16_t>(std::clamp<int64_t>(base::LeadingNumber(text), INT16_MIN, INT16_MAX));
}

bool validItem(const app::ComboBox& c, int item) { return item >= 0 && static_cast<size_t>(item) < c.items.size(); }

std::string mark(int16_t active) { return active != 0 ? "O" : "X"; }

}  // namespace

int32_t ChannelOfItem(std::string_view item) {
    std::string head = base::Trim(item.substr(0, item.find('[')));
    if (head.rfind("CH", 0) != 0) return 0;
    head = base::Trim(std::string_view(head).substr(2));
    if (head.empty() || !std::all_of(head.begin(), head.end(), [](char c) { return c >= '0' && c <= '9'; })) return 0;
    const int64_t n = base::LeadingNumber(head);
    return n > INT32_MAX ? 0 : static_cast<int32_t>(n);
}

std::vector<int16_t> ValuesWith(std::span<const int16_t> defaults, int16_t value) {
    std::vector<int16_t> out(defaults.begin(), defaults.end());
    if (std::find(out.begin(), out.end(), value) == out.end())
        out.insert(std::upper_bound(out.begin(), out.end(), value), value);
    return out;
}

RecSettingTab::RecSettingTab(RecSetTable& strRecSet, const channels::ChannelTables& channels, link::ServiceLink& link,
                             app::Prompter& prompter, const base::Language& lang, std::string title)
    : strRecSetTmp(strRecSet), strRecSet_(strRecSet), channels_(channels), link_(link), prompter_(prompter),
      lang_(lang), title_(std::move(title)) {
    for (app::ComboBox& c : cmbRecSettingFPS)
        for (std::string_view f : channels::kFpsTable) c.add(std::string(f));
    for (std::string_view f : kIFrameItems) cmbRecSettingIFrame.add(std::string(f));
    ShowRecInfo();
    ShoeRecSCDLDetail();
}

bool RecSettingTab::dirty() const {
    return std::any_of(strRecSetTmp.begin(), strRecSetTmp.end(), [](const RecSetRecord& e) { return e.Edited; });
}

int32_t RecSettingTab::channel() const { return ChannelOfItem(cmbRecSetting_CH.text()); }

int32_t RecSettingTab::channelCount() const { return std::clamp<int32_t>(channels_.iMaxChannel, 0, base::kMaxChannel); }

bool RecSettingTab::configured(int32_t ch) const {
    return ch >= 1 && ch <= channelCount() && channels_.strCH[static_cast<size_t>(ch - 1)].configured();
}

RecSetRecord* RecSettingTab::shownEntry() {
    const int32_t ch = channel();
    return ch >= 1 && ch <= base::kMaxChannel ? &strRecSetTmp[static_cast<size_t>(ch - 1)] : nullptr;
}

void RecSettingTab::ShowRecInfo() {
    const Filling quiet(bFilling);
    // Unsent edits survive a refresh (a reload after a partly refused save), so the next save sends them.
    for (size_t i = 0; i < strRecSetTmp.size(); ++i)
        if (!strRecSetTmp[i].Edited) strRecSetTmp[i] = strRecSet_[i];
    fillChannelCombo();
    ShowRecSetting();
    ShoeRecSCDLDetail();
    updateButtons();
}

void RecSettingTab::fillChannelCombo() {
    const int32_t keep = channel();
    cmbRecSetting_CH.clear();
    for (int32_t ch = 1; ch <= channelCount(); ++ch) {
        if (!configured(ch)) continue;
        cmbRecSetting_CH.add("CH " + std::to_string(ch) + " [" + channels_.strCH[static_cast<size_t>(ch - 1)].Name +
                             "]");
    }
    if (!selectItem(keep)) cmbRecSetting_CH.index = cmbRecSetting_CH.items.empty() ? -1 : 0;
}

bool RecSettingTab::selectItem(int32_t ch) {
    if (ch < 1) return false;
    for (int i = static_cast<int>(cmbRecSetting_CH.items.size()) - 1; i >= 0; --i) {
        if (ChannelOfItem(cmbRecSetting_CH.items[static_cast<size_t>(i)]) == ch) {
            cmbRecSetting_CH.index = i;
            return true;
        }
    }
    return false;
}

void RecSettingTab::CleanRecSetFirld() {
    for (app::ComboBox& c : cmbRecSettingFPS) c.index = -1;
    cmbRecSettingIFrame.index = -1;
    fillAlarmCombo(cmbRecSettingPreAlarm, kPreAlarmSeconds, kPreAlarmSeconds[0]);
    fillAlarmCombo(cmbRecSettingPostAlarm, kPostAlarmSeconds, kPostAlarmSeconds[0]);
    cmbRecSettingPreAlarm.index = cmbRecSettingPostAlarm.index = -1;
    chkRecSetting = {false, false};
    optRecordingVideo = 0;
    imgDualModify = kPictureOneStream;
    lbDualStream.clear();
}

void RecSettingTab::fillAlarmCombo(app::ComboBox& combo, std::span<const int16_t> defaults, int16_t value) {
    combo.clear();
    for (int16_t v : ValuesWith(defaults, value)) combo.add(std::to_string(v));
    combo.select(std::to_string(value));
}

void RecSettingTab::ShowRecSetting() {
    const Filling quiet(bFilling);
    const RecSetRecord* e = shownEntry();
    if (!e) {
        CleanRecSetFirld();
        return;
    }
    for (int m = 0; m < kModeCount; ++m) {
        app::ComboBox& c = cmbRecSettingFPS[static_cast<size_t>(m)];
        const int16_t fps = ModeOf(*e, m).FPS;
        c.index = validItem(c, fps) ? fps : -1;
    }
    const int16_t iFrame = e->Continuous.IFrameOnly;
    cmbRecSettingIFrame.index = validItem(cmbRecSettingIFrame, iFrame) ? iFrame : -1;
    fillAlarmCombo(cmbRecSettingPreAlarm, kPreAlarmSeconds, e->Continuous.PreAlarmLength);
    fillAlarmCombo(cmbRecSettingPostAlarm, kPostAlarmSeconds, e->Event.PostAlarmLength);
    chkRecSetting = {e->Continuous.Active != 0, e->Schedule.Active != 0};
    optRecordingVideo = e->DualMode == 1 ? 1 : 0;
    imgDualModify = optRecordingVideo == 1 ? kPictureTwoStreams : kPictureOneStream;
    lbDualStream = lang_.GetText(optRecordingVideo == 1 ? text::kDualStream : text::kSingleStream);
}

void RecSettingTab::ShoeRecSCDLDetail() {
    gridRec2.assign(1, {"CH", lang_.GetText(text::kContinuous), lang_.GetText(text::kSchedule),
                        lang_.GetText(text::kEvent), lang_.GetText(text::kManual)});
    for (int32_t ch = 1; ch <= channelCount(); ++ch) {
        if (!configured(ch)) continue;
        const RecSetRecord& e = strRecSetTmp[static_cast<size_t>(ch - 1)];
        gridRec2.push_back({"CH" + std::to_string(ch) + " [" + channels_.strCH[static_cast<size_t>(ch - 1)].Name + "]",
                            mark(e.Continuous.Active), mark(e.Schedule.Active), mark(e.Event.Active),
                            mark(e.Manual.Active)});
    }
}

bool RecSettingTab::cmbRecSetting_CH_Click(int item) {
    if (bFilling || !validItem(cmbRecSetting_CH, item)) return false;
    cmbRecSetting_CH.index = item;
    ShowRecSetting();
    return true;
}

bool RecSettingTab::SelectChannel(int32_t ch) {
    if (bFilling || !selectItem(ch)) return false;
    ShowRecSetting();
    return true;
}

void RecSettingTab::edited(RecSetRecord& e) {
    e.Edited = true;
    updateButtons();
}

void RecSettingTab::updateButtons() {
    const bool d = dirty();
    imgRecsetbtn = {d, d};
}

bool RecSettingTab::cmbRecSettingFPS_Click(int mode, int item) {
    if (bFilling || mode < 0 || mode >= kModeCount) return false;
    app::ComboBox& c = cmbRecSettingFPS[static_cast<size_t>(mode)];
    RecSetRecord* e = shownEntry();
    if (!e || !validItem(c, item)) return false;
    c.index = item;
    ModeOf(*e, mode).FPS = channels::FpsIndexOf(c.text());
    edited(*e);
    return true;
}

bool RecSettingTab::cmbRecSettingIFrame_Click(int item) {
    RecSetRecord* e = shownEntry();
    if (bFilling || !e || !validItem(cmbRecSettingIFrame, item)) return false;
    cmbRecSettingIFrame.index = item;
    const auto value = static_cast<int16_t>(item);
    e->Continuous.IFrameOnly = e->Schedule.IFrameOnly = e->Event.IFrameOnly = value;
    e->Manual.IFrameOnly = 0;
    edited(*e);
    return true;
}

bool RecSettingTab::cmbRecSettingPreAlarm_Click(int item) {
    RecSetRecord* e = shownEntry();
    if (bFilling || !e || !validItem(cmbRecSettingPreAlarm, item)) return false;
    cmbRecSettingPreAlarm.index = item;
    // Pre-alarm belongs to the running modes; the triggered ones keep none.
    const int16_t value = toInt16(cmbRecSettingPreAlarm.text());
    e->Continuous.PreAlarmLength = e->Schedule.PreAlarmLength = value;
    e->Event.PreAlarmLength = e->Manual.PreAlarmLength = 0;
    e->PreAlarmLength = value;
    edited(*e);
    return true;
}

bool RecSettingTab::cmbRecSettingPostAlarm_Click(int item) {
    RecSetRecord* e = shownEntry();
    if (bFilling || !e || !validItem(cmbRecSettingPostAlarm, item)) return false;
    cmbRecSettingPostAlarm.index = item;
    // Post-alarm belongs to the triggered modes; manual recording has a fixed one.
    e->Continuous.PostAlarmLength = e->Schedule.PostAlarmLength = 0;
    e->Event.PostAlarmLength = toInt16(cmbRecSettingPostAlarm.text());
    e->Manual.PostAlarmLength = kManualPostAlarm;
    edited(*e);
    return true;
}

bool RecSettingTab::chkRecSetting_Click(int i, bool on) {
    RecSetRecord* e = shownEntry();
    if (bFilling || !e || i < 0 || i > 1) return false;
    chkRecSetting[static_cast<size_t>(i)] = on;
    ModeOf(*e, i == 0 ? kContinuous : kSchedule).Active = on ? -1 : 0;
    // The triggered modes are always on, whatever the running ones do.
    e->Event.Active = e->Manual.Active = -1;
    edited(*e);
    ShoeRecSCDLDetail();
    return true;
}

bool RecSettingTab::optRecordingVideo_Click(int i) {
    RecSetRecord* e = shownEntry();
    if (bFilling || !e || i < 0 || i > 1) return false;
    e->DualMode = static_cast<int16_t>(i);
    edited(*e);
    ShowRecSetting();
    return true;
}

bool RecSettingTab::gridRec2_RightClick(int row) {
    if (bFilling || row < 1 || static_cast<size_t>(row) >= gridRec2.size() ||
        gridRec2[static_cast<size_t>(row)].empty()) return false;
    const int32_t ch = ChannelOfItem(gridRec2[static_cast<size_t>(row)][0]);
    if (!configured(ch)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kNoCamera), title_);
        return false;
    }
    return SelectChannel(ch);
}

bool RecSettingTab::CheckRecordingSetting() {
    gridRecSetTmp.clear();
    for (int32_t ch = 1; ch <= channelCount(); ++ch) {
        if (!configured(ch)) continue;
        RecSetRecord& e = strRecSetTmp[static_cast<size_t>(ch - 1)];
        e.Event.Active = e.Manual.Active = -1;
        gridRecSetTmp.push_back({static_cast<int16_t>(ch), {e.Continuous, e.Schedule, e.Event, e.Manual}});
    }
    return !gridRecSetTmp.empty();
}

bool RecSettingTab::imgRecsetbtn_Click(int index) {
    if (bFilling) return false;
    switch (index) {
        case kRecSetSave: return save();
        case kRecSetCancel: cancel(); return true;
        default: return false;
    }
}

bool RecSettingTab::save() {
    if (!dirty()) return true;
    if (!CheckRecordingSetting()) return false;
    bool refused = false;
    for (size_t i = 0; i < strRecSetTmp.size(); ++i) {
        RecSetRecord& e = strRecSetTmp[i];
        if (!e.Edited) continue;
        if (!SaveRecSet_Setting(link_, e)) {
            refused = true;  // stays edited: the next save sends it again
            continue;
        }
        e.Edited = false;
        strRecSet_[i] = e;
    }
    if (refused) prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kSaveFailed), title_);
    ShoeRecSCDLDetail();
    updateButtons();
    return !refused;
}

void RecSettingTab::cancel() {
    strRecSetTmp = strRecSet_;
    for (RecSetRecord& e : strRecSetTmp) e.Edited = false;
    dualDialog.reset();
    ShowRecSetting();
    ShoeRecSCDLDetail();
    updateButtons();
}

bool RecSettingTab::imgDualModify_Click() {
    const RecSetRecord* e = shownEntry();
    if (bFilling || !e || e->DualMode != 1) return false;
    const int32_t ch = channel();
    dualDialog.emplace(lang_, title_);
    dualDialog->SetstrCH(channels_.strCH[static_cast<size_t>(ch - 1)], *e);
    return true;
}

bool RecSettingTab::dualDialogCommit(base::Log* log) {
    if (!dualDialog) return false;
    const int32_t ch = dualDialog->channel();
    const bool stored = ch >= 1 && ch <= base::kMaxChannel &&
                        dualDialog->imgButton_Click(strRecSetTmp[static_cast<size_t>(ch - 1)], log);
    dualDialog.reset();
    if (stored) updateButtons();
    return stored;
}

bool RecSettingTab::SwitchDualModeOff(int32_t ch) {
    if (ch < 1 || ch > base::kMaxChannel) return false;
    const size_t slot = static_cast<size_t>(ch - 1);
    // Only the change goes out: the service's values with the second stream off, not the tab's
    // unsaved edits. The table takes it once the service has it, as it mirrors the service.
    RecSetRecord sent = strRecSet_[slot];
    sent.DualMode = 0;
    sent.Edited = false;
    RecSetRecord& working = strRecSetTmp[slot];
    working.DualMode = 0;
    const bool ok = SaveRecSet_Setting(link_, sent);
    if (ok) strRecSet_[slot] = sent;
    else working.Edited = true;
    if (channel() == ch) ShowRecSetting();
    updateButtons();
    return ok;
}

void RecSettingTab::ChannelRemoved(int32_t ch) {
    const bool shown = ch >= 1 && channel() == ch;
    // Its camera is gone: an edit of it not yet sent is dropped (the refresh takes the table's entry back).
    if (ch >= 1 && ch <= base::kMaxChannel) strRecSetTmp[static_cast<size_t>(ch - 1)].Edited = false;
    if (dualDialog && dualDialog->channel() == ch) dualDialog.reset();
    ShowRecInfo();
    ShoeRecSCDLDetail();
    if (shown) {
        // The next configured channel, else the first, else none.
        const auto& items = cmbRecSetting_CH.items;
        const auto next = std::find_if(items.begin(), items.end(),
                                       [ch](const std::string& item) { return ChannelOfItem(item) > ch; });
        cmbRecSetting_CH.index = next != items.end() ? static_cast<int>(next - items.begin()) : items.empty() ? -1 : 0;
        ShowRecSetting();
    }
    imgRecsetbtn_Click(kRecSetSave);
}

}  // namespace kv::recording
