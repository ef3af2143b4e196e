// The Users tab: the account grid as working store, the field set and its checks.
#include "users/page.h"

#include <algorithm>

#include "users/save.h"

namespace kv::users {
namespace {

std::string groupItem(const std::string& name, int32_t id) { return name + " - [" + std::to_string(id) + "]"; }

}  // namespace

UserTab::UserTab(UserList& strUser, const UserGroupList& strUserGroup, link::ServiceLink& link,
                 app::Prompter& prompter, const base::Language& lang, std::string title)
    : strUser_(strUser), strUserGroup_(strUserGroup), link_(link), prompter_(prompter), lang_(lang),
      title_(std::move(title)) {
    RefreshUser();
}

void UserTab::RefreshUser() {
    rows_.clear();
    for (const UserRecord& u : strUser_)
        if (u.ID >= 0 && !u.Removed) rows_.push_back(u);
    fillGrid();
    closeFieldSet();
    fieldsDirty_ = false;
    bUserChanged_ = false;
    mode = EditMode::None;
    imgUserbtn = {false, false, true, false};
}

void UserTab::RefillGroups() {
    const int16_t keep = cmbUserGroup.index >= 0 ? cmbUserGroupID[cmbUserGroup.index] : -1;
    cmbUserGroup.items.clear();
    cmbUserGroupID.clear();
    cmbUserGroup.index = -1;
    for (const UserGroupRecord& g : strUserGroup_) {
        if (g.ID < 1) continue;
        if (g.ID == keep) cmbUserGroup.index = static_cast<int>(cmbUserGroupID.size());
        cmbUserGroup.items.push_back(groupItem(g.Name, g.ID));
        cmbUserGroupID.push_back(g.ID);
    }
}

void UserTab::fillGrid() {
    gridUser.assign(1, {"ID", lang_.GetText(text::kName), lang_.GetText(text::kCompany), lang_.GetText(text::kPhone),
                        lang_.GetText(text::kPrimaryMail), lang_.GetText(text::kSecondMail),
                        lang_.GetText(text::kUserGroup)});
    for (const UserRecord& u : rows_) gridUser.push_back(rowCells(u));
}

std::vector<std::string> UserTab::rowCells(const UserRecord& u) const {
    std::string groupName;
    for (const UserGroupRecord& g : strUserGroup_)
        if (g.ID >= 1 && g.ID == u.GroupID) groupName = g.Name;
    return {std::to_string(u.ID), u.Name, u.Company, u.Phone, u.PrimaryMail, u.SecondMail,
            groupItem(groupName, u.GroupID)};
}

void UserTab::closeFieldSet() {
    for (app::TextField& f : txtUser) f = app::TextField{};
    txtUser[0].enabled = false;
    cmbUserGroup.index = -1;
    cmbUserGroup.enabled = true;
    frameUserSetting = false;
    selectedRow = 0;
    working = UserRecord{};
}

int16_t UserTab::GetNewUserID() const {
    // The lowest free id, so that a freed id is used again; the rows need not be in id order.
    for (int32_t id = 1; id <= INT16_MAX; ++id) {
        const bool used = std::any_of(rows_.begin(), rows_.end(), [id](const UserRecord& u) { return u.ID == id; });
        if (!used) return static_cast<int16_t>(id);
    }
    return -1;
}

int UserTab::CheckUserName() const {
    const std::string name = base::Trim(txtUser[1].text);
    if (name.empty()) return 0;
    if (txtUser[2].text != txtUser[3].text) return -2;
    const std::string wanted = base::ToUpper(name);
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (static_cast<int>(i) + 1 == selectedRow) continue;
        if (base::ToUpper(base::Trim(rows_[i].Name)) == wanted) return -1;
    }
    return 1;
}

void UserTab::AddUser() {
    closeFieldSet();
    RefillGroups();
    // The first account of a server is its administrator: a fixed name in the first group.
    const bool first = rows_.empty();
    txtUser[1] = first ? app::TextField{"Admin", false} : app::TextField{"", true};
    // Other accounts start in no group, so that none gets rights nobody chose for it.
    cmbUserGroup.index = first && !cmbUserGroup.items.empty() ? 0 : -1;
    cmbUserGroup.enabled = !first;
    working.ID = GetNewUserID();
    txtUser[0].text = std::to_string(working.ID);
    frameUserSetting = true;
    selectedRow = 0;
    mode = EditMode::New;
    imgUserbtn = {true, true, true, false};
}

bool UserTab::imgUserbtn_Click(int index) {
    if (index < 0 || index > 3 || !imgUserbtn[index]) return false;
    switch (index) {
    case kSave: return saveFieldSet();
    case kCancel: Cancel(); return true;
    case kNew: AddUser(); return true;
    default: return removeSelected();
    }
}

