// The configuration window without widgets: the 13-entry menu, page-ready and dirty state, the
// save pipeline, the one-second timer with its polls and marks, and the way out.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/clock.h"
#include "app/cmdline.h"
#include "app/dispatcher.h"
#include "app/prompter.h"

namespace kv::base {
class Language;
class Log;
}  // namespace kv::base
namespace kv::link {
class ServiceLink;
}

namespace kv::app {

inline constexpr size_t kMenuCount = 13;
inline constexpr size_t kDirtyCount = 18;

/// The menu entries by index.
namespace menu {
inline constexpr int32_t kServer = 0;
inline constexpr int32_t kChannel = 1;
inline constexpr int32_t kIntelligent = 2;
inline constexpr int32_t kEvent = 3;
inline constexpr int32_t kEMap = 4;
inline constexpr int32_t kUser = 5;
inline constexpr int32_t kRecording = 6;
inline constexpr int32_t kCountingLog = 7;
inline constexpr int32_t kBackup = 8;
inline constexpr int32_t kPos = 9;
inline constexpr int32_t kSave = 10;
inline constexpr int32_t kLog = 11;
inline constexpr int32_t kExit = 12;
}  // namespace menu

/// The save areas (slots of bDirty) by index.
namespace area {
inline constexpr size_t kServer = 0;
inline constexpr size_t kChannel = 1;
inline constexpr size_t kAnalytics = 2;
inline constexpr size_t kEventServers = 3;
inline constexpr size_t kActionGroups = 4;
inline constexpr size_t kEventSchedule = 5;
inline constexpr size_t kEventActions = 6;
inline constexpr size_t kEMap = 7;
inline constexpr size_t kUserGroups = 8;
inline constexpr size_t kStorage = 9;
inline constexpr size_t kPresets = 10;
inline constexpr size_t kRecSettings = 11;
inline constexpr size_t kRecSchedule = 12;
inline constexpr size_t kUsers = 13;
inline constexpr size_t kUserGroups2 = 14;
inline constexpr size_t kPosDevices = 15;
inline constexpr size_t kPosProfiles = 16;
inline constexpr size_t kPosTriggers = 17;
}  // namespace area

/// Menu colours in the system's notation (blue in the high byte, red in the low one):
/// the selected entry is blue, the others grey.
inline constexpr uint32_t kMenuSelected = 0xFF0000;
inline constexpr uint32_t kMenuPlain = 0x707070;
/// 0xRRGGBB of a colour in the system's notation.
constexpr uint32_t RgbOf(uint32_t bgr) {
    return ((bgr & 0xFF) << 16) | (bgr & 0xFF00) | ((bgr >> 16) & 0xFF);
}

/// The save button's pictures: nothing to save, something to save.
inline constexpr int32_t kPictureClean = 5;
inline constexpr int32_t kPictureDirty = 6;

/// Texts of the window: the menu captions (first + index) and the tooltip of an entry whose page
/// this version does not have.
inline constexpr int32_t kTextMenuFirst = 801;
inline constexpr int32_t kTextNotBuilt = 820;

struct MenuEntry {
    int32_t textId = 0;
    bool enabled = false;
    uint32_t colour = kMenuPlain;
    int32_t tooltipId = 0;  // 0: no tooltip of its own
};

/// What the shell needs of the window around it.
class ShellHost {
public:
    virtual ~ShellHost() = default;
    /// SHowCloseProgress: the frame over the window while the program closes.
    virtual void showCloseProgress(bool /*show*/, const std::string& /*text*/) {}
    /// Stops Timer_ExportLog (the log page's export).
    virtual void stopExportLogTimer() {}
    /// Deletes the temporary map pictures and files of this run.
    virtual void removeTemporaryPictures() {}
    /// Unloads every form in reverse order of loading; the program ends.
    virtual void unloadForms() {}
    /// formMessageBox in its password mode: the text typed, or nothing when cancelled.
    virtual std::optional<std::string> askPassword(const std::string& /*text*/, const std::string& /*title*/) {
        return std::nullopt;
    }
};

/// The parts of the login the shell keeps.
struct ShellSession {
    int32_t hLogin = -1;
    std::string sLoginPass;
    CmdLine cmdLine;
    std::string appTitle;
};

/// What a subject may do with the shell: its menu entry, its save areas and marks, its dirty
/// state, and the few shell-wide facts a page reads or raises. Subjects see the shell only so.
class ShellPort {
public:
    using OpenAction = std::function<void()>;
    /// Runs an area's save button procedure (its checks included); true on success.
    using SaveProcedure = std::function<bool()>;
    /// Consumes the marks of one page at each tick.
    using MarkHandler = std::function<void()>;

