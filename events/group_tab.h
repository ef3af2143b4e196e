// The "Action Group" tab of the event page as data: the group grid, the group form with its
// destination combos, the names offered to the event action tab, and the save of area 4.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "events/records.h"
#include "link/service_link.h"

namespace kv::events {

/// The Action Group tab. `gridEventGroup` is the working store: edits land in it and reach
/// `strEventGroup` and the service only through Save, which sends the list the grid holds.
/// Whether `group` has the destination kind of box `box` (2..7: FTP, Mail, HTTP, TCP, Sound,
/// SOP), and its item text as the group form shows it (" Mail # 2"); empty when the kind is off.
bool GroupHasBox(const EventGroupRecord& group, int box);
std::string GroupBoxItem(const EventGroupRecord& group, int box);
/// The destination id of box `box` in `group`.
int16_t GroupBoxDest(const EventGroupRecord& group, int box);

class ActionGroupTab {
public:
    /// Rows of texts; row 0 holds the column titles.
    using Grid = std::vector<std::vector<std::string>>;

    // Columns of `gridEventGroup`. Boxes 2..7 of the form own the pairs from column 5 on.
    static constexpr int kColID = 0, kColRecord = 1, kColEmergency = 2, kColName = 3, kColDescription = 4,
                         kColFirstDest = 5, kColRemoved = 17, kColumns = 18;
    /// Boxes of the form: 0 record, 1 emergency, then the destinations in this order.
    static constexpr int kBoxRecord = 0, kBoxEmergency = 1, kBoxFTP = 2, kBoxMail = 3, kBoxHTTP = 4, kBoxTCP = 5,
                         kBoxSound = 6, kBoxSOP = 7, kBoxCount = 8;
    /// The buttons of `imgEventGroupbtn`.
    enum Button : int { kSave = 0, kCancel = 1, kRemove = 2, kAdd = 3 };
    /// The background of the selected grid row (blue in the high byte).
    static constexpr int32_t kRowSelected = 0xFFA0A0;

    // Text ids of the tab.
    static constexpr int32_t kTextEmergency = 227, kTextGroupTitle = 228, kTextNameRefused = 295,
                             kTextGroupInUse = 475, kTextSaveFailed = 579, kTextAskSave = 682;

    ActionGroupTab(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                   std::string title);

    // Page state.
    Grid gridEventGroup;
    std::vector<int32_t> gridEventGroupBG;  // one background a row, the title row included
    app::ComboBox cmbEventGroupID;          // the group's number: one item, never enabled
    app::TextField txtEventGoupName;
    bool txtEventGoupNameFocus = false;     // the name field asks for the focus
    std::array<bool, kBoxCount> chkEventGroup{};
    std::array<bool, kBoxCount> chkEventGroupEnabled{true, true};
    std::array<app::ComboBox, kBoxCount> cmbEventGroup;  // 2..7 used
    app::ComboBox cmbEventAction2;          // the group names for the event action tab
    bool FrameEventGroup = false;
    std::array<bool, 4> imgEventGroupbtn{};  // save, cancel, remove, add offered
    bool bFilling = false;                  // the tab fills its controls: changes are not edits
    int selectedRow = 0;                    // grid row of the form; -1 a new group, 0 none
    EventGroupRecord working;               // the group of the form

    /// Area 4: the grid or the form holds changes the service has not taken.
    bool dirty() const { return dirty_; }

    /// After a load: the grid and the combos from the tables; nothing happens while dirty.
    void Refresh();
    /// Refills the destination combos from the six lists (a list without entries disables its box
    /// and combo) and `cmbEventAction2` from the groups. An open form keeps its destinations.
    void EnActionCondition();
    /// The grid from `strEventGroup`, without selection.
    void ShowEventGroupGrid();
    /// Empties and closes the form.
    void LeanEventGroupField();
    /// Paints the previously selected row back and `row` as selected.
    void EventGroupRowBG(int row);

    /// The lowest id from 1 that no grid row has.
    int16_t Form_Config_Main_GetEventGroupID() const;
    /// True when a grid row holds group `id`.
    bool CheckEventGroupID(int16_t id) const;
    /// The name of group `id` in `strEventGroup`; empty when there is none.
    std::string GetEventGroupName(int16_t id) const;
    /// The index in `strEventGroup` of the group named `name` (blanks around either ignored); -1 when none.
    int GetEventGroupArrayID(std::string_view name) const;

    /// The destination id of a combo text ("... # id") for box `box` (2..7); -1 when no entry has it.
    int16_t GetDestID(int box, std::string_view text) const;
    int16_t GetFtpDestID(std::string_view text) const { return GetDestID(kBoxFTP, text); }
    int16_t GetMailDestID(std::string_view text) const { return GetDestID(kBoxMail, text); }
    int16_t GetHTTPDestID(std::string_view text) const { return GetDestID(kBoxHTTP, text); }
    int16_t GetTcpDestID(std::string_view text) const { return GetDestID(kBoxTCP, text); }
    int16_t GetSoundDestID(std::string_view text) const { return GetDestID(kBoxSound, text); }
    int16_t GetSOPDestID(std::string_view text) const { return GetDestID(kBoxSOP, text); }

    /// Opens the form on a new group with the next free id.
    void AddNewEventGroup();
    /// A click on box `index` (0..7); false when ignored.
    bool chkEventGroup_Click(int index, bool on);
    /// A choice in combo `index` (2..7); false when ignored.
    bool cmbEventGroup_Click(int index, int item);
    bool txtEventGoupName_Change(const std::string& value);
    /// Selects grid row `row` (from 1); with unsaved changes the user is asked to save them first.
    bool gridEventGroup_Click(int row);
    /// The four buttons; false when the button is not offered or the action was refused.
    bool imgEventGroupbtn_Click(int index);
    /// Takes group `id` off the grid unless an event action uses it (475); sends nothing.
    bool RemoveActionGroup(int16_t id);
    /// The form into `working`: boxes that are off or disabled clear their kind, destination -1.
    void GetSettingToSetEventGroup();
    /// The list the grid stands for, rows marked removed left out. The grid has no OSD column, so
    /// every group comes out with OSD off.
    EventGroupList SetEventGroupListToEventGroupArray() const;

private:
    std::vector<int16_t> offeredIds(int box) const;
    void showRow(int row);
    void selectDestinations();
    void applyBox(int box);
    void putWorkingInGrid();
    int rowOf(int16_t id) const;
    void markEdited();
    bool save();
    void cancel();

    EventTables& tables_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    bool dirty_ = false;
};

}  // namespace kv::events
