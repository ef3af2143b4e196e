// The Action Group tab: the working grid, the group form and its destination combos, id reuse,
// the removal guard and the save of area 4.
#include "events/group_tab.h"

#include <algorithm>

#include "base/text.h"
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

using Tab = ActionGroupTab;

// The flag and destination of each destination box (2..7) and the prefix of its combo items.
struct DestField {
    bool EventGroupRecord::*flag;
    int16_t EventGroupRecord::*dest;
    std::string_view item;
};
constexpr std::array<DestField, 6> kDestFields = {{
    {&EventGroupRecord::FTP, &EventGroupRecord::FtpDest, " FTP # "},
    {&EventGroupRecord::Mail, &EventGroupRecord::MailDest, " Mail # "},
    {&EventGroupRecord::HTTP, &EventGroupRecord::HTTPDest, " Http # "},
    {&EventGroupRecord::TCP, &EventGroupRecord::TcpDest, " TCP # "},
    {&EventGroupRecord::Sound, &EventGroupRecord::SoundDest, " Warning # "},
    {&EventGroupRecord::SOP, &EventGroupRecord::SOPDest, " Contact # "},
}};

bool isDestBox(int box) { return box >= Tab::kBoxFTP && box < Tab::kBoxCount; }
const DestField& destField(int box) { return kDestFields[static_cast<size_t>(box - Tab::kBoxFTP)]; }
int flagColumn(int box) { return Tab::kColFirstDest + 2 * (box - Tab::kBoxFTP); }

// Calls `f` with the destination list of box `box` (2..7).
template <class F>
auto visitList(const EventTables& t, int box, F&& f) {
    switch (box) {
        case Tab::kBoxFTP: return f(t.strFTPServer);
        case Tab::kBoxMail: return f(t.strMailServer);
        case Tab::kBoxHTTP: return f(t.strHTTPServer);
        case Tab::kBoxTCP: return f(t.strTCPServer);
        case Tab::kBoxSound: return f(t.strSoundFile);
        default: return f(t.strSOPContact);
    }
}

}  // namespace

bool GroupHasBox(const EventGroupRecord& group, int box) { return isDestBox(box) && group.*destField(box).flag; }

int16_t GroupBoxDest(const EventGroupRecord& group, int box) {
    return isDestBox(box) ? group.*destField(box).dest : int16_t{-1};
}

std::string GroupBoxItem(const EventGroupRecord& group, int box) {
    if (!GroupHasBox(group, box)) return {};
    return std::string(destField(box).item) + std::to_string(group.*destField(box).dest);
}

namespace {

int16_t toInt16(std::string_view text) {
    return static_cast<int16_t>(std::clamp<int64_t>(base::LeadingNumber(text), INT16_MIN, INT16_MAX));
}

std::string mark(bool on) { return on ? "O" : "X"; }

std::vector<std::string> rowCells(const EventGroupRecord& g) {
    std::vector<std::string> row = {std::to_string(g.ID), mark(g.Record), mark(g.Emergency), g.Name, ""};
    for (const DestField& d : kDestFields) {
        row.push_back(mark(g.*d.flag));
        row.push_back(std::to_string(g.*d.dest));
    }
    row.push_back("0");
    return row;
}

// A grid row read back. Fields without a column (OSD, the text read with it) stay at their defaults.
EventGroupRecord rowRecord(const std::vector<std::string>& row) {
    EventGroupRecord g;
    if (row.size() < static_cast<size_t>(Tab::kColumns)) return g;
    g.ID = toInt16(row[Tab::kColID]);
    g.Record = row[Tab::kColRecord] == "O";
    g.Emergency = row[Tab::kColEmergency] == "O";
    g.Name = row[Tab::kColName];
    for (int box = Tab::kBoxFTP; box < Tab::kBoxCount; ++box) {
        const size_t col = static_cast<size_t>(flagColumn(box));
        g.*destField(box).flag = row[col] == "O";
        g.*destField(box).dest = toInt16(row[col + 1]);
    }
    return g;
}

}  // namespace

ActionGroupTab::ActionGroupTab(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                               const base::Language& lang, std::string title)
    : tables_(tables), link_(link), prompter_(prompter), lang_(lang), title_(std::move(title)) {
    Refresh();
}

void ActionGroupTab::Refresh() {
    if (dirty_) return;
    ShowEventGroupGrid();
    LeanEventGroupField();
    EnActionCondition();
    imgEventGroupbtn = {false, false, false, true};
}

std::vector<int16_t> ActionGroupTab::offeredIds(int box) const {
    if (!isDestBox(box)) return {};
    return visitList(tables_, box, [](const auto& list) {
        std::vector<int16_t> ids;
        if (list.empty() || list.front().ID <= 0) return ids;
        // An entry removed on the server tab is on its way out: a group must not point at it.
        for (const auto& r : list)
            if (r.ID > 0 && !r.Removed) ids.push_back(r.ID);
        return ids;
    });
}