    virtual ~ShellPort() = default;
    /// Enables the menu entry with its opening action.
    virtual void registerPage(int32_t menuIndex, OpenAction open) = 0;
    /// What the page does when another entry is chosen (not Save, not Exit, which asks on its
    /// own): stops its timer, settles edits it will not keep across pages.
    virtual void registerLeave(int32_t menuIndex, OpenAction leave) = 0;
    /// Joins the save pipeline with an area's procedure.
    virtual void registerSave(size_t areaIndex, SaveProcedure save) = 0;
    virtual void addMarkHandler(MarkHandler handler) = 0;
    virtual void setDirty(size_t areaIndex, bool dirty) = 0;
    virtual bool isDirty(size_t areaIndex) const = 0;
    /// Step 5 of the save pipeline: flag cleared, button turned back, configuration changed.
    virtual void saveSucceeded(size_t areaIndex) = 0;
    /// A save reached the service (bConfigChanged): the exit tells the service so.
    virtual void configChanged() = 0;
    /// A page fills its controls from data: the save buttons keep their pictures meanwhile.
    virtual void fillingPage(bool filling) = 0;
    /// The client's language was switched in this session (one notice at exit).
    virtual void languageChanged() = 0;
    /// formMessageBox's password mode: true when the text typed is the logged-in user's password.
    virtual bool PasswordCheck(const std::string& text) = 0;
    virtual const std::string& appTitle() const = 0;
    /// The menu entry shown, -1 before the first.
    virtual int32_t currentMenu() const = 0;
};

class ShellModel final : public ShellPort {
public:
    ShellModel(link::ServiceLink& link, Dispatcher& dispatcher, Prompter& prompter, const base::Language& lang,
               base::Log& log, const Clock& clock, ShellHost& host, ShellSession session);

    void registerPage(int32_t menuIndex, OpenAction open) override;
    void registerLeave(int32_t menuIndex, OpenAction leave) override;
    void registerSave(size_t areaIndex, SaveProcedure save) override;
    void addMarkHandler(MarkHandler handler) override;
    void setDirty(size_t areaIndex, bool dirty) override;
    bool isDirty(size_t areaIndex) const override { return areaIndex < kDirtyCount && bDirty[areaIndex]; }
    void saveSucceeded(size_t areaIndex) override;
    void configChanged() override { bConfigChanged = true; }
    void fillingPage(bool filling) override { bFillingPage = filling; }
    void languageChanged() override { bLanguageChanged = true; }
    bool PasswordCheck(const std::string& text) override;
    const std::string& appTitle() const override { return session_.appTitle; }
    int32_t currentMenu() const override { return iCurMenu; }

    std::array<MenuEntry, kMenuCount> lbMenu;
    int32_t iCurMenu = -1;
    PageReady iPageReady{};
    bool bPageWait = true;
    std::array<bool, kDirtyCount> bDirty{};
    std::array<int32_t, kDirtyCount> saveButtonPicture{};
    bool bFillingPage = false;
    bool bConfigChanged = false;
    bool bDDNSPoll = false;
    bool bClosing = false;           // the closing mark: leave at the next tick, without questions
    bool bExitMark = false;          // the window's exit mark
    bool bLanguageChanged = false;   // the client's language was switched in this session (text 372)
    int32_t iLogQueryID = 0;         // an open system log query, 0 for none
    bool bExportRunning = false;     // a video export
    bool bBackupRunning = false;     // a media database export
    int32_t iExportID = -1;
    std::string exportProgressText;  // "n %" while an export runs
    bool closeProgressVisible = false;
    std::string closeProgressText;
    bool ended = false;              // the way out went to its end

    /// A menu entry: selection colours, the DDNS poll mark, then the entry's action.
    void lbMenu_Click(int32_t index);
    /// Runs the save procedure of each dirty area in area order; with `bNotify` sends 32813
    /// afterwards. True when no area refused.
    bool SaveAll(bool bNotify);
    /// One tick of the one-second timer.
    void Timer1000();
    /// iPageReady from the data-ready flags while some are still missing (step 3 of the tick;
    /// the desktop client also runs it when an answer arrives, so a page shows without waiting
    /// for the tick).
    void RefreshPageReady();
    /// The way out; true when the program ends, false when the user stays.
    bool ExitConfigSystem();
    /// The window's close box: the same way out. True when the window may close.
    bool Form_QueryUnload();
    /// After the login: the entry the command line names, else the first page.
    void activateFirstPage(int32_t frame);

    /// The save button's picture follows the area's flag, except while a page is being filled.
    void ShowSaveBtn(size_t areaIndex);
    bool anyDirty() const;
    /// The page of the entry waits for its data.
    bool pageLoading(int32_t index) const;

    /// TopWindows: the window stays on top.
    bool onTop() const { return session_.cmdLine.bCmdOnTop; }
    /// The window's place from the command line: (left, top), -1 where the window keeps its own.
    std::pair<int32_t, int32_t> placement() const { return {session_.cmdLine.iCmdLeft, session_.cmdLine.iCmdTop}; }
    const ShellSession& session() const { return session_; }

private:
    std::string text(int32_t id) const;
    void CloseSystem();
    void select(int32_t index);

    link::ServiceLink& link_;
    Dispatcher& dispatcher_;
    Prompter& prompter_;
    const base::Language& lang_;
    base::Log& log_;
    const Clock& clock_;
    ShellHost& host_;
    ShellSession session_;
    std::map<int32_t, OpenAction> pages_;
    std::map<int32_t, OpenAction> leaves_;
    std::map<size_t, SaveProcedure> saves_;
    std::vector<MarkHandler> marks_;
    int64_t lastPoll_ = 0;
    bool inExit_ = false;
    bool languageNoticeShown_ = false;
};

}  // namespace kv::app
