// The Event Action tab: the working grid of actions, the form on its selected row with the combos'
// fill and enabling rules, Add/Remove/Cancel/Save (area 6), and the Action Overview.
#include "events/action_tab.h"

#include <algorithm>

#include "app/xml_read.h"
#include "base/text.h"
#include "channels/ptz_codec.h"
#include "events/event_names.h"
#include "events/group_tab.h"
#include "events/save.h"

namespace kv::events {
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

using Tab = EventActionTab;

// The kinds a new row offers, and those a picked row offers: "Reset Tamper Event" only there.
constexpr std::array<int32_t, 6> kOffered = {1, 2, 3, 2001, 4001, 2002};
constexpr std::array<int32_t, 7> kOfferedOnRow = {1, 2, 3, 2001, 4001, 2002, 2005};
// Kinds of the DI rows of the event table start here; without inputs the walk starts at row 3.
constexpr size_t kFirstNonDIRow = 3;
constexpr int32_t kMaxCh = 64;
constexpr const char* kNA = "N/A";

template <size_t N>
bool among(const std::array<int32_t, N>& set, int32_t code) {
    return std::find(set.begin(), set.end(), code) != set.end();
}

std::string ox(bool on) { return on ? "O" : "X"; }
int32_t num(std::string_view text) { return app::ToInt32(text); }
int16_t num16(std::string_view text) { return app::ToInt16(text); }
bool isDIKind(int32_t code) { return code >= 1 && code <= 3; }

// The channel of a combo item "CH" + n: the text behind the two letters.
int32_t channelOfItem(std::string_view item) { return item.size() > 2 ? num(item.substr(2)) : 0; }

}  // namespace

EventActionTab::EventActionTab(EventTables& tables, const channels::ChannelTables& channels,
                               std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers,
                               link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                               std::string title)
    : tables_(tables), channels_(channels), types_(types), triggers_(triggers), link_(link), prompter_(prompter),
      lang_(lang), title_(std::move(title)) {
    Refresh();
}

const channels::ChannelRecord* EventActionTab::channel(int32_t ch) const {
    const int32_t count = std::min<int32_t>(channels_.iMaxChannel, kMaxCh);
    if (ch < 1 || ch > count) return nullptr;
    const channels::ChannelRecord& r = channels_.strCH[static_cast<size_t>(ch - 1)];
    return r.configured() ? &r : nullptr;
}

Tab::Row EventActionTab::rowOf(const EventActionRecord& r) const {
    Row row(kColumns);
    row[kColCH] = std::to_string(r.CH);
    row[kColCode] = r.Event;
    row[kColIcon] = EventIconKey(r.Event);
    row[kColEvent] = GetEventName(r.Event, types_, triggers_, lang_);
    std::string group = kNA;
    if (r.ActionGroup >= 0)
        for (const EventGroupRecord& g : tables_.strEventGroup)
            if (g.ID >= 0 && g.ID == r.ActionGroup) group = g.Name;
    row[kColGroup] = group;
    row[kColID] = std::to_string(r.ID);
    row[kColDelete] = std::to_string(r.Removed ? 1 : 0);
    row[kColAdd] = "0";
    row[kColSpare] = "0";
    // The grid counts DI inputs from 1, the service from 0.
    if (r.TriggerID < 0) row[kColTrigger] = kNA;
    else row[kColTrigger] = std::to_string(isDIKind(num(r.Event)) ? r.TriggerID + 1 : r.TriggerID);
    row[kColDO] = ox(r.DigitalOut);
    row[kColPreset] = ox(r.Preset);
    row[kColDOID] = std::to_string(r.DigitalOutID);
    row[kColDOState] = std::to_string(r.DigitalOutState);
    row[kColDODuration] = std::to_string(r.DODuration);
    row[kColPresetDest] = std::to_string(r.PresetDest);
    return row;
}

void EventActionTab::Refresh() {
    if (!dirty_) ShowEventAction();
    ShowEventInfo();
}