int16_t ActionGroupTab::GetDestID(int box, std::string_view text) const {
    if (!isDestBox(box)) return -1;
    const size_t hash = text.find('#');
    if (hash == std::string_view::npos) return -1;
    std::string_view piece = text.substr(hash + 1);
    piece = piece.substr(0, piece.find('#'));
    const int64_t n = base::LeadingNumber(base::Trim(piece));
    return visitList(tables_, box, [n](const auto& list) -> int16_t {
        for (const auto& r : list)
            if (r.ID >= 0 && r.ID == n) return r.ID;
        return -1;
    });
}

void ActionGroupTab::EnActionCondition() {
    const Filling quiet(bFilling);
    for (int box = kBoxFTP; box < kBoxCount; ++box) {
        app::ComboBox& combo = cmbEventGroup[static_cast<size_t>(box)];
        combo.clear();
        for (int16_t id : offeredIds(box)) combo.add(std::string(destField(box).item) + std::to_string(id));
        const bool any = !combo.items.empty();
        combo.enabled = chkEventGroupEnabled[static_cast<size_t>(box)] = any;
        if (any) combo.index = 0;
    }
    cmbEventAction2.clear();
    for (const EventGroupRecord& g : tables_.strEventGroup)
        if (g.ID > 0) cmbEventAction2.add(g.Name);
    if (!cmbEventAction2.items.empty()) cmbEventAction2.index = 0;
    // A changed server list must not move an open group onto another destination.
    if (FrameEventGroup) selectDestinations();
}

void ActionGroupTab::selectDestinations() {
    for (int box = kBoxFTP; box < kBoxCount; ++box) {
        app::ComboBox& combo = cmbEventGroup[static_cast<size_t>(box)];
        combo.index = combo.items.empty() ? -1 : 0;
        if (!(working.*destField(box).flag)) continue;
        for (size_t i = 0; i < combo.items.size(); ++i) {
            if (GetDestID(box, combo.items[i]) == working.*destField(box).dest) {
                combo.index = static_cast<int>(i);
                break;
            }
        }
    }
}

void ActionGroupTab::ShowEventGroupGrid() {
    gridEventGroup.assign(1, {"ID", lang_.GetText(137), lang_.GetText(kTextEmergency), lang_.GetText(77),
                              lang_.GetText(151), "FTP", "", lang_.GetText(225), "", "HTTP", "", "TCP", "",
                              lang_.GetText(557), "", lang_.GetText(387), "", ""});
    for (const EventGroupRecord& g : tables_.strEventGroup)
        if (g.ID > 0 && !g.Removed) gridEventGroup.push_back(rowCells(g));
    gridEventGroupBG.assign(gridEventGroup.size(), app::kDefaultBackground);
}

void ActionGroupTab::EventGroupRowBG(int row) {
    gridEventGroupBG.resize(gridEventGroup.size(), app::kDefaultBackground);
    std::replace(gridEventGroupBG.begin(), gridEventGroupBG.end(), kRowSelected, app::kDefaultBackground);
    if (row >= 1 && static_cast<size_t>(row) < gridEventGroupBG.size())
        gridEventGroupBG[static_cast<size_t>(row)] = kRowSelected;
}

void ActionGroupTab::LeanEventGroupField() {
    const Filling quiet(bFilling);
    cmbEventGroupID.clear();
    cmbEventGroupID.enabled = false;
    txtEventGoupName = {"", true};
    txtEventGoupNameFocus = false;
    chkEventGroup.fill(false);
    for (app::ComboBox& combo : cmbEventGroup) combo.index = combo.items.empty() ? -1 : 0;
    FrameEventGroup = false;
    selectedRow = 0;
    working = {};
    EventGroupRowBG(0);
}

bool ActionGroupTab::CheckEventGroupID(int16_t id) const { return rowOf(id) >= 1; }

int ActionGroupTab::rowOf(int16_t id) const {
    for (size_t r = 1; r < gridEventGroup.size(); ++r)
        if (!gridEventGroup[r].empty() && toInt16(gridEventGroup[r][kColID]) == id) return static_cast<int>(r);
    return -1;
}

int16_t ActionGroupTab::Form_Config_Main_GetEventGroupID() const {
    const int rows = static_cast<int>(gridEventGroup.size());
    if (rows <= 1) return 1;
    for (int id = 1; id <= rows; ++id)
        if (!CheckEventGroupID(static_cast<int16_t>(id))) return static_cast<int16_t>(id);
    return static_cast<int16_t>(rows + 1);
}

std::string ActionGroupTab::GetEventGroupName(int16_t id) const {
    for (const EventGroupRecord& g : tables_.strEventGroup)
        if (g.ID > 0 && g.ID == id) return g.Name;
    return "";
}

