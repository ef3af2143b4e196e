// The user page as data: the Users tab, the User Group tab with its three rights grids, and the
// tab strip. The Qt page renders these models and forwards clicks and edits to their methods.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "base/text.h"
#include "link/service_link.h"
#include "users/records.h"

namespace kv::users {

/// A grid of texts; row 0 holds the column titles.
using TextGrid = std::vector<std::vector<std::string>>;

/// One channel of a rights grid: its number as text, its background, whether a click toggles it.
struct ChannelCell {
    std::string text;
    uint32_t colour = 0xBBBBBB;
    bool enabled = false;
};

inline constexpr uint32_t kCellBeyondCount = 0xDDDDDD;
inline constexpr uint32_t kCellOn = 0xFFFFFF;
inline constexpr uint32_t kCellOff = 0xBBBBBB;
inline constexpr int kCellsPerRow = 16;
inline constexpr int kCellRows = base::kMaxChannel / kCellsPerRow;
using ChannelGrid = std::array<std::array<ChannelCell, kCellsPerRow>, kCellRows>;

/// What the field set of a tab is doing.
enum class EditMode { None = 0, New = 1, Edit = 2, Remove = 3 };

/// Buttons of both tabs, in their index order.
enum Button { kSave = 0, kCancel = 1, kNew = 2, kRemove = 3 };

/// Text ids of the messages and titles of the page.
namespace text {
inline constexpr int32_t kName = 77, kCompany = 261, kPhone = 98, kPrimaryMail = 262, kSecondMail = 263,
                         kUserGroup = 264, kGroupName = 328;
inline constexpr int32_t kEnterUserName = 310, kPasswordNotMatch = 311, kUserNameExists = 483;
inline constexpr int32_t kAddGroupFirst = 327, kGroupHasUsers = 339, kSaveFailed = 579;
}  // namespace text

/// The Users tab. `gridUser(0)` is the working store: edits land in it and reach `strUser` and
/// the service only through `SaveSetting` (the page-level save of dirty slot 13).
class UserTab {
public:
    UserTab(UserList& strUser, const UserGroupList& strUserGroup, link::ServiceLink& link, app::Prompter& prompter,
            const base::Language& lang, std::string title);

    // Page state.
    TextGrid gridUser;                 // ID, Name, Company, Phone No., Primary EMail, Second EMail, User Group
    std::array<app::TextField, 8> txtUser;  // id (read only), name, password, confirmation, company, phone, mails
    app::ComboBox cmbUserGroup;        // "name - [id]"
    std::vector<int16_t> cmbUserGroupID;  // the group id of each combo item
    std::array<bool, 4> imgUserbtn{};  // save, cancel, new, remove offered
    bool frameUserSetting = false;     // the field set is open
    int selectedRow = 0;               // grid row of the field set; 0: none (new account)
    EditMode mode = EditMode::None;
    UserRecord working;                // the record of the field set

    /// Slot 13: field edits not yet in the grid, or grid edits not yet on the service.
    bool dirty() const { return fieldsDirty_ || bUserChanged_; }
    /// The grid differs from `strUser` (the flag for changed users).
    bool userChanged() const { return bUserChanged_; }
    /// The records behind the grid rows 1.., in row order (passwords included).
    const UserList& rows() const { return rows_; }

    /// Rebuilds the grid from `strUser` after a load and closes the field set.
    void RefreshUser();
    /// Refills `cmbUserGroup` from the group list, keeping the selected group when it still exists.
    void RefillGroups();
    /// The lowest account id from 1 that no grid row uses.
    int16_t GetNewUserID() const;
    /// 0 empty name (310), -2 passwords differ (311), -1 name used by another row (483), 1 fine.
    int CheckUserName() const;
    /// The new button: opens an empty field set; the first account is forced to "Admin" in the first group.
    void AddUser();
    /// The four buttons; false when the button is not offered or the action was refused.
    bool imgUserbtn_Click(int index);
    /// What the cancel button does: every removal undone, the grid reloaded from `strUser`.
    void Cancel();
    /// Closes the field set without touching the grid: rows that wait for the save stay.
    void CancelFieldSet();
    /// Selects grid row `row` (from 1) and opens its field set; false for rows that do not exist.
    bool gridUser_MouseUp(int row);
    bool cmbUserGroup_Click(int index);
    /// An edit of `txtUser(index)`, 1..7; false when the field is read only, disabled or closed.
    bool txtUser_Change(int index, const std::string& value);
    /// `strUser` as the grid says it should become: removed records dropped, edits in, new rows appended.
    UserList SetGridToUser() const;
    /// The page-level save: a pending field set is saved into the grid first (with its checks),
    /// then a changed grid is sent whole. On success `strUser` takes the list; on failure the
    /// page shows 579 and `strUser`, the grid and the dirty state stay as they were.
    bool SaveSetting();

private:
    void closeFieldSet();
    void fillGrid();
    std::vector<std::string> rowCells(const UserRecord& u) const;
    void markEdited();
    bool saveFieldSet();
    bool removeSelected();