void EventActionTab::ShowEventAction() {
    Row titles(kColumns);
    titles[kColCH] = "CH";
    titles[kColEvent] = lang_.GetText(kTextEvent);
    titles[kColGroup] = lang_.GetText(kTextGroup);
    titles[kColID] = "Event Action ID";
    titles[kColDelete] = "Delete";
    titles[kColAdd] = "ADD";
    titles[kColTrigger] = lang_.GetText(kTextTrigger);
    titles[kColDO] = titles[kColDOID] = titles[kColDOState] = titles[kColDODuration] = "DO";
    titles[kColPreset] = lang_.GetText(kTextPresetPoint);
    titles[kColPresetDest] = "Preset";
    GridEventAction.clear();
    GridEventAction.reserve(tables_.strEventAction.size() + 1);
    GridEventAction.push_back(std::move(titles));
    for (const EventActionRecord& r : tables_.strEventAction)
        if (r.ID >= 0 && !r.Removed) GridEventAction.push_back(rowOf(r));
    GridEventActionBG.assign(GridEventAction.size(), app::kDefaultBackground);
    selectedRow = -1;
    CleanEventActionField();
    imgEventActionbtn = {false, false, false, true};
}

void EventActionTab::ShowEventInfo() {
    gridEventInfo.clear();
    gridEventInfoIcon.clear();
    gridEventInfo.push_back({lang_.GetText(63), "", lang_.GetText(93), lang_.GetText(137), "DO", "FTP",
                             lang_.GetText(225), "HTTP", "TCP", lang_.GetText(557), lang_.GetText(387)});
    gridEventInfoIcon.emplace_back();
    for (const EventActionRecord& r : tables_.strEventAction) {
        if (r.ID < 0 || r.ActionGroup < 1 || !channel(r.CH)) continue;
        const EventGroupRecord* g = nullptr;
        for (const EventGroupRecord& x : tables_.strEventGroup)
            if (x.ID >= 0 && x.ID == r.ActionGroup) g = &x;
        Row row = {std::to_string(r.CH), GetEventName(r.Event, types_, triggers_, lang_), g ? g->Name : kNA,
                   ox(g && g->Record), ox(r.DigitalOut)};
        for (int box = ActionGroupTab::kBoxFTP; box < ActionGroupTab::kBoxCount; ++box)
            row.push_back(ox(g && GroupHasBox(*g, box)));
        gridEventInfo.push_back(std::move(row));
        gridEventInfoIcon.push_back(EventIconKey(r.Event));
    }
}

void EventActionTab::CleanEventActionField() {
    Filling f(bFilling);
    for (int i : {kCmbChannel, kCmbEvent, kCmbGroup, kCmbDOID, kCmbDOState, kCmbPreset, kCmbTrigger, kCmbDODuration})
        cmbEventAction[static_cast<size_t>(i)].clear();
    for (int i = kCmbFirstDest; i < kCmbFirstDest + 7; ++i) cmbEventAction[static_cast<size_t>(i)].clear();
    chkEventAction = {};
    lblTrigger.clear();
    cmbEventAction15Tag.clear();
    EventAction_EnableSet(false);
}

void EventActionTab::EventAction_EnableSet(bool flag) {
    frameEventAction = flag;
    for (app::ComboBox& c : cmbEventAction) c.enabled = flag;
    chkEventActionEnabled = {flag, flag};
    // The group's destinations are shown, never edited here.
    for (int i = kCmbFirstDest; i < kCmbFirstDest + 7; ++i) cmbEventAction[static_cast<size_t>(i)].enabled = false;
}

void EventActionTab::EventaActionGridSet(int row) {
    if (selectedRow >= 0 && static_cast<size_t>(selectedRow) < GridEventActionBG.size())
        GridEventActionBG[static_cast<size_t>(selectedRow)] = app::kDefaultBackground;
    if (row >= 1 && static_cast<size_t>(row) < GridEventActionBG.size())
        GridEventActionBG[static_cast<size_t>(row)] = kRowSelected;
    selectedRow = row;
}

