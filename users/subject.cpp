// The users subject's wiring.
#include "users/subject.h"

#include <pugixml.hpp>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "base/lang.h"
#include "users/codec.h"
#include "users/document.h"
#include "users/rights.h"
#include "users/save.h"

namespace kv::users {
namespace {
constexpr int32_t kTextEnterPassword = 856;
}  // namespace

UsersSubject::UsersSubject(UserTables& tables, const int32_t& channelCount, const app::SubjectServices& services)
    : tables_(tables), channelCount_(channelCount), services_(services) {}

UsersSubject::~UsersSubject() = default;

void UsersSubject::registerReaders(app::Dispatcher& d) {
    using Doc = pugi::xml_document;
    d.registerParser(32801, [this](const Doc& r) { Load_UserList_XML(r, tables_.strUser); });
    d.registerParser(32803, [this](const Doc& r) { Load_UserGroup_XML(r, tables_.strUserGroup); });
}

void UsersSubject::registerRemoval(app::ChannelRemoval& removal) {
    removal.add(app::RemovalStep::kUserGroups, [this](int32_t ch) { pruneChannel(ch); }, [this](int32_t) { afterRemoval(); });
}

void UsersSubject::attach(app::ShellPort& shell) {
    shell_ = &shell;
    page_ = std::make_unique<UserPage>(tables_.strUser, tables_.strUserGroup, services_.link, services_.prompter,
                                       services_.lang, services_.title, channelCount_);
    shell.registerPage(app::menu::kUser, [this] { open(); });
    shell.registerSave(app::area::kUsers, [this] { return saveUsers(); });
    for (size_t area : {app::area::kUserGroups, app::area::kUserGroups2})
        shell.registerSave(area, [this] { return saveGroups(); });
}

std::unique_ptr<app::DocumentPart> UsersSubject::document() {
    return std::make_unique<UserDocument>(tables_, channelCount_);
}

void UsersSubject::open() {
    if (!page_) return;
    if (!page_->user.dirty() && !page_->group.dirty()) page_->Refresh();
    showPasswords_ = false;
    syncShell();
}

bool UsersSubject::act(const std::function<bool()>& action) {
    const UserList users = tables_.strUser;
    const UserGroupList groups = tables_.strUserGroup;
    const bool ok = action();
    if (shell_ && (tables_.strUser != users || tables_.strUserGroup != groups)) shell_->configChanged();
    syncShell();
    return ok;
}

bool UsersSubject::saveUsers() {
    return page_ && act([this] { return page_->user.SaveSetting(); });
}

bool UsersSubject::saveGroups() {
    return page_ && act([this] { return page_->group.SaveSetting(); });
}

bool UsersSubject::showPasswords(bool on) {
    if (!page_) return false;
    showPasswords_ = on && shell_ && shell_->PasswordCheck(services_.lang.GetText(kTextEnterPassword));
    shownFor_ = page_->user.working.ID;
    return showPasswords_ == on;
}

bool UsersSubject::passwordsShown() const {
    return page_ && showPasswords_ && page_->user.frameUserSetting && page_->user.working.ID == shownFor_;
}

bool UsersSubject::usersDirty() const { return shell_ && shell_->isDirty(app::area::kUsers); }
bool UsersSubject::groupsDirty() const { return shell_ && shell_->isDirty(app::area::kUserGroups2); }

void UsersSubject::syncShell() {
    if (!shell_ || !page_) return;
    shell_->setDirty(app::area::kUsers, page_->user.dirty());
    // The groups' edits raise area 14; area 8 saves the same list and is cleared with it.
    shell_->setDirty(app::area::kUserGroups2, page_->group.dirty());
    if (!page_->group.dirty()) shell_->setDirty(app::area::kUserGroups, false);
}

void UsersSubject::pruneChannel(int32_t ch) {
    // Every group lets go of the channel in its three lists; the admin group keeps every channel
    // of the server, as its save writes it.
    groupsPruned_ = false;
    for (UserGroupRecord& g : tables_.strUserGroup) {
        if (g.ID < 0 || g.ID == kAdminGroupID) continue;
        for (std::string* list : {&g.Type0, &g.Type1, &g.Type2}) {
            std::string kept = app::RemoveChannelFromList(*list, ch);
            if (kept != *list) groupsPruned_ = true;
            *list = std::move(kept);
        }
    }
    if (page_) page_->group.PruneChannel(ch);
}

void UsersSubject::afterRemoval() {
    if (!groupsPruned_) return;
    groupsPruned_ = false;
    // The service keeps the lists it was sent: the pruned list goes out now, unless the group tab
    // holds edits of its own, which go out with its next save (pruned as well).
    if (!page_) {
        SaveUserGroup_Setting(services_.link, tables_.strUserGroup);
        return;
    }
    if (page_->group.dirty()) return;
    // A failed send leaves the tab dirty with the list marked unsent, so the next save retries.
    page_->group.MarkUnsent();
    if (act([this] { return page_->group.SaveSetting(); }) && shell_) shell_->configChanged();
}

}  // namespace kv::users
