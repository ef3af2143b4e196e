// The user page: its two tabs and the strip between them.
#include "users/page.h"

namespace kv::users {

UserPage::UserPage(UserList& strUser, UserGroupList& strUserGroup, link::ServiceLink& link, app::Prompter& prompter,
                   const base::Language& lang, std::string title, int32_t channelCount)
    : user(strUser, strUserGroup, link, prompter, lang, title),
      group(strUserGroup, strUser, link, prompter, lang, title, channelCount), strUserGroup_(strUserGroup),
      prompter_(prompter), lang_(lang), title_(std::move(title)) {
    group.setWorkingUsers(&user.rows());
    Refresh();
}

void UserPage::Refresh() {
    user.RefreshUser();
    user.RefillGroups();
    group.RefreshUserGroup();
    // Without a group there is nothing an account could belong to: the page opens on the groups.
    tabIndex = NoGroups(strUserGroup_) ? 1 : 0;
}

int UserPage::tabUser_Click(int index) {
    if (index == 0) {
        if (NoGroups(strUserGroup_)) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(text::kAddGroupFirst), title_);
            tabIndex = 1;
            return tabIndex;
        }
        // Accounts put into the list but not sent yet stay: only an open field set is dropped.
        if (user.userChanged()) user.CancelFieldSet();
        else user.Cancel();
        user.RefillGroups();
    }
    tabIndex = index == 0 ? 0 : 1;
    return tabIndex;
}

}  // namespace kv::users