bool EventActionTab::InputEventActionCHCmb(int ch, int32_t code) const {
    const channels::ChannelRecord* c = channel(ch);
    if (c && ((code == 1 && !c->DILow) || (code == 2 && !c->DIHigh) || (code == 3 && !c->DIEdge))) return true;
    const std::string chText = std::to_string(ch), codeText = std::to_string(code);
    for (size_t r = 1; r < GridEventAction.size(); ++r)
        if (GridEventAction[r][kColCH] == chText && GridEventAction[r][kColCode] == codeText) return true;
    return false;
}

bool EventActionTab::CheckChEventType(int ch) {
    const channels::ChannelRecord* c = channel(ch + 1);
    if (!c) return false;
    app::ComboBox& kinds = cmbEventAction[kCmbEvent];
    kinds.clear();
    for (size_t i = c->NumberDI > 0 ? 0 : kFirstNonDIRow; i < types_.size(); ++i) {
        const int32_t code = types_[i].code;
        if (!InputEventActionCHCmb(ch + 1, code) && among(kOffered, code)) kinds.add(types_[i].text);
    }
    return !kinds.items.empty();
}

bool EventActionTab::CheckChEventActionSel(int ch) {
    app::ComboBox& kinds = cmbEventAction[kCmbEvent];
    if (ch < 0) {
        kinds.clear();
        for (const base::EventTypeName& t : types_)
            if (among(kOffered, t.code)) kinds.add(t.text);
        return !kinds.items.empty();
    }
    const channels::ChannelRecord* c = channel(ch + 1);
    if (!c) return false;
    kinds.clear();
    for (size_t i = c->NumberDI > 0 ? 0 : kFirstNonDIRow; i < types_.size(); ++i) {
        const int32_t code = types_[i].code;
        if (!InputEventActionCHCmb(ch + 1, code) && among(kOfferedOnRow, code)) kinds.add(types_[i].text);
    }
    return !kinds.items.empty();
}

void EventActionTab::ShowSCDLGrid() {
    app::ComboBox& chs = cmbEventAction[kCmbChannel];
    chs.clear();
    for (int32_t ch = 1; ch <= kMaxCh; ++ch)
        if (channel(ch)) chs.add("CH" + std::to_string(ch));
}

void EventActionTab::ChangeCombo15(int mode, int ch) {
    cmbEventAction[kCmbTrigger].clear();
    cmbEventAction15Tag.clear();
    lblTrigger.clear();
    if (mode == 0) ChangeCmb15ToDIMode(ch);
    else if (mode == 1) ChangeCmb15ToPOSMode();
}

void EventActionTab::ChangeCmb15ToDIMode(int ch) {
    app::ComboBox& t = cmbEventAction[kCmbTrigger];
    lblTrigger = "DI :";
    cmbEventAction15Tag = "DI";
    const channels::ChannelRecord* c = channel(ch);
    const int inputs = c ? c->NumberDI : 0;
    for (int i = 1; i <= inputs; ++i) t.add(std::to_string(i));
    t.enabled = inputs >= 1;
    if (selectedRow >= 1 && static_cast<size_t>(selectedRow) < GridEventAction.size()) {
        const int n = num(GridEventAction[static_cast<size_t>(selectedRow)][kColTrigger]);
        t.index = n >= 1 && n <= inputs ? n - 1 : -1;
    }
}

void EventActionTab::ChangeCmb15ToPOSMode() {
    app::ComboBox& t = cmbEventAction[kCmbTrigger];
    lblTrigger = "POS :";
    cmbEventAction15Tag = "POS";
    for (const pos::POSTriggerEventRecord& r : triggers_)
        if (r.ID >= 0) t.add(r.Name);
    t.enabled = true;
    if (selectedRow >= 1 && static_cast<size_t>(selectedRow) < GridEventAction.size()) {
        const std::string& cell = GridEventAction[static_cast<size_t>(selectedRow)][kColTrigger];
        int item = 0;
        for (const pos::POSTriggerEventRecord& r : triggers_) {
            if (r.ID < 0) continue;
            if (std::to_string(r.ID) == cell) t.index = item;
            ++item;
        }
    }
    t.selectFirstWhenEmpty();
}

