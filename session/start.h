// The start of the desktop client without widgets: the home folder, one instance per user,
// the log, the databases, the languages, the command line and the server table, in order.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/cmdline.h"
#include "session/config.h"
#include "app/prompter.h"
#include "base/app_tables.h"
#include "base/lang.h"
#include "base/log.h"
#include "store/local_db.h"

namespace kv::app {
class LocalServiceControl;
}

namespace kv::session {

/// The client's home folder: $KELVARRA_HOME, else $XDG_DATA_HOME/kelvarra-config, else
/// ~/.local/share/kelvarra-config.
std::filesystem::path HomeFolder();

/// The folders the shared files come from: $KELVARRA_SHARE, the installed share folder, and the
/// source and build trees.
std::vector<std::filesystem::path> ShareFolders();

/// Fills the home folder: its sub-folders, the pristine databases and the language files
/// (refreshed when the installed copy differs), the pictures (when missing). Never touches the
/// live databases. False with a message when the home folder cannot be made.
bool PopulateHome(const std::filesystem::path& home, const std::vector<std::filesystem::path>& shares,
                  std::string* error);

/// One running client per user: an advisory lock on a file of the home folder, released by
/// the system when the process ends, however it ends.
class InstanceLock {
public:
    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;
    /// True when this process holds the lock (taken now or before).
    bool acquire(const std::filesystem::path& home);
    bool held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

/// A language found in the "Lang" folder.
struct LanguageEntry {
    std::string file;
    int number = 0;
    std::optional<std::filesystem::path> flag;
};

/// The two start procedures of the login form as steps over data.
class StartSequence {
public:
    StartSequence(app::Prompter& prompter, base::Log& log, std::string appTitle);

    std::filesystem::path strAppPath;
    base::Language lang;
    int32_t iLangLoaded = 1;
    int32_t iCharSet = 0;
    int16_t iLanguage = 99;
    bool bAppEnding = false;
    bool bKeepForm = true;
    int32_t iMaxChannel = 64;
    std::array<int32_t, 11> languageCharSets{};
    store::SystemSettings settings;
    std::vector<LanguageEntry> languages;
    int32_t selectedLanguage = -1;  // index in `languages`
    app::CmdLine cmdLine;
    bool serverButtonVisible = true;
    int32_t iLocalServiceState = -2;
    std::vector<ServerRow> strService;
    std::string statusLine;
    base::AppTables tables;
    base::FontRule font;
    /// True when the form must press the login button at once (automatic login).
    bool autoLogin = false;

    /// Steps 1-8 of the first procedure. `instanceFree` is the outcome of the one-instance test.
    void Form_Initialize(const std::filesystem::path& home, bool instanceFree);
    /// Steps of the second procedure; `localService` may be null (no local service support).
    void Form_Load(const std::string& commandLine, bool instanceFree, app::LocalServiceControl* localService);
    /// Removes the temporary files (at exit).
    void Cleanup();

    std::filesystem::path databaseFolder() const { return strAppPath / "Database"; }

private:
    void chooseLanguage(int number);
    void listLanguages();

    app::Prompter& prompter_;
    base::Log& log_;
    std::string appTitle_;
};

}  // namespace kv::session
