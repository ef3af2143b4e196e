// The "Server Setting" tab of the event page as data: one model for the six destination lists
// (mail, FTP, HTTP, TCP, warning sounds, SOP contacts), their sub-tabs, grid, frames and buttons.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "events/records.h"
#include "events/sound.h"
#include "link/service_link.h"

namespace kv::events {

/// A grid of texts; row 0 holds the column titles.
using TextGrid = std::vector<std::vector<std::string>>;

/// Text ids of the tab's messages.
namespace server_text {
inline constexpr int32_t kNotSaved = 322, kEmptyField = 490, kSaveFailed = 579, kInUse = 681;
}  // namespace server_text

/// `cmdEvent` in index order.
enum ServerButton : int { kServerSave = 0, kServerCancel, kServerAdd, kServerRemove, kServerSoundTest };

/// The grid shows a password as this mask; the frame holds it in clear.
inline constexpr const char* kPasswordMask = "******";

/// The tab. The grid shows a working copy of the shown kind's list: edits, a new entry and the
/// commit of the frame land there, and reach the tables only when the service took the list. A
/// removal goes out at once. The six kinds share one dirty flag (area 3).
class ServerSettingTab {
public:
    ServerSettingTab(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                     const base::Language& lang, std::string title);

    int tabEventServerSetting = kMail;  // the kind shown
    TextGrid gridEventActionServer;     // "ID" and the kind's captions; one row per entry, removed ones left out
    std::array<app::TextField, 11> txtEventMail;  // box 0 (the id) is never editable
    std::array<app::TextField, 8> txtEventFTP;
    std::array<app::TextField, 6> txtEventHTTP;
    std::array<app::TextField, 3> txtEventTcp;
    std::array<app::TextField, 3> txtEventWarning;  // box 2: the sound file on the service's machine
    std::array<app::TextField, 4> txtEventSOP;
    std::array<bool, 2> chkMail{};  // attach picture, attach avi
    std::array<bool, 2> chkFTP{};   // passive, attach picture
    /// The frame of the shown kind takes input (an entry is open); the other frames are hidden.
    bool frameEnabled = false;
    std::array<bool, 5> cmdEvent{};  // offered: save, cancel, add, remove, sound test
    bool busy = false;               // a list is on its way: the buttons do nothing
    int editRow = 0;                 // the grid row of the open entry; 0: none
    int focusBox = -1;               // the box that takes the focus; -1: none
    /// The lists changed on the service: the group form refills its combos.
    std::function<void()> onListsChanged;

    bool dirty() const { return dirty_; }
    /// The frame of `kind` is shown and takes input.
    bool frameOpen(int kind) const { return frameEnabled && kind == tabEventServerSetting; }
    /// The boxes and the check boxes of a kind (no check boxes but for mail and FTP); empty for no kind.
    std::span<app::TextField> boxes(int kind);
    std::span<const app::TextField> boxes(int kind) const;
    std::span<bool> checks(int kind);
    void setSoundPlayer(SoundPlayer* player) { player_ = player; }

    /// Shows the current kind from the tables again, frame closed, clean (after a load).
    void Refresh();
    /// 322 first when dirty (Yes saves, a refused save keeps the tab; No drops); then shows `kind`.
    bool tabEventServerSetting_Click(int kind);
    /// 322 first when dirty; then opens the entry of grid row `row` (from 1).
    bool gridEventActionServer_MouseUp(int row);
    /// A new text of a box of the open frame; false (text unchanged) for box 0, a closed frame, or
    /// anything but digits in a number box.
    bool txtEvent_Change(int kind, int box, const std::string& text);
    /// True when `key` may reach the box.
    bool txtEvent_KeyPress(int kind, int box, int key) const;
    bool chk_Click(int kind, int index, bool on);
    /// The five buttons; false when the button is not offered, a list is on its way, or the action was refused.
    bool cmdEvent_Click(int index);
    /// Opens a new entry with the lowest free id and the kind's defaults; false at ten entries.
    bool AddServer(int kind);
    /// False, after message 490, when a box that must be filled is blank.
    bool ChecServerkInput(int kind);
    /// The open frame into the working list: the entry of box 0's id takes the boxes (FTP file name
    /// normalised, the corrected name back in its box) and is marked changed.
    bool CommitServer(int kind);
    /// True when an action group names the destination `id` of `kind`, whether its flag is on or not.
    bool CheckMailID(int kind, int16_t id) const;
    /// The sound test on box 2 of the warning form; a problem is told through the prompter.
    bool PlaySound();

    // The index of an id in the tables' arrays; -1 when there is none.
    int GetMailID(int16_t id) const { return indexOf(kMail, id); }
    int GetFtpID(int16_t id) const { return indexOf(kFTP, id); }
    int GetHttpID(int16_t id) const { return indexOf(kHTTP, id); }
    int GetTCPID(int16_t id) const { return indexOf(kTCP, id); }
    int GetWarningID(int16_t id) const { return indexOf(kWarning, id); }
    int GetSOPID(int16_t id) const { return indexOf(kSOP, id); }

private:
    int indexOf(int kind, int16_t id) const;
    bool confirmLeave();
    void drop();
    bool save();
    bool removeEntry();
    void drawList();
    void clearFrames();
    void closeFrame();
    void updateLimit();
    bool canAdd() const;
    int16_t newId() const;

    EventTables& tables_;
    EventTables working_;  // only the shown kind's list is kept here
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    SoundPlayer* player_ = nullptr;
    std::vector<int16_t> rowIds_;  // the id of each grid row from 1
    bool dirty_ = false;
};

}  // namespace kv::events