void EventActionTab::EnableOutputs(int32_t code, int ch) {
    const channels::ChannelRecord* c = channel(ch);
    const bool inputs = c && c->NumberDI != 0, outputs = c && c->NumberDO != 0;
    cmbEventAction[kCmbTrigger].enabled = code < 4 && inputs;
    for (int i : {kCmbDOID, kCmbDOState, kCmbDODuration}) cmbEventAction[static_cast<size_t>(i)].enabled = outputs;
    chkEventActionEnabled[kChkDO] = outputs;
    const bool presets = !cmbEventAction[kCmbPreset].items.empty();
    chkEventActionEnabled[kChkPreset] = presets;
    cmbEventAction[kCmbPreset].enabled = presets;
}

bool EventActionTab::fillPresets(int32_t ch) {
    app::ComboBox& p = cmbEventAction[kCmbPreset];
    p.clear();
    channels::PresetList list;
    const bool ok =
        channels::Load_Preset_XML(link_.SendCommand(0, true, channels::Get_Preset_XML(channels::kPtzUserData, ch)),
                                  list);
    if (!ok) return false;
    for (const channels::PresetRecord& r : list)
        if (r.ID >= 0) p.add(std::to_string(r.ID) + "-" + r.Name);
    return true;
}

void EventActionTab::showGroup() {
    const EventGroupRecord* g = nullptr;
    const std::string name = base::Trim(cmbEventAction[kCmbGroup].text());
    for (const EventGroupRecord& x : tables_.strEventGroup)
        if (x.ID >= 0 && base::Trim(x.Name) == name) g = &x;
    for (int box = ActionGroupTab::kBoxFTP; box < ActionGroupTab::kBoxCount; ++box) {
        app::ComboBox& c = cmbEventAction[static_cast<size_t>(kCmbFirstDest + box - ActionGroupTab::kBoxFTP)];
        c.clear();
        chkEventAction[static_cast<size_t>(box)] = g && GroupHasBox(*g, box);
        if (chkEventAction[static_cast<size_t>(box)]) {
            c.add(GroupBoxItem(*g, box));
            c.index = 0;
        }
        c.enabled = false;
        chkEventActionEnabled[static_cast<size_t>(box)] = false;
    }
}

int32_t EventActionTab::channelOfCombo() const { return channelOfItem(cmbEventAction[kCmbChannel].text()); }

int32_t EventActionTab::codeOfRow(int row) const {
    return row >= 1 && static_cast<size_t>(row) < GridEventAction.size()
               ? num(GridEventAction[static_cast<size_t>(row)][kColCode])
               : -1;
}

void EventActionTab::AddNewEventAction() {
    Row row(kColumns);
    row[kColDelete] = row[kColAdd] = row[kColSpare] = "0";
    row[kColDO] = row[kColPreset] = "X";
    row[kColTrigger] = kNA;
    GridEventAction.push_back(std::move(row));
    GridEventActionBG.push_back(app::kDefaultBackground);
    EventaActionGridSet(static_cast<int>(GridEventAction.size()) - 1);
    newRow_ = true;
    EventAction_EnableSet(true);
    cmbEventAction[kCmbGroup].enabled = tables_.strEventGroup.front().ID >= 1;
    cmbEventAction[kCmbChannel].enabled = true;
}

void EventActionTab::add() {
    if (tables_.strEventGroup.empty() || tables_.strEventGroup.front().ID < 0) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextNoGroup), title_);
        return;
    }
    {
        Filling f(bFilling);
        CleanEventActionField();
        ShowSCDLGrid();
    }
    if (cmbEventAction[kCmbChannel].items.empty()) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextNoChannel), title_);
        return;
    }
    const int previous = selectedRow;
    AddNewEventAction();
    int chosen = -1;
    {
        Filling f(bFilling);
        const app::ComboBox& chs = cmbEventAction[kCmbChannel];
        for (size_t i = 0; i < chs.items.size() && chosen < 0; ++i)
            if (CheckChEventType(channelOfItem(chs.items[i]) - 1)) chosen = static_cast<int>(i);
    }
    if (chosen < 0) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextNoChannelLeft), title_);
        GridEventAction.pop_back();
        GridEventActionBG.pop_back();
        selectedRow = -1;
        if (previous >= 1) EventaActionGridSet(previous);
        newRow_ = false;
        CleanEventActionField();
        return;
    }
    {
        Filling f(bFilling);
        app::ComboBox& groups = cmbEventAction[kCmbGroup];
        groups.clear();
        for (const EventGroupRecord& g : tables_.strEventGroup)
            if (g.ID >= 0 && !g.Removed) groups.add(g.Name);
        // No group is taken for the user: a row saved without one is refused (295).
        showGroup();
    }
    // The first channel with a kind left, as if chosen by hand.
    cmbEventAction[kCmbChannel].index = chosen;
    applyChannel();
    imgEventActionbtn = {true, true, false, false};
    dirty_ = true;
}

