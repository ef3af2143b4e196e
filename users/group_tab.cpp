// The User Group tab: the hidden working grid, the three rights grids and the group rules.
#include "users/page.h"

#include "app/removal.h"

#include <algorithm>

#include "users/rights.h"
#include "users/save.h"

namespace kv::users {
namespace {

// Seven groups at most: the grid has a title row.
constexpr size_t kMaxGridRows = 8;

}  // namespace

UserGroupTab::UserGroupTab(UserGroupList& strUserGroup, const UserList& strUser, link::ServiceLink& link,
                           app::Prompter& prompter, const base::Language& lang, std::string title,
                           int32_t channelCount)
    : strUserGroup_(strUserGroup), strUser_(strUser), link_(link), prompter_(prompter), lang_(lang),
      title_(std::move(title)), channelCount_(std::clamp(channelCount, 0, base::kMaxChannel)) {
    RefreshUserGroup();
}

void UserGroupTab::setChannelCount(int32_t count) {
    channelCount_ = std::clamp(count, 0, base::kMaxChannel);
    DrawCHList();
}

void UserGroupTab::RefreshUserGroup() {
    GridUserGroupTmp.clear();
    for (const UserGroupRecord& g : strUserGroup_)
        if (g.ID >= 1) GridUserGroupTmp.push_back(g);
    fillGrid();
    closeFieldSet();
    dirty_ = false;
    mode = EditMode::None;
    imgUserGroupbtn = {false, false, gridUser.size() < kMaxGridRows, false};
}

void UserGroupTab::fillGrid() {
    gridUser.assign(1, {"ID", lang_.GetText(text::kGroupName)});
    for (const UserGroupRecord& g : GridUserGroupTmp) gridUser.push_back({std::to_string(g.ID), g.Name});
}

void UserGroupTab::closeFieldSet() {
    txtUserGroup[0] = {"", false};
    txtUserGroup[1] = {"", true};
    for (base::ChannelFlags& f : chFlags) f.fill(false);
    gridsEnabled = false;
    frameUserGroupSetting = false;
    selectedRow = 0;
    DrawCHList();
}

void UserGroupTab::DrawCHList() {
    for (int k = 0; k < 3; ++k) {
        for (int r = 0; r < kCellRows; ++r) {
            for (int c = 0; c < kCellsPerRow; ++c) {
                const int ch = r * kCellsPerRow + c;
                const bool beyond = ch >= channelCount_;
                ChannelCell& cell = gridCHList[k][r][c];
                cell.text = std::to_string(ch + 1);
                cell.colour = beyond ? kCellBeyondCount : chFlags[k][ch] ? kCellOn : kCellOff;
                cell.enabled = gridsEnabled && !beyond;
            }
        }
    }
}

void UserGroupTab::SetSelUserGroupCHEN(const UserGroupRecord& g) {
    // Channels above the server's count keep the flag the list gives them: they cannot be
    // toggled, and the list keeps naming them when the group is saved.
    chFlags[0] = base::CalCHList(g.Type0);
    chFlags[1] = base::CalCHList(g.Type1);
    chFlags[2] = base::CalCHList(g.Type2);
}

void UserGroupTab::AddUserGroup() {
    closeFieldSet();
    int16_t id = kAdminGroupID;
    if (!GridUserGroupTmp.empty()) {
        id = 1;
        while (std::any_of(GridUserGroupTmp.begin(), GridUserGroupTmp.end(),
                           [id](const UserGroupRecord& g) { return g.ID == id; }))
            ++id;
        txtUserGroup[1] = {"User Group #" + std::to_string(id), true};
        gridsEnabled = true;
    } else {
        // The first group administers the server: every channel, nothing to change.
        txtUserGroup[1] = {"Admin Group", false};
        for (base::ChannelFlags& f : chFlags) f.fill(true);
        gridsEnabled = false;
    }
    txtUserGroup[0].text = std::to_string(id);
    frameUserGroupSetting = true;
    selectedRow = 0;
    mode = EditMode::New;
    DrawCHList();
    imgUserGroupbtn = {true, true, gridUser.size() < kMaxGridRows, false};
}

bool UserGroupTab::imgUserGroupbtn_Click(int index) {
    if (index < 0 || index > 3 || !imgUserGroupbtn[index]) return false;
    switch (index) {
    case kSave: return SaveRow() && SaveSetting();
    case kCancel: RefreshUserGroup(); return true;
    case kNew: AddUserGroup(); return true;
    default: return removeSelected();
    }
}

bool UserGroupTab::gridUser_MouseUp(int row) {
    if (row < 1 || row > static_cast<int>(GridUserGroupTmp.size())) return false;
    const UserGroupRecord& g = GridUserGroupTmp[row - 1];
    const bool admin = g.ID == kAdminGroupID;
    txtUserGroup[0] = {std::to_string(g.ID), false};
    txtUserGroup[1] = {g.Name, !admin};
    SetSelUserGroupCHEN(g);
    gridsEnabled = !admin;
    frameUserGroupSetting = true;
    selectedRow = row;
    mode = EditMode::Edit;
    DrawCHList();
    imgUserGroupbtn = {false, false, gridUser.size() < kMaxGridRows, !admin};
    return true;
}

void UserGroupTab::markEdited() {
    dirty_ = true;
    imgUserGroupbtn[kSave] = imgUserGroupbtn[kCancel] = true;
}

bool UserGroupTab::txtUserGroup_Change(const std::string& value) {
    if (!frameUserGroupSetting || !txtUserGroup[1].enabled) return false;
    txtUserGroup[1].text = value;
    markEdited();
    return true;
}

bool UserGroupTab::gridCHList_Click(int grid, int row, int col) {
    if (grid < 0 || grid > 2 || row < 0 || row >= kCellRows || col < 0 || col >= kCellsPerRow) return false;
    if (!frameUserGroupSetting || !gridCHList[grid][row][col].enabled) return false;
    const int ch = row * kCellsPerRow + col;
    chFlags[grid][ch] = !chFlags[grid][ch];
    DrawCHList();
    markEdited();
    return true;
}

bool UserGroupTab::SaveRow() {
    if (mode == EditMode::Remove) return true;  // the removal is already in the grid
    if (mode == EditMode::None || !frameUserGroupSetting) return false;
    UserGroupRecord g;
    g.ID = static_cast<int16_t>(base::LeadingNumber(txtUserGroup[0].text));
    g.Name = txtUserGroup[1].text;
    g.Type0 = base::CalCHList(chFlags[0]);
    g.Type1 = base::CalCHList(chFlags[1]);
    g.Type2 = base::CalCHList(chFlags[2]);
    auto it = std::find_if(GridUserGroupTmp.begin(), GridUserGroupTmp.end(),
                           [&](const UserGroupRecord& r) { return r.ID == g.ID; });
    if (it != GridUserGroupTmp.end()) {
        *it = g;
    } else {
        GridUserGroupTmp.push_back(g);
        // From now on the field set edits that row, so that saving again does not add it twice.
        selectedRow = static_cast<int>(GridUserGroupTmp.size());
        mode = EditMode::Edit;
    }
    fillGrid();
    imgUserGroupbtn[kNew] = gridUser.size() < kMaxGridRows;
    return true;
}

UserGroupList UserGroupTab::SetGridToUserGroup() const {
    UserGroupList out;
    for (UserGroupRecord g : GridUserGroupTmp) {
        if (g.ID < 1) continue;
        if (g.ID == kAdminGroupID) g.Type0 = g.Type1 = g.Type2 = GetAdminGroupChList(g.ID, channelCount_);
        out.push_back(std::move(g));
    }
    return out.empty() ? EmptyUserGroupList() : out;
}

bool UserGroupTab::SaveSetting() {
    if (dirty_ && (mode == EditMode::New || mode == EditMode::Edit) && !SaveRow()) return false;
    const UserGroupList list = SetGridToUserGroup();
    if (list != strUserGroup_ || unsent_) {
        if (!SaveUserGroup_Setting(link_, list)) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kSaveFailed), title_);
            dirty_ = true;  // the hidden grid still holds what did not reach the service
            return false;
        }
        strUserGroup_ = list;
        unsent_ = false;
    }
    RefreshUserGroup();
    return true;
}