void UserTab::Cancel() {
    for (UserRecord& u : strUser_) u.Removed = false;
    RefreshUser();
}

void UserTab::CancelFieldSet() {
    closeFieldSet();
    fieldsDirty_ = false;
    mode = EditMode::None;
    imgUserbtn = {false, false, true, false};
}

bool UserTab::saveFieldSet() {
    if (mode == EditMode::None) return false;
    if (mode != EditMode::Remove) {
        const int check = CheckUserName();
        if (check != 1) {
            const int32_t id = check == 0 ? text::kEnterUserName : check == -2 ? text::kPasswordNotMatch
                                                                                 : text::kUserNameExists;
            prompter_.box(app::BoxKind::Notice, lang_.GetText(id), title_);
            return false;
        }
        UserRecord u = working;
        u.Name = base::Trim(txtUser[1].text);
        u.Password = txtUser[2].text;
        u.Company = txtUser[4].text;
        u.Phone = txtUser[5].text;
        u.PrimaryMail = txtUser[6].text;
        u.SecondMail = txtUser[7].text;
        if (cmbUserGroup.index >= 0) u.GroupID = cmbUserGroupID[cmbUserGroup.index];
        u.Removed = false;
        if (mode == EditMode::New) rows_.push_back(u);
        else if (selectedRow >= 1 && selectedRow <= static_cast<int>(rows_.size())) rows_[selectedRow - 1] = u;
    }
    fillGrid();
    closeFieldSet();
    bUserChanged_ = true;
    fieldsDirty_ = false;
    mode = EditMode::None;
    imgUserbtn = {false, false, true, false};
    return true;
}

bool UserTab::removeSelected() {
    if (selectedRow < 1 || selectedRow > static_cast<int>(rows_.size())) return false;
    const int16_t id = rows_[selectedRow - 1].ID;
    // The record stays in strUser, marked, until the page is saved or cancelled.
    for (UserRecord& u : strUser_)
        if (u.ID == id) u.Removed = true;
    rows_.erase(rows_.begin() + (selectedRow - 1));
    fillGrid();
    closeFieldSet();
    fieldsDirty_ = true;
    mode = EditMode::Remove;
    imgUserbtn = {true, true, true, false};
    return true;
}

bool UserTab::gridUser_MouseUp(int row) {
    if (row < 1 || row > static_cast<int>(rows_.size())) return false;
    working = rows_[row - 1];
    RefillGroups();
    txtUser[0] = {std::to_string(working.ID), false};
    txtUser[1] = {working.Name, true};
    txtUser[2] = {working.Password, true};
    txtUser[3] = {working.Password, true};
    txtUser[4] = {working.Company, true};
    txtUser[5] = {working.Phone, true};
    txtUser[6] = {working.PrimaryMail, true};
    txtUser[7] = {working.SecondMail, true};
    const auto it = std::find(cmbUserGroupID.begin(), cmbUserGroupID.end(), working.GroupID);
    cmbUserGroup.index = it == cmbUserGroupID.end() ? -1 : static_cast<int>(it - cmbUserGroupID.begin());
    // The first row is the administrator made first: it keeps its group and cannot be removed.
    cmbUserGroup.enabled = row != 1;
    frameUserSetting = true;
    selectedRow = row;
    mode = EditMode::Edit;
    imgUserbtn = {false, false, true, row > 1 && rows_.size() > 1};
    return true;
}

void UserTab::markEdited() {
    fieldsDirty_ = true;
    imgUserbtn[kSave] = imgUserbtn[kCancel] = true;
}

bool UserTab::cmbUserGroup_Click(int index) {
    if (!frameUserSetting || !cmbUserGroup.enabled) return false;
    if (index < 0 || index >= static_cast<int>(cmbUserGroup.items.size())) return false;
    cmbUserGroup.index = index;
    markEdited();
    return true;
}

bool UserTab::txtUser_Change(int index, const std::string& value) {
    if (index < 1 || index > 7 || !frameUserSetting || !txtUser[index].enabled) return false;
    txtUser[index].text = value;
    markEdited();
    return true;
}

UserList UserTab::SetGridToUser() const {
    if (rows_.empty()) return EmptyUserList();
    UserList out = rows_;
    for (UserRecord& u : out) u.Removed = false;
    return out;
}

bool UserTab::SaveSetting() {
    if (fieldsDirty_ && mode != EditMode::None && !saveFieldSet()) return false;
    if (!bUserChanged_) return true;
    const UserList list = SetGridToUser();
    if (!SaveUser_Setting(link_, list)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kSaveFailed), title_);
        return false;
    }
    strUser_ = list;
    bUserChanged_ = false;
    return true;
}

}  // namespace kv::users