void EventActionTab::applyChannel() {
    Filling f(bFilling);
    Row& row = GridEventAction[static_cast<size_t>(selectedRow)];
    const int32_t ch = channelOfCombo();
    const channels::ChannelRecord* c = channel(ch);
    app::ComboBox& state = cmbEventAction[kCmbDOState];
    state.clear();
    state.add(lang_.GetText(kTextClose));
    state.add(lang_.GetText(kTextOpen));
    app::ComboBox& pulse = cmbEventAction[kCmbDODuration];
    pulse.clear();
    for (int i = 1; i <= kPulseLengths; ++i) pulse.add(std::to_string(i));
    // The row's own pair stands in the grid under the old channel while the kinds are listed.
    row[kColCH].clear();
    CheckChEventActionSel(ch - 1);
    cmbEventAction[kCmbEvent].selectFirstWhenEmpty();
    row[kColCH] = std::to_string(ch);
    const int32_t code = GetEventCode(cmbEventAction[kCmbEvent].text(), types_);
    setKind(code);
    // A channel's presets come from the service; a changed channel's old list no longer applies.
    fillPresets(ch);
    app::ComboBox& outputs = cmbEventAction[kCmbDOID];
    outputs.clear();
    for (int i = 1; c && i <= c->NumberDO; ++i) outputs.add(std::to_string(i));
    outputs.selectFirstWhenEmpty();
    state.index = 0;
    pulse.index = 0;
    row[kColDOID] = outputs.items.empty() ? "0" : outputs.text();
    row[kColDOState] = "0";
    row[kColDODuration] = "0";
    row[kColPresetDest].clear();
    row[kColPreset] = "X";
    chkEventAction[kChkPreset] = false;
    EnableOutputs(code, ch);
    cmbEventAction[kCmbChannel].enabled = true;
    cmbEventAction[kCmbEvent].enabled = true;
    cmbEventAction[kCmbGroup].enabled = tables_.strEventGroup.front().ID >= 1;
}

void EventActionTab::setKind(int32_t code) {
    Row& row = GridEventAction[static_cast<size_t>(selectedRow)];
    const int32_t ch = num(row[kColCH]);
    row[kColCode] = code < 0 ? "" : std::to_string(code);
    row[kColIcon] = EventIconKey(row[kColCode]);
    row[kColEvent] = cmbEventAction[kCmbEvent].text();
    row[kColTrigger] = kNA;
    ChangeCombo15(isDIKind(code) ? 0 : IsPOSEventCode(code) ? 1 : 2, ch);
    // A new choice of kind starts on the first source.
    app::ComboBox& t = cmbEventAction[kCmbTrigger];
    if (!t.items.empty() && (isDIKind(code) || IsPOSEventCode(code))) {
        t.selectFirstWhenEmpty();
        row[kColTrigger] = triggerCell();
    }
    EnableOutputs(code, ch);
}

std::string EventActionTab::triggerCell() const {
    const app::ComboBox& t = cmbEventAction[kCmbTrigger];
    if (t.index < 0) return kNA;
    if (cmbEventAction15Tag == "DI") return t.text();
    int item = 0;
    for (const pos::POSTriggerEventRecord& r : triggers_) {
        if (r.ID < 0) continue;
        if (item++ == t.index) return std::to_string(r.ID);
    }
    return kNA;
}

