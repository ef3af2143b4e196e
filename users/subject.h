// The users subject: the readers of the account and group lists, the user page and its place in
// the shell (menu entry 5; areas 13 for the accounts, 14 and 8 for the groups), its part after a
// channel removal, and the account sections of kelvarra-ctl's documents.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/subject.h"
#include "users/page.h"
#include "users/records.h"

namespace kv::users {

class UsersSubject final : public app::Subject {
public:
    /// `channelCount` is the server's, read when the page is made and when a document stages.
    UsersSubject(UserTables& tables, const int32_t& channelCount, const app::SubjectServices& services);
    ~UsersSubject() override;

    std::string name() const override { return "users"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void registerRemoval(app::ChannelRemoval& removal) override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    /// The page model; null before the configuration opens.
    UserPage* page() const { return page_.get(); }

    /// The menu entry: the lists as they stand now, unless edits wait on the page.
    void open();
    /// Runs an action of the page; the shell's areas follow the two tabs, and a list that reached
    /// the service marks the configuration changed.
    bool act(const std::function<bool()>& action);
    /// The save of area 13: pending account edits, then the whole list.
    bool saveUsers();
    /// The save of areas 14 and 8: pending group edits, then the whole list.
    bool saveGroups();
    /// The passwords of the open account show in clear only to someone who types the password
    /// of this login; false when refused.
    bool showPasswords(bool on);
    /// The passwords show in clear now (for the account they were asked for, while it is open).
    bool passwordsShown() const;
    /// The tabs carry the dirty picture of their area.
    bool usersDirty() const;
    bool groupsDirty() const;
    /// After any action of the page: the shell's areas follow the two tabs.
    void syncShell();

private:
    void pruneChannel(int32_t ch);
    void afterRemoval();

    UserTables& tables_;
    const int32_t& channelCount_;
    app::SubjectServices services_;
    app::ShellPort* shell_ = nullptr;
    std::unique_ptr<UserPage> page_;
    bool groupsPruned_ = false;
    bool showPasswords_ = false;
    int shownFor_ = -1;  // the account whose passwords show in clear
};

}  // namespace kv::users