int ActionGroupTab::GetEventGroupArrayID(std::string_view name) const {
    const std::string wanted = base::Trim(name);
    for (size_t i = 0; i < tables_.strEventGroup.size(); ++i) {
        const EventGroupRecord& g = tables_.strEventGroup[i];
        if (g.ID > 0 && base::Trim(g.Name) == wanted) return static_cast<int>(i);
    }
    return -1;
}

void ActionGroupTab::AddNewEventGroup() {
    LeanEventGroupField();
    const Filling quiet(bFilling);
    FrameEventGroup = true;
    selectedRow = -1;
    const int16_t id = Form_Config_Main_GetEventGroupID();
    cmbEventGroupID.add(std::to_string(id));
    cmbEventGroupID.index = 0;
    txtEventGoupNameFocus = true;
    chkEventGroup[kBoxRecord] = true;  // a new group records
    for (int box = kBoxFTP; box < kBoxCount; ++box)
        chkEventGroupEnabled[static_cast<size_t>(box)] = !offeredIds(box).empty();
    working.ID = id;
    working.Record = true;
    imgEventGroupbtn = {true, true, false, false};
}

void ActionGroupTab::markEdited() {
    dirty_ = true;
    imgEventGroupbtn[kSave] = imgEventGroupbtn[kCancel] = true;
}

void ActionGroupTab::applyBox(int box) {
    const bool on = chkEventGroup[static_cast<size_t>(box)];
    const bool rowShown = selectedRow >= 1 && static_cast<size_t>(selectedRow) < gridEventGroup.size();
    std::vector<std::string>* row = rowShown ? &gridEventGroup[static_cast<size_t>(selectedRow)] : nullptr;
    if (box == kBoxRecord || box == kBoxEmergency) {
        (box == kBoxRecord ? working.Record : working.Emergency) = on;
        if (row) (*row)[static_cast<size_t>(box == kBoxRecord ? kColRecord : kColEmergency)] = mark(on);
        return;
    }
    const DestField& d = destField(box);
    working.*d.flag = on;
    working.*d.dest = on ? GetDestID(box, cmbEventGroup[static_cast<size_t>(box)].text()) : int16_t{-1};
    if (row) {
        const size_t col = static_cast<size_t>(flagColumn(box));
        (*row)[col] = mark(on);
        (*row)[col + 1] = std::to_string(working.*d.dest);
    }
}

bool ActionGroupTab::chkEventGroup_Click(int index, bool on) {
    if (bFilling || index < 0 || index >= kBoxCount || !FrameEventGroup) return false;
    const auto i = static_cast<size_t>(index);
    if (!chkEventGroupEnabled[i]) return false;
    // A destination box needs something to point at.
    chkEventGroup[i] = on && (!isDestBox(index) || !cmbEventGroup[i].items.empty());
    markEdited();
    applyBox(index);
    return true;
}

bool ActionGroupTab::cmbEventGroup_Click(int index, int item) {
    if (bFilling || !isDestBox(index) || !FrameEventGroup) return false;
    app::ComboBox& combo = cmbEventGroup[static_cast<size_t>(index)];
    if (!combo.enabled || item < 0 || static_cast<size_t>(item) >= combo.items.size()) return false;
    combo.index = item;
    markEdited();
    applyBox(index);
    return true;
}

bool ActionGroupTab::txtEventGoupName_Change(const std::string& value) {
    if (bFilling || !FrameEventGroup || !txtEventGoupName.enabled) return false;
    txtEventGoupName.text = value;
    markEdited();
    return true;
}

void ActionGroupTab::showRow(int row) {
    const Filling quiet(bFilling);
    working = rowRecord(gridEventGroup[static_cast<size_t>(row)]);
    selectedRow = row;
    cmbEventGroupID.clear();
    cmbEventGroupID.add(std::to_string(working.ID));
    cmbEventGroupID.index = 0;
    txtEventGoupName = {working.Name, true};
    txtEventGoupNameFocus = false;
    chkEventGroup[kBoxRecord] = working.Record;
    chkEventGroup[kBoxEmergency] = working.Emergency;
    for (int box = kBoxFTP; box < kBoxCount; ++box)
        chkEventGroup[static_cast<size_t>(box)] = working.*destField(box).flag;
    selectDestinations();
    FrameEventGroup = true;
    EventGroupRowBG(row);
    imgEventGroupbtn = {false, false, true, true};
}