bool EventActionTab::GridEventAction_MouseUp(int row) {
    if (GridEventAction.size() <= 1 || row < 1 || static_cast<size_t>(row) >= GridEventAction.size()) return false;
    EventaActionGridSet(row);
    newRow_ = GridEventAction[static_cast<size_t>(row)][kColID].empty();
    Filling f(bFilling);
    CleanEventActionField();
    const Row& r = GridEventAction[static_cast<size_t>(row)];
    const int32_t ch = num(r[kColCH]);
    ShowSCDLGrid();
    app::ComboBox& chs = cmbEventAction[kCmbChannel];
    chs.select("CH" + std::to_string(ch));
    if (chs.text().empty() && num16(r[kColID]) >= 0) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextChannelNotSet), title_);
        EventAction_EnableSet(false);
        return false;
    }
    EventAction_EnableSet(true);
    // The duplicate test takes the row's own kind out; it goes back at the end, selected.
    CheckChEventActionSel(ch - 1);
    app::ComboBox& kinds = cmbEventAction[kCmbEvent];
    kinds.add(GetEventName(r[kColCode], types_, triggers_, lang_));
    kinds.index = static_cast<int>(kinds.items.size()) - 1;

    app::ComboBox& groups = cmbEventAction[kCmbGroup];
    for (const EventGroupRecord& g : tables_.strEventGroup)
        if (g.ID >= 0 && !g.Removed) groups.add(g.Name);
    groups.index = groups.items.empty() ? -1 : 0;
    for (size_t i = 0; i < groups.items.size(); ++i)
        if (base::Trim(groups.items[i]) == base::Trim(r[kColGroup])) {
            groups.index = static_cast<int>(i);
            break;
        }
    groups.enabled = tables_.strEventGroup.front().ID >= 1;
    showGroup();

    // Codes 4139..4199 carry the POS picture but count as DI kinds here.
    const int32_t code = num(r[kColCode]);
    ChangeCombo15(IsPOSEventCode(code) ? 1 : 0, ch);
    if (r[kColTrigger] == kNA || r[kColTrigger].empty()) cmbEventAction[kCmbTrigger].enabled = false;

    const channels::ChannelRecord* c = channel(ch);
    const bool outputs = c && c->NumberDO != 0;
    app::ComboBox& doId = cmbEventAction[kCmbDOID];
    for (int i = 1; c && i <= c->NumberDO; ++i) doId.add(std::to_string(i));
    doId.select(r[kColDOID]);
    app::ComboBox& state = cmbEventAction[kCmbDOState];
    state.add(lang_.GetText(kTextClose));
    state.add(lang_.GetText(kTextOpen));
    state.index = std::clamp(num(r[kColDOState]), 0, 1);
    app::ComboBox& pulse = cmbEventAction[kCmbDODuration];
    for (int i = 1; i <= kPulseLengths; ++i) pulse.add(std::to_string(i));
    const int32_t duration = num(r[kColDODuration]);
    pulse.index = duration >= 0 && duration < kPulseLengths ? duration : -1;
    chkEventAction[kChkDO] = r[kColDO] == "O";
    for (int i : {kCmbDOID, kCmbDOState, kCmbDODuration}) cmbEventAction[static_cast<size_t>(i)].enabled = outputs;
    chkEventActionEnabled[kChkDO] = outputs;

    fillPresets(ch);
    app::ComboBox& presets = cmbEventAction[kCmbPreset];
    for (size_t i = 0; i < presets.items.size(); ++i)
        if (presets.items[i].substr(0, presets.items[i].find('-')) == r[kColPresetDest]) presets.index = static_cast<int>(i);
    chkEventAction[kChkPreset] = r[kColPreset] == "O";
    presets.enabled = chkEventActionEnabled[kChkPreset] = !presets.items.empty();

    imgEventActionbtn = {true, true, true, !newRow_};
    return true;
}

void EventActionTab::markEdited(int combo) {
    if (combo >= 0 && combo < kCombos)
        cmbEventActionTip[static_cast<size_t>(combo)] = cmbEventAction[static_cast<size_t>(combo)].text();
    dirty_ = true;
    imgEventActionbtn[kSave] = imgEventActionbtn[kCancel] = true;
}

