// The "Event Action" tab of the event handling page as data: the grid of event actions (channel,
// event, action group, trigger, digital output pulse, preset), the form that edits its selected
// row, and the save of area 6. Also the read-only "Action Overview" grid.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/app_tables.h"
#include "base/lang.h"
#include "channels/records.h"
#include "events/records.h"
#include "link/service_link.h"
#include "pos/records.h"

namespace kv::events {

/// The grid works on `strEventAction` as a working copy; the table changes only on Save (and
/// Remove marks). Rows are texts; row 0 holds the titles.
class EventActionTab {
public:
    using Row = std::vector<std::string>;
    using Grid = std::vector<Row>;

    // Columns of `GridEventAction` (27; 16..26 stay empty).
    static constexpr int kColCH = 0, kColCode = 1, kColIcon = 2, kColEvent = 3, kColGroup = 4, kColID = 5,
                         kColDelete = 6, kColAdd = 7, kColSpare = 8, kColTrigger = 9, kColDO = 10, kColPreset = 11,
                         kColDOID = 12, kColDOState = 13, kColDODuration = 14, kColPresetDest = 15, kColumns = 27;
    // Combos of `cmbEventAction` (0..16; 10 and 11 unused) and boxes of `chkEventAction` (0..7).
    static constexpr int kCmbChannel = 0, kCmbEvent = 1, kCmbGroup = 2, kCmbFirstDest = 3, kCmbDOID = 12,
                         kCmbDOState = 13, kCmbPreset = 14, kCmbTrigger = 15, kCmbDODuration = 16, kCombos = 17;
    static constexpr int kChkDO = 0, kChkPreset = 1, kChkFirstDest = 2, kChecks = 8;
    /// The buttons of `imgEventActionbtn`.
    enum Button : int { kSave = 0, kCancel = 1, kRemove = 2, kAdd = 3 };
    /// The pulse lengths of `cmbEventAction(16)`: items "1" .. "30" (seconds); the wire value is
    /// the item's index.
    static constexpr int kPulseLengths = 30;
    /// The background of the selected grid row (blue in the high byte).
    static constexpr int32_t kRowSelected = 0xFFA0A0;

    // Text ids of the tab.
    static constexpr int32_t kTextEmptyField = 295, kTextNoGroup = 386, kTextNoChannel = 659,
                             kTextChannelNotSet = 473, kTextNoChannelLeft = 474, kTextClose = 466, kTextOpen = 467,
                             kTextSaveFailed = 579, kTextEvent = 91, kTextGroup = 218, kTextTrigger = 116,
                             kTextPresetPoint = 60;

    /// `types` is the start-up table's event types (`strEventList`); `triggers` the POS trigger
    /// events; both are read when used, so later loads show.
    EventActionTab(EventTables& tables, const channels::ChannelTables& channels,
                   std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers,
                   link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang, std::string title);

    // Page state.
    Grid GridEventAction;
    std::vector<int32_t> GridEventActionBG;  // one background a row, the title row included
    std::array<app::ComboBox, kCombos> cmbEventAction;
    std::array<std::string, kCombos> cmbEventActionTip;  // the tooltip: the text of the last user choice
    std::array<bool, kChecks> chkEventAction{};
    std::array<bool, kChecks> chkEventActionEnabled{};
    std::string cmbEventAction15Tag;  // "DI", "POS" or empty
    std::string lblTrigger;           // "DI :" or "POS :"
    bool frameEventAction = false;    // the form's fields take input
    std::array<bool, 4> imgEventActionbtn{false, false, false, true};  // save, cancel, remove, add offered
    bool bFilling = false;  // the tab fills its controls: combo changes are not edits
    int selectedRow = -1;   // grid row of the form (from 1); -1 none

    /// The read-only overview: title row, then one row per shown action.
    Grid gridEventInfo;
    /// The picture key of each overview row's event (row 0 empty).
    std::vector<std::string> gridEventInfoIcon;

    /// Area 6: the grid holds changes the service has not taken.
    bool dirty() const { return dirty_; }

    /// The grid and the overview from `strEventAction`; nothing happens to the grid while dirty.
    void Refresh();
    /// ShowEventAction: the grid from the records without a removal mark, no selection, form cleared.
    void ShowEventAction();
    /// The overview from the table.
    void ShowEventInfo();
    /// Clears combos 0, 1, 2, 12..16, unchecks boxes 0 and 1, closes the frame.
    void CleanEventActionField();
    /// Paints the previously selected row back and `row` as selected.
    void EventaActionGridSet(int row);

    /// Fills `cmbEventAction(1)` with the kinds channel `ch` (0-based) may still take: DI kinds
    /// only with inputs and their trigger type, then 2001, 4001, 2002 once per channel. False when
    /// the channel has no name or nothing is left.
    bool CheckChEventType(int ch);
    /// The same for a picked row; offers 2005 too. A negative `ch` lists without the duplicate test.
    bool CheckChEventActionSel(int ch);
    /// True when channel `ch` (1-based) must not be offered `code`.
    bool InputEventActionCHCmb(int ch, int32_t code) const;
    /// `cmbEventAction(0)`: "CH" + n for each channel with a name.
    void ShowSCDLGrid();

    /// Refills the trigger combo: mode 0 DI, 1 POS, other modes leave it empty.
    void ChangeCombo15(int mode, int ch);
    void ChangeCmb15ToDIMode(int ch);
    void ChangeCmb15ToPOSMode();
    /// The enabling of the outputs, the trigger and the preset for `code` on channel `ch` (1-based).
    void EventAction_EnableSet(bool flag);
    void EnableOutputs(int32_t code, int ch);

    /// A new grid row (the form opens on it).
    void AddNewEventAction();
    /// A click on grid row `row` (from 1); false when ignored or refused (473).
    bool GridEventAction_MouseUp(int row);
    /// A user choice of item `item` in combo `index` (0..16); false when ignored.
    bool cmbEventAction_Click(int index, int item);
    /// A click on box 0 (DO) or 1 (preset); false when ignored.
    bool chkEventAction_Click(int index, bool on);
    /// The four buttons; false when the button is not offered or the action was refused.
    bool imgEventActionbtn_Click(int index);

    /// The check before saving: false (295 shown) when a row lacks its channel, code or group.
    bool CheckEventActionList();
    /// The table the grid stands for: a row whose group has gone is dropped silently; DI triggers
    /// go from the grid's 1-based numbers to the service's 0-based; DO fields 0 without outputs.
    EventActionList SetGridToEventAction() const;

    /// A channel was removed (its records are already pruned): its rows leave the grid, other
    /// edits stay, and the grid is saved when it differs from what the service has.
    bool ChannelRemoved(int32_t ch);

private:
    Row rowOf(const EventActionRecord& r) const;
    /// The channel chosen in combo 0 takes over the selected row: kinds, outputs, presets.
    void applyChannel();
    /// The selected row takes kind `code`; the trigger combo follows.
    void setKind(int32_t code);
    /// The trigger cell for the trigger combo's choice.
    std::string triggerCell() const;
    void showGroup();
    void markEdited(int combo);
    bool save();
    void cancel();
    bool remove();
    void add();
    int32_t channelOfCombo() const;
    int32_t codeOfRow(int row) const;
    bool fillPresets(int32_t ch);
    const channels::ChannelRecord* channel(int32_t ch) const;

    EventTables& tables_;
    const channels::ChannelTables& channels_;
    std::span<const base::EventTypeName> types_;
    const pos::POSTriggerEventList& triggers_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    bool newRow_ = false;  // the form is on a row added and not saved
    bool dirty_ = false;
};

}  // namespace kv::events
