// The user page: the Users tab and the User Group tab with its three rights grids, bound to the
// page model of the users subject, and its part in the shell's save pipeline.
#pragma once

#include "ui/binders.h"
#include "ui/page.h"
#include "users/records.h"

class QTableWidget;

namespace kv::app {
class ShellModel;
}
namespace kv::base {
class Language;
}
namespace kv::users {
class UserPage;
}

namespace kv::ui {

class UserPage : public Page {
public:
    /// `strUser` and `strUserGroup` are the session's lists the model edits; the page reads them
    /// to tell whether a save reached the service.
    UserPage(users::UserPage& model, const users::UserList& strUser, const users::UserGroupList& strUserGroup,
             app::ShellModel& shell, const base::Language& lang);
    void refresh() override { binder_.refresh(); }

    /// The menu entry: the lists as they stand now, unless edits are waiting on the page.
    void open();
    /// The save of area 13: pending account edits, then the whole list.
    bool saveUsers();
    /// The save of areas 14 and 8: pending group edits, then the whole list.
    bool saveGroups();

private:
    QWidget* buildUserTab();
    QWidget* buildGroupTab();
    QTableWidget* rightsGrid(int right);
    /// Runs a model action that may send a list, and notes when one reached the service.
    bool sending(const std::function<bool()>& action);
    /// The shell's dirty flags follow the two tabs.
    void syncShell();

    users::UserPage& model_;
    const users::UserList& strUser_;
    const users::UserGroupList& strUserGroup_;
    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
    bool showPasswords_ = false;
    int shownFor_ = -1;  // the account whose passwords show in clear
};

}  // namespace kv::ui