bool EventActionTab::cmbEventAction_Click(int index, int item) {
    if (bFilling || index < 0 || index >= kCombos || selectedRow < 1 ||
        static_cast<size_t>(selectedRow) >= GridEventAction.size())
        return false;
    app::ComboBox& combo = cmbEventAction[static_cast<size_t>(index)];
    if (!combo.enabled || item < 0 || static_cast<size_t>(item) >= combo.items.size()) return false;
    combo.index = item;
    Row& row = GridEventAction[static_cast<size_t>(selectedRow)];
    switch (index) {
        case kCmbChannel: applyChannel(); break;
        case kCmbEvent: {
            Filling f(bFilling);
            setKind(GetEventCode(combo.text(), types_));
            break;
        }
        case kCmbGroup:
            row[kColGroup] = combo.text();
            showGroup();
            break;
        case kCmbDOID: row[kColDOID] = combo.text(); break;
        case kCmbDOState: row[kColDOState] = std::to_string(item); break;
        case kCmbPreset: row[kColPresetDest] = combo.text().substr(0, combo.text().find('-')); break;
        case kCmbTrigger: row[kColTrigger] = triggerCell(); break;
        case kCmbDODuration: row[kColDODuration] = std::to_string(item); break;
        default: return false;
    }
    markEdited(index);
    return true;
}

bool EventActionTab::chkEventAction_Click(int index, bool on) {
    if (bFilling || (index != kChkDO && index != kChkPreset) || selectedRow < 1 ||
        static_cast<size_t>(selectedRow) >= GridEventAction.size() || !chkEventActionEnabled[static_cast<size_t>(index)])
        return false;
    chkEventAction[static_cast<size_t>(index)] = on;
    Row& row = GridEventAction[static_cast<size_t>(selectedRow)];
    if (index == kChkDO) {
        row[kColDO] = ox(on);
    } else {
        row[kColPreset] = ox(on);
        app::ComboBox& presets = cmbEventAction[kCmbPreset];
        if (on && presets.index < 0 && !presets.items.empty()) presets.index = 0;
        if (on) row[kColPresetDest] = presets.text().substr(0, presets.text().find('-'));
    }
    markEdited(-1);
    return true;
}

bool EventActionTab::CheckEventActionList() {
    for (size_t r = 1; r < GridEventAction.size(); ++r) {
        const Row& row = GridEventAction[r];
        if (row[kColGroup].empty() || row[kColCode].empty() || row[kColCH].empty()) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextEmptyField), title_);
            return false;
        }
    }
    return true;
}

EventActionList EventActionTab::SetGridToEventAction() const {
    EventActionList out;
    for (size_t i = 1; i < GridEventAction.size(); ++i) {
        const Row& row = GridEventAction[i];
        const EventGroupRecord* g = nullptr;
        const std::string name = base::Trim(row[kColGroup]);
        for (const EventGroupRecord& x : tables_.strEventGroup)
            if (x.ID >= 0 && !x.Removed && base::Trim(x.Name) == name) {
                g = &x;
                break;
            }
        if (!g) continue;  // the group has gone: the row goes without a word
        EventActionRecord r;
        r.CH = num16(row[kColCH]);
        r.Event = row[kColCode];
        r.ActionGroup = g->ID;
        r.ID = num16(row[kColID]);
        r.Removed = num(row[kColDelete]) > 0;
        const std::string& trigger = row[kColTrigger];
        if (trigger.empty() || trigger == kNA) {
            r.TriggerID = -1;
        } else {
            const int16_t n = num16(trigger);
            r.TriggerID = isDIKind(num(r.Event)) && n > 0 ? static_cast<int16_t>(n - 1) : n;
        }
        const channels::ChannelRecord* c = channel(r.CH);
        const bool outputs = c && c->NumberDO != 0;
        r.DigitalOut = !(row[kColDO] == "X" || row[kColDO].empty() || !outputs);
        r.Preset = row[kColPreset] == "O";
        if (outputs) {
            r.DigitalOutID = num16(row[kColDOID]);
            r.DigitalOutState = num16(row[kColDOState]);
            r.DODuration = num16(row[kColDODuration]);
        }
        if (!row[kColPresetDest].empty()) r.PresetDest = num16(row[kColPresetDest]);
        out.push_back(std::move(r));
    }
    if (out.empty()) out.resize(1);
    return out;
}

