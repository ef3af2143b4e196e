// The channel page as data: the channel grids, the network fields, detection, the video
// parameters, and save, remove, cancel and preview. The Qt page renders it and forwards actions.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "channels/records.h"
#include "app/controls.h"
#include "app/prompter.h"
#include "channels/grids.h"
#include "channels/records.h"
#include "channels/video_params.h"
#include "link/service_link.h"

namespace kv::base {
class Language;
}
namespace kv::app {
class Clock;
}

namespace kv::channels {

/// Text ids of the page's messages.
namespace text {
inline constexpr int32_t kEmptyField = 295, kWrongPassword = 400, kCameraNotSupported = 402,
                         kConnectError = 403, kDetectTimeOut = 404, kAskRemove = 419, kSelectChannel = 446,
                         kAskSaveChannel = 460, kDualModeOff = 532, kSaveFailed = 579;
}  // namespace text

/// The fields of `txtNetwork` by index.
enum NetworkField : int { kNetName = 0, kNetIP, kNetHTTPPort, kNetUserName, kNetPassword };
inline constexpr int kNetworkFieldCount = 5;

/// The tabs of `tabChannel`.
enum ChannelTab : int { kTabSetting = 0, kTabList = 1, kTabPtz = 2 };

/// The buttons of `cmdComit` by index.
enum CommitButton : int { kCommitSave = 0, kCommitRemove, kCommitCancel, kCommitPreview };

/// The message of a detection result: the service's refusals (-6, -5, -3) and the link's failures
/// (the send's code minus 100).
int32_t DetectResultTextId(int32_t result);

/// What the page needs of the shell and of the pages of other subjects. Every method has a
/// harmless default, so that a program without those pages (the command-line client) works.
class ChannelPageHost {
public:
    virtual ~ChannelPageHost() = default;
    /// The page's dirty flag changed: the shell's channel area follows it (ShowSaveBtn).
    virtual void channelDirtyChanged(bool /*dirty*/) {}
    /// `DualMode` of a channel's recording settings; -1 when they are not known.
    virtual int16_t dualModeOf(int32_t /*ch*/) { return -1; }
    /// Sets `DualMode` of a channel to 0 and saves the recording settings through the pipeline.
    virtual bool switchDualModeOff(int32_t /*ch*/) { return false; }
    /// Opens the preview window with the 22546 command; returns the window's result code
    /// (-164 for none), which the page shows by `DeviceErrorText`.
    virtual int32_t openPreview(const ChannelRecord& /*record*/, const std::string& /*command*/) { return -164; }

    /// A removed channel: every subject lets go of it, in the removal's order.
    virtual void channelRemoved(int32_t /*ch*/) {}
    /// A commit or a removal reached the service: the channel list is read again.
    virtual void channelsChanged() {}
};

class ChannelPage {
public:
    ChannelPage(ChannelTables& tables, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                const app::Clock& clock, ChannelPageHost& host, std::string title);

    // Page state.
    int32_t iSelCH = 0;  // the selected channel, 0 for none
    ChannelRecord MyCH;  // the working copy
    ChannelRecord PreviewCH;
    VideoParams video;
    std::array<app::TextField, kNetworkFieldCount> txtNetwork;
    app::ComboBox CmbBrand;    // the manufacturer
    app::ComboBox cmbVideoID;  // the video source, "1".."n"
    bool chkPTZ = false;
    bool chkCameraSetting = false;  // StartConfig
    std::array<bool, 4> cmdComit{};  // save, remove, cancel, preview offered
    bool cmdDetect = false;
    bool frameNetwork = false;
    bool Framedevice = false;
    bool cmdLensMode = false;  // the lens frame's button, brand 20 only
    int tabChannel = 0;
    bool busy = false;    // a detection runs
    bool bApplyPending = false;  // a channel was stored but its 40963 was refused: save sends it again
    // The address and port of the last detection, and whether the last one repeated them.
    std::string sLastDetectIP;
    int32_t iLastDetectPort = 0;
    bool bSameDetect = false;
    /// One row per channel up to the count: CH, Name, IP, port, brand, model, MAC.
    std::vector<std::array<std::string, 7>> Grid_SearchResult;
    /// `gridCHList`: 16 channels a row; the two parallel selection arrays.
    std::array<bool, kChannelSlots> bCHListSel{};
    std::array<bool, kChannelSlots> bCHListSelCopy{};
    /// The service's text for the last command the page sent.
    std::string lastAnswer;

