// The user page: the Users tab and the User Group tab with its three rights grids, bound to the
// page model of the users subject, and its part in the shell's save pipeline.
#pragma once

#include "ui/binders.h"
#include "ui/page.h"
#include "users/records.h"

class QTableWidget;

namespace kv::base {
class Language;
}
namespace kv::users {
class UserPage;
class UsersSubject;
}

namespace kv::ui {

class UserPage : public Page {
public:
    /// The subject has joined the shell: its page model exists.
    UserPage(users::UsersSubject& subject, const base::Language& lang);
    void refresh() override { binder_.refresh(); }

private:
    QWidget* buildUserTab();
    QWidget* buildGroupTab();
    QTableWidget* rightsGrid(int right);
    users::UsersSubject& subject_;
    users::UserPage& model_;
    const base::Language& lang_;
    Binder binder_;
};

}  // namespace kv::ui