bool EventActionTab::save() {
    if (!CheckEventActionList()) return false;
    EventActionList list = SetGridToEventAction();
    if (!SaveEventAction_Setting(link_, list)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextSaveFailed), title_);
        return false;
    }
    tables_.strEventAction = std::move(list);
    dirty_ = false;
    newRow_ = false;
    ShowEventAction();
    ShowEventInfo();
    return true;
}

void EventActionTab::cancel() {
    for (EventActionRecord& r : tables_.strEventAction) r.Removed = false;
    dirty_ = false;
    newRow_ = false;
    ShowEventAction();
}

bool EventActionTab::remove() {
    if (selectedRow < 1 || static_cast<size_t>(selectedRow) >= GridEventAction.size()) return false;
    const std::string ch = GridEventAction[static_cast<size_t>(selectedRow)][kColCH];
    const std::string code = GridEventAction[static_cast<size_t>(selectedRow)][kColCode];
    for (EventActionRecord& r : tables_.strEventAction)
        if (r.ID >= 0 && std::to_string(r.CH) == ch && r.Event == code) r.Removed = true;
    // The pair's rows leave the grid; other rows keep what was typed into them.
    Grid kept;
    kept.reserve(GridEventAction.size());
    for (size_t i = 0; i < GridEventAction.size(); ++i) {
        const bool gone = i >= 1 && (static_cast<int>(i) == selectedRow ||
                                     (GridEventAction[i][kColCH] == ch && GridEventAction[i][kColCode] == code));
        if (!gone) kept.push_back(std::move(GridEventAction[i]));
    }
    GridEventAction = std::move(kept);
    GridEventActionBG.assign(GridEventAction.size(), app::kDefaultBackground);
    selectedRow = -1;
    newRow_ = false;
    CleanEventActionField();
    dirty_ = true;
    imgEventActionbtn = {true, true, false, true};
    return true;
}

bool EventActionTab::imgEventActionbtn_Click(int index) {
    if (index < 0 || index > kAdd || !imgEventActionbtn[static_cast<size_t>(index)]) return false;
    switch (index) {
        case kSave: return save();
        case kCancel: cancel(); return true;
        case kRemove: return remove();
        default: {
            const size_t rows = GridEventAction.size();
            add();
            return GridEventAction.size() > rows;
        }
    }
}

bool EventActionTab::ChannelRemoved(int32_t ch) {
    const std::string chText = std::to_string(ch);
    bool removedRows = false;
    const bool formOnIt = selectedRow >= 1 && static_cast<size_t>(selectedRow) < GridEventAction.size() &&
                          GridEventAction[static_cast<size_t>(selectedRow)][kColCH] == chText;
    int selected = selectedRow;
    Grid kept;
    kept.reserve(GridEventAction.size());
    for (size_t i = 0; i < GridEventAction.size(); ++i) {
        if (i >= 1 && GridEventAction[i][kColCH] == chText) {
            removedRows = true;
            if (static_cast<int>(i) < selectedRow) --selected;
            continue;
        }
        kept.push_back(std::move(GridEventAction[i]));
    }
    GridEventAction = std::move(kept);
    GridEventActionBG.assign(GridEventAction.size(), app::kDefaultBackground);
    if (formOnIt) {
        selectedRow = -1;
        newRow_ = false;
        CleanEventActionField();
        imgEventActionbtn = {false, false, false, true};
    } else if (selectedRow >= 1) {
        selectedRow = selected;
        GridEventActionBG[static_cast<size_t>(selectedRow)] = kRowSelected;
    }
    ShowEventInfo();
    if (!removedRows && !dirty_) return true;
    return save();
}

}  // namespace kv::events