    UserList& strUser_;
    const UserGroupList& strUserGroup_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    UserList rows_;
    bool fieldsDirty_ = false;
    bool bUserChanged_ = false;
};

/// The User Group tab. `GridUserGroupTmp` is the hidden working grid; a save writes the field
/// set into it and sends the whole list (dirty slot 14, and slot 8 which saves the same way).
class UserGroupTab {
public:
    UserGroupTab(UserGroupList& strUserGroup, const UserList& strUser, link::ServiceLink& link,
                 app::Prompter& prompter, const base::Language& lang, std::string title, int32_t channelCount);

    TextGrid gridUser;                       // ID, Name
    UserGroupList GridUserGroupTmp;          // id, name and the three lists of every group
    std::array<app::TextField, 2> txtUserGroup;  // id (always disabled), name
    std::array<base::ChannelFlags, 3> chFlags{};  // live, PTZ, playback
    std::array<ChannelGrid, 3> gridCHList;   // gridCHList(0..2)
    bool gridsEnabled = false;
    std::array<bool, 4> imgUserGroupbtn{};  // save, cancel, new, remove offered
    bool frameUserGroupSetting = false;
    int selectedRow = 0;
    EditMode mode = EditMode::None;

    bool dirty() const { return dirty_; }
    int32_t channelCount() const { return channelCount_; }
    /// A new channel count from the server; redraws the grids.
    void setChannelCount(int32_t count);

    /// Rebuilds both grids from `strUserGroup`, closes the field set and clears slot 14 (cancel).
    void RefreshUserGroup();
    /// The new button: the lowest free id and "User Group #id" with no rights, or, for the very
    /// first group, "Admin Group" with every channel and locked grids.
    void AddUserGroup();
    bool imgUserGroupbtn_Click(int index);
    /// Selects row `row` (from 1) of `gridUser(1)`.
    bool gridUser_MouseUp(int row);
    /// An edit of the name, `txtUserGroup(1)`.
    bool txtUserGroup_Change(const std::string& value);
    /// Toggles the channel `row` * 16 + `col` of right `grid` (0 live, 1 PTZ, 2 playback).
    bool gridCHList_Click(int grid, int row, int col);
    /// Writes the field set into `GridUserGroupTmp` (lists rebuilt from the flags); sends nothing.
    bool SaveRow();
    /// The list `GridUserGroupTmp` stands for; the admin group's lists are every channel.
    UserGroupList SetGridToUserGroup() const;
    /// The Users tab's rows, accounts not yet sent included: a group they name cannot go.
    void setWorkingUsers(const UserList* rows) { workingUsers_ = rows; }
    /// Saves a pending field set into the hidden grid, then sends the list when it differs from
    /// `strUserGroup` (or was marked unsent). On success `strUserGroup` takes it; on failure 579
    /// and nothing changes.
    bool SaveSetting();
    /// A removed channel leaves the hidden grid and the open field set (the admin group keeps
    /// every channel).
    void PruneChannel(int32_t ch);
    /// The list stands in `strUserGroup` but has not reached the service: the next save sends it.
    void MarkUnsent() {
        unsent_ = true;
        dirty_ = true;
    }

private:
    void closeFieldSet();
    void fillGrid();
    void SetSelUserGroupCHEN(const UserGroupRecord& g);
    void DrawCHList();
    void markEdited();
    bool removeSelected();

    UserGroupList& strUserGroup_;
    const UserList& strUser_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    int32_t channelCount_;
    bool dirty_ = false;
    bool unsent_ = false;
    const UserList* workingUsers_ = nullptr;
};

/// The user page: the two tabs under one strip.
class UserPage {
public:
    UserPage(UserList& strUser, UserGroupList& strUserGroup, link::ServiceLink& link, app::Prompter& prompter,
             const base::Language& lang, std::string title, int32_t channelCount);

    UserTab user;
    UserGroupTab group;
    int tabIndex = 1;

    /// Tab 0 (Users) needs a group first (327, and the strip stays on tab 1); entering it
    /// cancels the Users tab's field set and refills the group combo. Returns the tab shown.
    int tabUser_Click(int index);
    /// Fills both tabs from the lists after a load.
    void Refresh();

private:
    const UserGroupList& strUserGroup_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
};

}  // namespace kv::users
