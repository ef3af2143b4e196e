// The configuration shell: menu, save pipeline, timer and the way out.
#include "app/shell.h"

#include <algorithm>
#include <chrono>

#include "app/commands.h"
#include "app/protocol.h"
#include "base/lang.h"
#include "base/log.h"
#include "link/service_link.h"

namespace kv::app {

ShellModel::ShellModel(link::ServiceLink& link, Dispatcher& dispatcher, Prompter& prompter,
                       const base::Language& lang, base::Log& log, const Clock& clock, ShellHost& host,
                       ShellSession session)
    : link_(link), dispatcher_(dispatcher), prompter_(prompter), lang_(lang), log_(log), clock_(clock), host_(host),
      session_(std::move(session)) {
    for (size_t i = 0; i < kMenuCount; ++i) {
        lbMenu[i].textId = kTextMenuFirst + static_cast<int32_t>(i);
        lbMenu[i].tooltipId = kTextNotBuilt;
    }
    // Save and Exit are the shell's own; every other entry waits for its subject.
    for (int32_t own : {menu::kSave, menu::kExit}) {
        lbMenu[static_cast<size_t>(own)].enabled = true;
        lbMenu[static_cast<size_t>(own)].tooltipId = 0;
    }
    saveButtonPicture.fill(kPictureClean);
}

std::string ShellModel::text(int32_t id) const { return lang_.GetText(id); }

void ShellModel::registerPage(int32_t menuIndex, OpenAction open) {
    if (menuIndex < 0 || menuIndex >= static_cast<int32_t>(kMenuCount) || menuIndex == menu::kSave ||
        menuIndex == menu::kExit)
        return;
    pages_[menuIndex] = std::move(open);
    lbMenu[static_cast<size_t>(menuIndex)].enabled = true;
    lbMenu[static_cast<size_t>(menuIndex)].tooltipId = 0;
}

void ShellModel::registerLeave(int32_t menuIndex, OpenAction leave) {
    if (menuIndex >= 0 && menuIndex < static_cast<int32_t>(kMenuCount)) leaves_[menuIndex] = std::move(leave);
}

void ShellModel::registerSave(size_t areaIndex, SaveProcedure save) {
    if (areaIndex < kDirtyCount) saves_[areaIndex] = std::move(save);
}

void ShellModel::addMarkHandler(MarkHandler handler) { marks_.push_back(std::move(handler)); }

void ShellModel::select(int32_t index) {
    if (iCurMenu >= 0) lbMenu[static_cast<size_t>(iCurMenu)].colour = kMenuPlain;
    if (index >= 0) lbMenu[static_cast<size_t>(index)].colour = kMenuSelected;
    iCurMenu = index;
}

void ShellModel::lbMenu_Click(int32_t index) {
    try {
        if (index < 0 || index >= static_cast<int32_t>(kMenuCount)) return;
        if (!lbMenu[static_cast<size_t>(index)].enabled) return;
        const int32_t previous = iCurMenu;
        const bool previousPoll = bDDNSPoll;
        if (index != iCurMenu && index != menu::kSave && index != menu::kExit) {
            if (const auto it = leaves_.find(previous); it != leaves_.end() && it->second) it->second();
        }
        if (index != iCurMenu && index != menu::kSave) select(index);
        bDDNSPoll = index == menu::kServer;
        switch (index) {
            case menu::kSave:
                SaveAll(true);
                prompter_.box(BoxKind::Notice, text(458), session_.appTitle);
                break;
            case menu::kExit:
                // Staying: the page that was shown stays, with its marks as they were.
                if (!ExitConfigSystem() && !ended) {
                    select(previous);
                    bDDNSPoll = previousPoll;
                }
                break;
            default:
                if (const auto it = pages_.find(index); it != pages_.end() && it->second) it->second();
                break;
        }
    } catch (...) {
    }
}

bool ShellModel::SaveAll(bool bNotify) {
    bool all = true;
    for (size_t i = 0; i < kDirtyCount; ++i) {
        if (!bDirty[i]) continue;
        const auto it = saves_.find(i);
        bool ok = false;
        if (it != saves_.end() && it->second) {
            try {
                ok = it->second();
            } catch (...) {
                ok = false;
            }
        }
        all = all && ok;
    }
    if (bNotify) link_.SendCommand(0, true, CommandC(cmd::kSettingsSaved));
    return all;
}

void ShellModel::Timer1000() {
    try {
        if (ended) return;
        // 1. A restart of the service, or a closing asked from outside: leave.
        if (dispatcher_.bRebooting || bClosing || bExitMark) {
            if (!dispatcher_.bAppEnding && !inExit_) lbMenu_Click(menu::kExit);
            return;
        }
        // 2. Export progress.
        if (bExportRunning || bBackupRunning) {
            const int32_t p = bExportRunning ? link_.GetExportProgress() : link_.GetBackupProgress(iExportID);
            if (p > 0 && p < 100) exportProgressText = std::to_string(p) + " %";
        }
        // 3. Pages become ready as their data arrives.
        RefreshPageReady();
        // 4. Status polls; the server page also asks for the DDNS state and the service status.
        const int64_t now = clock_.nowSeconds();
        const int64_t period = iCurMenu == menu::kChannel ? 3 : 30;
        if (now - lastPoll_ > period) {
            link_.SendCommand(0, false, CommandC(cmd::kGetChannelStatus));
            if (bDDNSPoll) {
                link_.SendCommand(0, false, CommandC(cmd::kGetDdnsStatus));
                link_.SendCommand(0, false, CommandC(cmd::kGetServiceStatus));
            }
            lastPoll_ = now;
        }
        // 5. The marks of the pages.
        for (const MarkHandler& h : marks_) {
            if (h) h();
        }
    } catch (...) {
    }
}

void ShellModel::CloseSystem() {
    if (iLogQueryID != 0) {
        link_.SendCommand(0, true,
                          CommandB(cmd::kCloseLogQuery, "<QueryID>" + std::to_string(iLogQueryID) + "</QueryID>"));
        iLogQueryID = 0;
    }
    link_.SendCommand(0, true, CommandC(cmd::kConfigEnding));
}

bool ShellModel::ExitConfigSystem() {
    if (inExit_ || ended) return ended;
    inExit_ = true;
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{inExit_};
    try {
        // 1. A running export is stopped only when the user agrees.
        if (bExportRunning || bBackupRunning) {
            host_.stopExportLogTimer();
            if (prompter_.box(BoxKind::YesNo, text(561), session_.appTitle) != Answer::Yes) return false;
            link_.StopExport(iExportID);
            bExportRunning = bBackupRunning = false;
            iExportID = -1;
        }
        // 2. A restarting service gets no questions.
        if (!dispatcher_.bRebooting) {
            // 3. A language switched in this session takes full effect at the next start.
            if (bLanguageChanged && !languageNoticeShown_) {
                languageNoticeShown_ = true;
                prompter_.box(BoxKind::Notice, text(372), session_.appTitle);
            }
            // 4. Unsaved areas.
            if (anyDirty() && !bClosing) {
                const Answer a = prompter_.box(BoxKind::YesNoCancel, text(322), session_.appTitle);
                if (a == Answer::Yes) {
                    SaveAll(false);
                } else if (a == Answer::Cancel) {
                    dispatcher_.bRebooting = false;
                    return false;
                }
            }
        }
        // 5. From here on no event is looked at.
        dispatcher_.bAppEnding = true;
        closeProgressVisible = true;
        closeProgressText = text(435);
        host_.showCloseProgress(true, closeProgressText);
        // 6. Open queries, 7. the service hears that the configuration ended.
        CloseSystem();
        if (bConfigChanged) link_.SendCommand(0, true, CommandC(cmd::kSettingsSaved));
        link_.SendCommand(0, true, CommandC(cmd::kConfigEnding));
        link_.Logout(session_.hLogin);
        log_.SetLog(session_.appTitle, " Exit APP !", 0);
        // 8. Temporary files, then the forms in reverse order.
        host_.removeTemporaryPictures();
        ended = true;
        host_.unloadForms();
        log_.DestoryLog();
    } catch (...) {
        // The way out is taken to its end even when a step fails.
        if (!ended) {
            ended = true;
            dispatcher_.bAppEnding = true;
            host_.unloadForms();
        }
    }
    return ended;
}

bool ShellModel::Form_QueryUnload() {
    if (ended) return true;
    return ExitConfigSystem();
}

void ShellModel::activateFirstPage(int32_t frame) {
    const bool usable = frame >= 0 && frame < static_cast<int32_t>(kMenuCount) && frame != menu::kSave &&
                        frame != menu::kExit && lbMenu[static_cast<size_t>(frame)].enabled;
    lbMenu_Click(usable ? frame : menu::kServer);
}

void ShellModel::RefreshPageReady() {
    if (!bPageWait) return;
    iPageReady = DerivePageReady(dispatcher_.bDataReady, iPageReady);
    bPageWait = !std::all_of(dispatcher_.bDataReady.begin(), dispatcher_.bDataReady.end(), [](bool b) { return b; });
}

void ShellModel::setDirty(size_t areaIndex, bool dirty) {
    if (areaIndex >= kDirtyCount) return;
    bDirty[areaIndex] = dirty;
    ShowSaveBtn(areaIndex);
}

void ShellModel::ShowSaveBtn(size_t areaIndex) {
    if (areaIndex >= kDirtyCount || bFillingPage) return;
    saveButtonPicture[areaIndex] = bDirty[areaIndex] ? kPictureDirty : kPictureClean;
}

void ShellModel::saveSucceeded(size_t areaIndex) {
    if (areaIndex >= kDirtyCount) return;
    bDirty[areaIndex] = false;
    ShowSaveBtn(areaIndex);
    bConfigChanged = true;
}

bool ShellModel::anyDirty() const {
    return std::any_of(bDirty.begin(), bDirty.end(), [](bool b) { return b; });
}

bool ShellModel::pageLoading(int32_t index) const {
    // Only the pages fed by the data of the login wait; the others read on demand.
    return index >= menu::kServer && index <= menu::kRecording && iPageReady[static_cast<size_t>(index)] == 0;
}

bool ShellModel::PasswordCheck(const std::string& prompt) {
    const auto typed = host_.askPassword(prompt, session_.appTitle);
    return typed && *typed == session_.sLoginPass;
}

}  // namespace kv::app