    bool dirty() const { return bDirty_; }
    int32_t channelCount() const;

    /// The 8-by-8 channel grid and the status grid, from the table and the selection.
    std::array<ChannelGridRow, 8> channelGrid() const;
    std::vector<ChannelGridRow> statusGrid() const;
    /// The background of a `gridCHList` cell.
    int32_t gridCHListColour(int32_t slot) const;

    /// Opening the page: the list refreshed, the first configured channel selected.
    void OpenChannelFrame();
    /// Rebuilds `Grid_SearchResult` from the table.
    void RefreshList();
    /// A click on the 8-by-8 grid.
    bool gridCH_Click(int row, int col);
    /// Chooses channel `ch` (1..count): its record, or a fresh one for a free slot, into the page.
    /// With unsaved changes the page asks 460 first: yes saves, no drops them.
    bool SelectChannel(int32_t ch);

    bool txtNetwork_Change(int index, const std::string& value);
    bool cmbVideoID_Click(int item);
    bool chkPTZ_Click(bool on);
    bool chkCameraSetting_Click(bool on);
    /// A choice in `cmb_CamDetail` or the lens combos: the rules of the video
    /// parameters, then the page is dirty.
    bool cmb_CamDetail_Click(int index, int item);
    bool cmbLensMode_Click(int item);
    bool cmbDisplayMode_Click(int which, int item);

    /// Detection: reads the camera the fields name into the working record.
    bool cmdDetect_Click();
    /// Sends 8193 for the fields; 0 when the camera answered, the service's code, or the link's
    /// failure code minus 100. The reply goes to `reply`.
    int32_t GetRemoteConfig(std::string& reply);

    /// 0 save, 1 remove, 2 cancel, 3 preview. False when the action was refused or its send
    /// failed; a save of a page without changes sends nothing and counts as done.
    bool cmdComit_Click(int index);
    /// The save procedure of the channel area (dirty slot 1).
    bool SaveSetting() { return cmdComit_Click(kCommitSave); }

    /// The page into a record for the preview (no rules on save).
    bool GetCHParam(ChannelRecord& r);
    /// The page into a record for saving, with the rules on save (size, audio, lens modes, and a
    /// format change that may switch the recording's dual stream off with 532).
    bool SetToSetCH(ChannelRecord& r);
    /// Empties the page after a save or removal.
    void CleanChannelField();
    /// Toggles the selection of channel row*16+col in `gridCHList`.
    bool gridCHList_Click(int row, int col);
    /// A camera chosen in the search dialog: its address and port into the fields; the user still
    /// detects. Without a selected channel the first free one is taken.
    bool TakeSearchedCamera(const SearchCamRecord& cam);

private:
    bool fieldsFilled(bool showMessage);
    void fillFields();
    void markDirty();
    void setDirty(bool dirty);
    void updateButtons();
    void lock(bool locked);
    bool save();
    bool applyPending(bool writeAgain);
    bool remove();
    void cancel();
    bool preview();
    void showMessage(int32_t textId);
    void showText(const std::string& text);
    size_t slot() const { return static_cast<size_t>(iSelCH - 1); }

    ChannelTables& tables_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    const app::Clock& clock_;
    ChannelPageHost& host_;
    std::string title_;
    bool bDirty_ = false;
    bool bRefused_ = false;  // the slot holds a record the service refused
    ChannelRecord pending_;  // the record whose 40963 is awaited
};

}  // namespace kv::channels
