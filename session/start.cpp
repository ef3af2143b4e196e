// The start sequence of the desktop client.
#include "session/start.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "app/local_service.h"
#include "store/convert.h"
#include "store/sqlite.h"

namespace kv::session {

namespace fs = std::filesystem;

fs::path HomeFolder() {
    if (const char* h = std::getenv("KELVARRA_HOME"); h && *h) return h;
    if (const char* x = std::getenv("XDG_DATA_HOME"); x && *x) return fs::path(x) / "kelvarra-config";
    const char* home = std::getenv("HOME");
    return fs::path(home && *home ? home : "/tmp") / ".local" / "share" / "kelvarra-config";
}

std::vector<fs::path> ShareFolders() {
    std::vector<fs::path> out;
    if (const char* s = std::getenv("KELVARRA_SHARE"); s && *s) out.emplace_back(s);
#ifdef KV_INSTALL_SHARE
    out.emplace_back(KV_INSTALL_SHARE);
#endif
    out.emplace_back(KV_SOURCE_SHARE);
    out.emplace_back(KV_BUILD_SHARE);
    return out;
}

namespace {

bool sameContent(const fs::path& a, const fs::path& b) {
    std::error_code ec;
    if (fs::file_size(a, ec) != fs::file_size(b, ec) || ec) return false;
    std::ifstream fa(a, std::ios::binary), fb(b, std::ios::binary);
    return std::equal(std::istreambuf_iterator<char>(fa), {}, std::istreambuf_iterator<char>(fb));
}

// Copies the files of `from` into `to`; `refresh` replaces files whose content differs.
void copyFolder(const fs::path& from, const fs::path& to, bool refresh, bool (*wanted)(const fs::path&)) {
    std::error_code ec;
    if (!fs::is_directory(from, ec)) return;
    fs::create_directories(to, ec);
    for (fs::directory_iterator it(from, ec), end; !ec && it != end; it.increment(ec)) {
        if (!it->is_regular_file(ec) || !wanted(it->path())) continue;
        const fs::path target = to / it->path().filename();
        if (fs::exists(target, ec) && (!refresh || sameContent(it->path(), target))) continue;
        store::AtomicCopy(it->path(), target);
    }
}

bool anyFile(const fs::path&) { return true; }
bool pristineFile(const fs::path& p) { return p.string().ends_with(store::kPristineExtension); }

}  // namespace

bool PopulateHome(const fs::path& home, const std::vector<fs::path>& shares, std::string* error) {
    std::error_code ec;
    // "Log" is left to the log: it writes no header into the first file of a folder it had to make.
    for (const char* sub : {"Database", "Lang", "EMap_Pic", "Images", "FilterProfile", "BackupDatabase"}) {
        fs::create_directories(home / sub, ec);
        if (ec) {
            if (error) *error = "Cannot create " + (home / sub).string() + ": " + ec.message();
            return false;
        }
    }
    // Owner only: the databases below hold saved server passwords.
    fs::permissions(home, fs::perms::owner_all, fs::perm_options::replace, ec);
    if (ec) {
        if (error) *error = "Cannot protect " + home.string() + ": " + ec.message();
        return false;
    }
    for (const fs::path& share : shares) {
        copyFolder(share / "Database", home / "Database", true, pristineFile);
        copyFolder(share / "Lang", home / "Lang", true, anyFile);
        copyFolder(share / "Images", home / "Images", false, anyFile);
    }
    return true;
}

InstanceLock::~InstanceLock() {
    if (fd_ >= 0) ::close(fd_);
}

bool InstanceLock::acquire(const fs::path& home) {
    if (fd_ >= 0) return true;
    std::error_code ec;
    fs::create_directories(home, ec);
    const int fd = ::open((home / "kelvarra-config.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return true;  // a home folder we cannot write to cannot tell: let the start go on
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    return true;
}

StartSequence::StartSequence(app::Prompter& prompter, base::Log& log, std::string appTitle)
    : prompter_(prompter), log_(log), appTitle_(std::move(appTitle)) {}

void StartSequence::chooseLanguage(int number) {
    iLangLoaded = number;
    iCharSet = base::FontRuleOf(number).iCharSet;
    lang.LoadLanguage(base::LanguageFileName(number));
}

void StartSequence::Form_Initialize(const fs::path& home, bool instanceFree) {
    try {
        // 1. The home folder, 2. the system's language.
        strAppPath = home;
        lang.setFolder(strAppPath / "Lang");
        chooseLanguage(base::GetOsLang());
        // 3. One instance only.
        if (!instanceFree) {
            prompter_.box(app::BoxKind::Notice, appTitle_ + "\xE3\x80\x80" + lang.GetText(162), appTitle_);
            bAppEnding = true;
            return;
        }
        // 4. The log.
        log_.InitLog(7, strAppPath);
        log_.SetLog(appTitle_, " Start APP !", 0);
        // 5. Left-over temporary map pictures.
        std::error_code ec;
        for (fs::directory_iterator it(strAppPath / "EMap_Pic", ec), end; !ec && it != end; it.increment(ec))
            if (it->path().filename().string().rfind("CTmp_MAP_Config_", 0) == 0) fs::remove(it->path(), ec);
        // 6. A fresh copy of the installed schema for the conversion.
        const fs::path db = databaseFolder();
        fs::remove(db / "Database_Convert.db", ec);
        store::AtomicCopy(db / "Database.db.ins", db / "Database_Convert.db");
        // 7. The character sets of the languages.
        languageCharSets = base::LanguageCharSets();
        log_.SetLog(appTitle_, " Start login !", 0);
    } catch (...) {
    }
}

void StartSequence::listLanguages() {
    languages.clear();
    base::Language probe(strAppPath / "Lang");
    for (const std::string& file : probe.listFiles()) {
        LanguageEntry e;
        e.file = file;
        e.number = base::LanguageNumberOf(file);
        if (probe.LoadLanguage(file)) e.flag = probe.GetFlag();
        languages.push_back(std::move(e));
    }
}

void StartSequence::Form_Load(const std::string& commandLine, bool instanceFree,
                              app::LocalServiceControl* localService) {
    try {
        if (bAppEnding) return;
        iMaxChannel = 64;
        bKeepForm = true;
        const fs::path db = databaseFolder();
        // 3. The main database must be usable.
        if (store::Check_Mdb(db, "Database") < 0) {
            prompter_.box(app::BoxKind::Critical, lang.GetText(512), appTitle_);
            bAppEnding = true;
            return;
        }
        // A main database that is present but cannot be read stops the start as well, with the
        // reason: going on would show the login form under a message that says it cannot start.
        auto unusable = [&](const std::string& reason) {
            log_.SetLog(appTitle_, " Main database : " + reason, 0);
            prompter_.box(app::BoxKind::Critical, lang.GetText(512) + "\n" + reason, appTitle_);
            bAppEnding = true;
        };
        // 4. The settings; 5. conversion of an older schema.
        store::LocalDatabase local(db / "Database.db");
        const auto read = local.ReadSystemSettings();
        if (!read) return unusable(local.error());
        settings = *read;
        if (store::OpenDBSet(db / "Database_Convert.db", settings.sDBVer)) {
            local.close();
            std::string error;
            if (store::ConvertDB(db / "Database.db", db / "Database_Convert.db", &log_, &error) &&
                store::CopyConvertMDBToDesDB(db / "Database_Convert.db", db / "Database.db", &error)) {
                store::Db cleaned;
                if (cleaned.open(db / "Database.db")) cleaned.exec("DELETE FROM Service WHERE bLocalService <> 0");
                store::AtomicCopy(db / "Database.db.ins", db / "Database_Convert.db");
            } else {
                log_.SetLog(appTitle_, " DB convert failed : " + error, 0);
            }
            if (auto s = local.ReadSystemSettings()) settings = *s;
        }
        iLanguage = settings.iLanguage;
        // 6. The languages present; 7. the language in force.
        listLanguages();
        chooseLanguage(iLanguage == 99 ? base::GetOsLang() : iLanguage);
        // 8. One instance only, again.
        if (!instanceFree) {
            prompter_.box(app::BoxKind::Notice, appTitle_ + "\xE3\x80\x80" + lang.GetText(162), appTitle_);
            bAppEnding = true;
            return;
        }
        // The link's form comes into use from here on (its pictures, or the command line's login).
        // The link object is made before the log is open and has no way to it, so its load line
        // is written here.
        log_.SetLog(appTitle_, " form_COM_Config - Form_Load ", 0);
        // 9. The command line.
        cmdLine = app::ParseCommandLine(commandLine);
        if (cmdLine.bCmdLogin) {
            // 10. An automatic login: a one-row server table of the command line.
            serverButtonVisible = false;
            iLanguage = static_cast<int16_t>(cmdLine.iCmdLang);
            chooseLanguage(iLanguage == 99 ? base::GetOsLang() : iLanguage);
            tables = base::APP_SPEC_INIT(lang, iMaxChannel);
            ServerRow row;
            row.ServiceIP = cmdLine.sCmdIP;
            row.ServicePort = cmdLine.iCmdPort;
            row.bLocalService = true;
            row.iState = 0;
            strService = {row};
        } else {
            // 11. The other four databases; their results are not used.
            for (const char* name : {"configuration", "client", "eventlog", "systemlog"}) store::Check_Mdb(db, name);
            // 12. The local service.
            iLocalServiceState = localService ? localService->query() : -2;
            log_.SetLog(appTitle_, "  Local service status : " + std::to_string(iLocalServiceState), 0);
            // 13. The server table: the local row first when the service is installed.
            strService.clear();
            if (iLocalServiceState != -2) {
                strService.push_back(store::ReadLocalServiceRow(db));
                strService[0].iState = iLocalServiceState;
            }
            if (!local.Get_Service(strService)) return unusable(local.error());
            if (strService.empty()) strService.emplace_back();
            // 14. The shutdown mark of a stopped local service, then the language again.
            if (strService[0].bLocalService && strService[0].iState == 1) {
                if (const auto mark = store::ReadShutdownMark(db / "SHUTDOWN")) {
                    if (*mark == 1) statusLine = lang.GetText(509);
                    else if (*mark == 3) statusLine = lang.GetText(510);
                }
            }
            const int number = iLanguage == 99 || iLanguage < 1 ? base::GetOsLangShort() : iLanguage;
            selectedLanguage = -1;
            for (size_t i = 0; i < languages.size(); ++i)
                if (languages[i].number == number) selectedLanguage = static_cast<int32_t>(i);
            chooseLanguage(number);
            tables = base::APP_SPEC_INIT(lang, iMaxChannel);
        }
        // 15. Fonts and captions follow the language.
        font = base::FontRuleOf(iLangLoaded);
        // 16. The automatic login.
        autoLogin = cmdLine.bCmdLogin && !cmdLine.sCmdIP.empty() && cmdLine.iCmdPort != 0;
    } catch (...) {
    }
}

void StartSequence::Cleanup() {
    store::RemoveTempDatabases(databaseFolder());
    std::error_code ec;
    for (fs::directory_iterator it(strAppPath / "EMap_Pic", ec), end; !ec && it != end; it.increment(ec))
        if (it->path().filename().string().rfind("CTmp_MAP_Config_", 0) == 0) fs::remove(it->path(), ec);
}

}  // namespace kv::session