void UserGroupTab::PruneChannel(int32_t ch) {
    for (UserGroupRecord& g : GridUserGroupTmp) {
        if (g.ID == kAdminGroupID) continue;
        for (std::string* list : {&g.Type0, &g.Type1, &g.Type2}) *list = app::RemoveChannelFromList(*list, ch);
    }
    if (frameUserGroupSetting && gridsEnabled && ch >= 1 && ch <= base::kMaxChannel)
        for (base::ChannelFlags& f : chFlags) f[static_cast<size_t>(ch - 1)] = false;
    DrawCHList();
}

bool UserGroupTab::removeSelected() {
    if (selectedRow < 1 || selectedRow > static_cast<int>(GridUserGroupTmp.size())) return false;
    const int16_t id = GridUserGroupTmp[selectedRow - 1].ID;
    if (id == kAdminGroupID) return false;
    // Accounts marked for removal on the Users tab still exist on the service, so they count; so
    // do the Users tab's rows that wait for the save, which would name a group no longer there.
    const auto member = [id](const UserRecord& u) { return u.ID >= 0 && u.GroupID == id; };
    const bool inUse = std::any_of(strUser_.begin(), strUser_.end(), member) ||
                       (workingUsers_ && std::any_of(workingUsers_->begin(), workingUsers_->end(), member));
    if (inUse) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kGroupHasUsers), title_);
        return false;
    }
    GridUserGroupTmp.erase(GridUserGroupTmp.begin() + (selectedRow - 1));
    fillGrid();
    closeFieldSet();
    dirty_ = true;
    mode = EditMode::Remove;
    imgUserGroupbtn = {true, true, gridUser.size() < kMaxGridRows, false};
    return true;
}

}  // namespace kv::users