bool ActionGroupTab::gridEventGroup_Click(int row) {
    if (bFilling || row < 1 || static_cast<size_t>(row) >= gridEventGroup.size()) return false;
    if (row == selectedRow) return true;
    if (dirty_) {
        const int16_t id = toInt16(gridEventGroup[static_cast<size_t>(row)][kColID]);
        const std::string question = lang_.GetText(kTextGroupTitle) + ":" + lang_.GetText(kTextAskSave);
        if (prompter_.box(app::BoxKind::YesNo, question, title_) == app::Answer::Yes) {
            if (!save()) return false;  // the refused edits stay on the form
        } else {
            cancel();
        }
        row = rowOf(id);  // the grid was rebuilt: find the clicked group again
        if (row < 1) return false;
    }
    showRow(row);
    return true;
}

bool ActionGroupTab::imgEventGroupbtn_Click(int index) {
    if (bFilling || index < 0 || index > kAdd || !imgEventGroupbtn[static_cast<size_t>(index)]) return false;
    switch (index) {
        case kSave: return save();
        case kCancel: cancel(); return true;
        case kRemove:
            return selectedRow >= 1 && static_cast<size_t>(selectedRow) < gridEventGroup.size() &&
                   RemoveActionGroup(toInt16(gridEventGroup[static_cast<size_t>(selectedRow)][kColID]));
        default: AddNewEventGroup(); return true;
    }
}

bool ActionGroupTab::RemoveActionGroup(int16_t id) {
    // Any channel counts: the service would run a group that no longer exists.
    const bool used = std::any_of(tables_.strEventAction.begin(), tables_.strEventAction.end(),
                                  [id](const EventActionRecord& a) { return a.ActionGroup == id; });
    if (used) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextGroupInUse), title_);
        return false;
    }
    const int row = rowOf(id);
    if (row < 1) return false;
    gridEventGroup.erase(gridEventGroup.begin() + row);
    gridEventGroupBG.erase(gridEventGroupBG.begin() + row);
    LeanEventGroupField();
    dirty_ = true;
    imgEventGroupbtn = {true, true, false, true};
    return true;
}

void ActionGroupTab::GetSettingToSetEventGroup() {
    working.Name = txtEventGoupName.text;
    working.ID = toInt16(cmbEventGroupID.text());
    working.Record = chkEventGroup[kBoxRecord];
    working.Emergency = chkEventGroup[kBoxEmergency];
    for (int box = kBoxFTP; box < kBoxCount; ++box) {
        const auto i = static_cast<size_t>(box);
        const bool on = chkEventGroupEnabled[i] && chkEventGroup[i];
        working.*destField(box).flag = on;
        working.*destField(box).dest = on ? GetDestID(box, cmbEventGroup[i].text()) : int16_t{-1};
    }
}

void ActionGroupTab::putWorkingInGrid() {
    if (selectedRow >= 1 && static_cast<size_t>(selectedRow) < gridEventGroup.size()) {
        gridEventGroup[static_cast<size_t>(selectedRow)] = rowCells(working);
        return;
    }
    gridEventGroup.push_back(rowCells(working));
    gridEventGroupBG.push_back(app::kDefaultBackground);
    // From now on the form edits that row, so that saving again does not add the group twice.
    selectedRow = static_cast<int>(gridEventGroup.size()) - 1;
    EventGroupRowBG(selectedRow);
}

EventGroupList ActionGroupTab::SetEventGroupListToEventGroupArray() const {
    EventGroupList list;
    for (size_t r = 1; r < gridEventGroup.size(); ++r) {
        const std::vector<std::string>& row = gridEventGroup[r];
        if (row.size() < static_cast<size_t>(kColumns) || base::LeadingNumber(row[kColRemoved]) > 0) continue;
        EventGroupRecord g = rowRecord(row);
        if (g.ID > 0) list.push_back(std::move(g));
    }
    return list.empty() ? EventGroupList(1) : list;
}

bool ActionGroupTab::save() {
    if (FrameEventGroup && selectedRow != 0) {
        const std::string name = base::Trim(txtEventGoupName.text);
        bool taken = false;
        for (size_t r = 1; r < gridEventGroup.size(); ++r)
            taken = taken || (static_cast<int>(r) != selectedRow && base::Trim(gridEventGroup[r][kColName]) == name);
        if (name.empty() || taken) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextNameRefused), title_);
            return false;
        }
        GetSettingToSetEventGroup();
        putWorkingInGrid();
    }
    // Read back from the grid, which has no OSD column: OSD goes out off in every group.
    const EventGroupList list = SetEventGroupListToEventGroupArray();
    if (!SaveEventGroup_Setting(link_, list)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextSaveFailed), title_);
        markEdited();
        return false;
    }
    tables_.strEventGroup = list;
    dirty_ = false;
    ShowEventGroupGrid();
    LeanEventGroupField();
    EnActionCondition();
    imgEventGroupbtn = {false, false, false, true};
    return true;
}

void ActionGroupTab::cancel() {
    ShowEventGroupGrid();
    LeanEventGroupField();
    dirty_ = false;
    imgEventGroupbtn = {false, false, false, true};
}

}  // namespace kv::events
