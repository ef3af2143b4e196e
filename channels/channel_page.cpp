// The channel page: selection, detection, save, removal, cancel and preview.
#include "channels/channel_page.h"

#include <algorithm>

#include "app/shell.h"
#include "app/xml_read.h"
#include "base/lang.h"
#include "base/timeconv.h"
#include "base/text.h"
#include "channels/codec.h"
#include "channels/save.h"

namespace kv::channels {
namespace {

// Video sources offered before a detection has told how many the device has.
constexpr int kVideoSourcesUnknown = 16;

bool allDigits(std::string_view s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

int32_t DetectResultTextId(int32_t result) {
    switch (result) {
        case -6: return text::kWrongPassword;
        case -5: return text::kDetectTimeOut;
        case -3: return text::kCameraNotSupported;
        case -104: return text::kCameraNotSupported;
        case -103: return text::kDetectTimeOut;
        default: return text::kConnectError;
    }
}

ChannelPage::ChannelPage(ChannelTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                         const base::Language& lang, const app::Clock& clock, ChannelPageHost& host, std::string title)
    : video(MyCH, tables.strCH, lang),
      tables_(tables),
      link_(link),
      prompter_(prompter),
      lang_(lang),
      clock_(clock),
      host_(host),
      title_(std::move(title)) {
    video.onChange = [this] { markDirty(); };
    updateButtons();
}

int32_t ChannelPage::channelCount() const { return std::clamp<int32_t>(tables_.iMaxChannel, 0, kChannelSlots); }

std::array<ChannelGridRow, 8> ChannelPage::channelGrid() const {
    return ShowChannelToGrid(tables_.strCH, channelCount(), iSelCH);
}

std::vector<ChannelGridRow> ChannelPage::statusGrid() const { return DisplayChStatus(tables_.strCH, channelCount()); }

int32_t ChannelPage::gridCHListColour(int32_t slot) const {
    if (slot < 0 || slot >= kChannelSlots) return kCellUnselected;
    return bCHListSel[static_cast<size_t>(slot)] ? kCellSelected : kCellUnselected;
}

void ChannelPage::OpenChannelFrame() {
    RefreshList();
    // Unsaved work stays on the page; otherwise the first configured channel is shown.
    if (bDirty_) return;
    for (int32_t ch = 1; ch <= channelCount(); ++ch) {
        if (tables_.strCH[static_cast<size_t>(ch - 1)].configured()) {
            SelectChannel(ch);
            return;
        }
    }
}

void ChannelPage::RefreshList() {
    Grid_SearchResult.assign(static_cast<size_t>(channelCount()), {});
    for (size_t i = 0; i < Grid_SearchResult.size(); ++i) {
        const ChannelRecord& r = tables_.strCH[i];
        auto& row = Grid_SearchResult[i];
        row[0] = std::to_string(i + 1);
        if (!r.configured()) continue;
        row = {std::to_string(i + 1), r.Name, r.IP, std::to_string(r.HTTPPort), r.Manufacturer, r.Model, r.MACAddress};
    }
}

bool ChannelPage::gridCH_Click(int row, int col) {
    if (row < 0 || row >= 8 || col < 0 || col >= kGridColumns) return false;
    return SelectChannel(row * kGridColumns + col + 1);
}

bool ChannelPage::SelectChannel(int32_t ch) {
    if (busy || ch < 1 || ch > channelCount()) return false;
    if (bDirty_) {
        const app::Answer a = prompter_.box(app::BoxKind::YesNo, lang_.GetText(text::kAskSaveChannel), title_);
        if (a == app::Answer::Yes && !save()) return false;
        setDirty(false);
        if (bApplyPending || bRefused_) {
            // Dropped: the list is read again as the service has it.
            bApplyPending = bRefused_ = false;
            host_.channelsChanged();
        }
    }
    iSelCH = ch;
    const ChannelRecord& stored = tables_.strCH[slot()];
    MyCH = stored.configured() ? stored : CleanMyCH(static_cast<int>(slot()));
    fillFields();
    frameNetwork = Framedevice = true;
    for (app::TextField& f : txtNetwork) f.enabled = true;
    updateButtons();
    return true;
}

void ChannelPage::fillFields() {
    txtNetwork[kNetName].text = MyCH.Name;
    txtNetwork[kNetIP].text = MyCH.IP;
    txtNetwork[kNetHTTPPort].text = std::to_string(MyCH.HTTPPort);
    txtNetwork[kNetUserName].text = MyCH.UserName;
    txtNetwork[kNetPassword].text = MyCH.Password;
    CmbBrand.clear();
    if (!MyCH.Manufacturer.empty()) {
        CmbBrand.add(MyCH.Manufacturer);
        CmbBrand.index = 0;
    }
    cmbVideoID.clear();
    const int sources = MyCH.NumberVideo > 0 ? MyCH.NumberVideo : kVideoSourcesUnknown;
    for (int i = 1; i <= sources; ++i) cmbVideoID.add(std::to_string(i));
    cmbVideoID.select(std::to_string(MyCH.VideoNumber));
    chkPTZ = MyCH.PTZEnable;
    chkCameraSetting = MyCH.StartConfig != 0;
    video.Fill();
    cmdLensMode = MyCH.BrandCode == kLensBrand;
}

bool ChannelPage::txtNetwork_Change(int index, const std::string& value) {
    if (iSelCH == 0 || busy || index < 0 || index >= kNetworkFieldCount) return false;
    app::TextField& f = txtNetwork[static_cast<size_t>(index)];
    if (!f.enabled) return false;
    f.text = value;
    markDirty();
    return true;
}

bool ChannelPage::cmbVideoID_Click(int item) {
    if (iSelCH == 0 || busy || item < 0 || static_cast<size_t>(item) >= cmbVideoID.items.size()) return false;
    cmbVideoID.index = item;
    markDirty();
    return true;
}

bool ChannelPage::chkPTZ_Click(bool on) {
    if (iSelCH == 0 || busy) return false;
    chkPTZ = on;
    markDirty();
    return true;
}

bool ChannelPage::chkCameraSetting_Click(bool on) {
    if (iSelCH == 0 || busy) return false;
    chkCameraSetting = on;
    markDirty();
    return true;
}

bool ChannelPage::cmb_CamDetail_Click(int index, int item) {
    return iSelCH != 0 && !busy && video.cmb_CamDetail_Click(index, item);
}

bool ChannelPage::cmbLensMode_Click(int item) { return iSelCH != 0 && !busy && video.cmbLensMode_Click(item); }

bool ChannelPage::cmbDisplayMode_Click(int which, int item) {
    return iSelCH != 0 && !busy && video.cmbDisplayMode_Click(which, item);
}


bool ChannelPage::fieldsFilled(bool show) {
    const std::string ip = base::Trim(txtNetwork[kNetIP].text);
    const std::string port = base::Trim(txtNetwork[kNetHTTPPort].text);
    const bool ok = !ip.empty() && ip.find(' ') == std::string::npos && allDigits(port) && port.size() <= 5 &&
                    std::stoi(port) >= 1 && std::stoi(port) <= 65535 &&
                    !base::Trim(txtNetwork[kNetUserName].text).empty();
    if (!ok && show) showMessage(text::kEmptyField);
    return ok;
}

int32_t ChannelPage::GetRemoteConfig(std::string& reply) {
    const int32_t videoNumber = cmbVideoID.index >= 0 ? app::ToInt32(cmbVideoID.text()) : 0;
    reply = link_.SendCommand(0, true,
                              GetRemoteChannelXML(base::Trim(txtNetwork[kNetIP].text),
                                                  app::ToInt32(txtNetwork[kNetHTTPPort].text),
                                                  txtNetwork[kNetUserName].text, txtNetwork[kNetPassword].text,
                                                  videoNumber));
    lastAnswer = reply;
    const int32_t sent = base::CheckResult(reply);
    if (sent < 0) return sent - 100;
    int32_t code = -1;
    return ChannelRetCode(reply, code) ? code : -1;
}

bool ChannelPage::cmdDetect_Click() {
    if (!cmdDetect || busy || iSelCH == 0) return false;
    if (!fieldsFilled(true)) return false;
    lock(true);
    std::string reply;
    const int32_t result = GetRemoteConfig(reply);
    if (result != 0) {
        lock(false);
        showMessage(DetectResultTextId(result));
        return false;
    }
    const std::string ip = base::Trim(txtNetwork[kNetIP].text);
    const int32_t port = app::ToInt32(txtNetwork[kNetHTTPPort].text);
    bSameDetect = ip == sLastDetectIP && port == iLastDetectPort;
    sLastDetectIP = ip;
    iLastDetectPort = port;
    Load_ChannelDetectInfo_XML(reply, MyCH);
    // What the user typed wins over what the reply says.
    MyCH.IP = ip;
    MyCH.HTTPPort = port;
    MyCH.UserName = txtNetwork[kNetUserName].text;
    MyCH.Password = txtNetwork[kNetPassword].text;
    const std::string typedName = txtNetwork[kNetName].text;
    fillFields();
    txtNetwork[kNetName].text = typedName;
    lock(false);
    markDirty();
    return true;
}

bool ChannelPage::cmdComit_Click(int index) {
    if (busy) return false;
    switch (index) {
        case kCommitSave: return save();
        case kCommitRemove: return remove();
        case kCommitCancel: cancel(); return true;
        case kCommitPreview: return preview();
        default: return false;
    }
}

bool ChannelPage::save() {
    if (bApplyPending) return applyPending(true);
    if (!bDirty_) return true;
    if (iSelCH == 0) return false;
    ChannelRecord r = MyCH;
    if (!SetToSetCH(r)) return false;
    MyCH = r;
    tables_.strCH[slot()] = MyCH;
    if (!SaveChannel_Setting(link_, MyCH, &lastAnswer)) {
        // The slot keeps the page's record so that the user can try again; once the user gives
        // up (cancel, or another channel without saving) the list is read as the service has it.
        bRefused_ = true;
        showMessage(text::kSaveFailed);
        return false;
    }
    bRefused_ = false;
    MyCH.SaveFlag = false;
    MyCH.ChannelEdited = false;
    tables_.strCH[slot()] = MyCH;
    CleanChannelField();
    RefreshList();
    tabChannel = 0;
    pending_ = MyCH;
    return applyPending(false);
}

bool ChannelPage::applyPending(bool writeAgain) {
    // The channel reached the service; it takes effect with 40963. A refusal keeps the page
    // dirty with save and cancel offered; the service keeps nothing of a refused notice, so a
    // second try writes the channel again before the notice.
    bApplyPending = true;
    if (writeAgain && !SaveChannel_Setting(link_, pending_, &lastAnswer)) {
        showMessage(text::kSaveFailed);
        updateButtons();
        return false;
    }
    if (!ApplyChannel_Setting(link_, &lastAnswer)) {
        showMessage(text::kSaveFailed);
        updateButtons();
        return false;
    }
    bApplyPending = false;
    setDirty(false);
    host_.channelsChanged();
    return true;
}

bool ChannelPage::remove() {
    if (iSelCH == 0) {
        showMessage(text::kSelectChannel);
        return false;
    }
    if (prompter_.box(app::BoxKind::YesNo, lang_.GetText(text::kAskRemove), title_) != app::Answer::Yes) return false;
    const int32_t ch = iSelCH;
    ChannelRecord gone = MyCH;
    gone.CH = static_cast<int16_t>(ch);
    if (!RemoveChannel_Setting(link_, gone, &lastAnswer)) {
        showMessage(text::kSaveFailed);
        return false;
    }
    CleanChannelField();
    tables_.strCH[static_cast<size_t>(ch - 1)] = ChannelRecord{};
    // The other subjects let go of the channel and save what they pruned.
    host_.channelRemoved(ch);
    RefreshList();
    tabChannel = 0;
    setDirty(false);
    host_.channelsChanged();
    return true;
}

void ChannelPage::cancel() {
    const bool unapplied = bApplyPending || bRefused_;
    bApplyPending = bRefused_ = false;
    setDirty(false);
    iSelCH = 0;
    sLastDetectIP.clear();
    iLastDetectPort = 0;
    bSameDetect = false;
    tabChannel = 0;
    frameNetwork = Framedevice = cmdLensMode = false;
    MyCH = ChannelRecord{};
    video.Clear();
    updateButtons();
    // A channel the service refused or never applied: the list is read again as the service has it.
    if (unapplied) host_.channelsChanged();
}

bool ChannelPage::preview() {
    const std::string ip = base::Trim(txtNetwork[kNetIP].text);
    if ((iSelCH == 0 && ip.empty()) || ip.empty() || base::Trim(txtNetwork[kNetUserName].text).empty()) {
        showMessage(text::kSelectChannel);
        return false;
    }
    PreviewCH = ChannelRecord{};
    PreviewCH.BrandCode = MyCH.BrandCode;
    PreviewCH.Size = MyCH.Size;
    if (!GetCHParam(PreviewCH)) return false;
    const int32_t result = host_.openPreview(PreviewCH, Get_PreView_XML(PreviewCH));
    const std::string message = base::DeviceErrorText(result, lang_);
    if (!message.empty()) showText(message);
    return true;
}

bool ChannelPage::GetCHParam(ChannelRecord& r) {
    if (!fieldsFilled(true)) return false;
    r.IP = base::Trim(txtNetwork[kNetIP].text);
    r.HTTPPort = app::ToInt32(txtNetwork[kNetHTTPPort].text);
    r.UserName = txtNetwork[kNetUserName].text;
    r.Password = txtNetwork[kNetPassword].text;
    r.VideoNumber = cmbVideoID.index >= 0 ? app::ToInt16(cmbVideoID.text()) : 0;
    r.RtspPort = MyCH.RtspPort;
    const std::string size = r.Size;
    // The preview needs the capability lists of the working record to resolve the size.
    ChannelRecord lists = MyCH;
    video.SetToRecord(lists);
    r.FMT = lists.FMT;
    r.Size = lists.Size.empty() ? size : lists.Size;
    r.FPS = lists.FPS;
    r.Quality = lists.Quality;
    r.RateControl = lists.RateControl;
    r.Bitrate = lists.Bitrate;
    r.GOP = lists.GOP;
    return true;
}

bool ChannelPage::SetToSetCH(ChannelRecord& r) {
    if (!fieldsFilled(true)) return false;
    r.CH = static_cast<int16_t>(iSelCH);
    r.Name = base::Trim(txtNetwork[kNetName].text);
    r.IP = base::Trim(txtNetwork[kNetIP].text);
    r.HTTPPort = app::ToInt32(txtNetwork[kNetHTTPPort].text);
    r.UserName = txtNetwork[kNetUserName].text;
    r.Password = txtNetwork[kNetPassword].text;
    r.VideoNumber = cmbVideoID.index >= 0 ? app::ToInt16(cmbVideoID.text()) : 0;
    r.PTZEnable = chkPTZ;
    r.StartConfig = chkCameraSetting ? 1 : 0;
    if (!CmbBrand.text().empty()) r.Manufacturer = CmbBrand.text();
    video.SetToRecord(r);
    // The second check: a channel needs a name and the video settings that detection gives.
    if (r.Name.empty() || r.FMT.empty() || r.Size.empty()) {
        showMessage(text::kEmptyField);
        return false;
    }
    // A format the camera cannot send beside a second stream ends the recording's dual stream.
    if (r.FMT != tables_.strCH[slot()].FMT && !HasDualStreamFormat(r.SupportFMT) && host_.dualModeOf(iSelCH) == 1) {
        host_.switchDualModeOff(iSelCH);
        showMessage(text::kDualModeOff);
    }
    // Seconds since 1970 by the local clock, as the service keeps it; a record without an
    // address of its own carries the zero address it is sent with.
    r.EditTime = static_cast<int32_t>(base::UTCtoLocal(clock_.nowSeconds()));
    if (r.MACAddress.empty()) r.MACAddress = kNoMACAddress;
    r.ChannelEdited = true;
    return true;
}

void ChannelPage::CleanChannelField() {
    if (iSelCH >= 1 && slot() < Grid_SearchResult.size()) {
        auto& row = Grid_SearchResult[slot()];
        row[0] = std::to_string(iSelCH);
        if (tables_.strCH[slot()].ChannelEdited)
            for (size_t c = 1; c < row.size(); ++c) row[c] = std::string(1, '-');
    }
    iSelCH = 0;
    frameNetwork = Framedevice = cmdLensMode = false;
    for (app::TextField& f : txtNetwork) f.text.clear();
    CmbBrand.clear();
    cmbVideoID.clear();
    chkPTZ = chkCameraSetting = false;
    video.Clear();
    updateButtons();
}

bool ChannelPage::gridCHList_Click(int row, int col) {
    if (row < 0 || col < 0 || col >= 16) return false;
    const int slotIndex = row * 16 + col;
    if (slotIndex >= kChannelSlots) return false;
    const size_t i = static_cast<size_t>(slotIndex);
    bCHListSel[i] = !bCHListSel[i];
    bCHListSelCopy[i] = bCHListSel[i];
    return true;
}

bool ChannelPage::TakeSearchedCamera(const SearchCamRecord& cam) {
    if (busy || cam.IP.empty()) return false;
    if (iSelCH == 0) {
        int32_t free = 0;
        for (int32_t ch = 1; ch <= channelCount() && free == 0; ++ch)
            if (!tables_.strCH[static_cast<size_t>(ch - 1)].configured()) free = ch;
        if (free == 0 || !SelectChannel(free)) {
            showMessage(text::kSelectChannel);
            return false;
        }
    }
    txtNetwork[kNetIP].text = cam.IP;
    txtNetwork[kNetHTTPPort].text = std::to_string(cam.HTTPPort);
    CmbBrand.clear();
    if (!cam.Manufacturer.empty()) {
        CmbBrand.add(cam.Manufacturer);
        CmbBrand.index = 0;
    }
    tabChannel = 0;
    markDirty();
    return true;
}

void ChannelPage::markDirty() { setDirty(true); }

void ChannelPage::setDirty(bool dirty) {
    const bool changed = bDirty_ != dirty;
    bDirty_ = dirty;
    updateButtons();
    if (changed) host_.channelDirtyChanged(dirty);
}

void ChannelPage::updateButtons() {
    const bool selected = iSelCH > 0 && !busy;
    cmdComit[kCommitSave] = (selected && bDirty_) || (bApplyPending && !busy);
    cmdComit[kCommitRemove] = selected && tables_.strCH[slot()].configured();
    cmdComit[kCommitCancel] = selected || (bApplyPending && !busy);
    cmdComit[kCommitPreview] = selected;
    cmdDetect = selected;
}

void ChannelPage::lock(bool locked) {
    busy = locked;
    for (app::TextField& f : txtNetwork) f.enabled = !locked;
    updateButtons();
}

void ChannelPage::showMessage(int32_t textId) { showText(lang_.GetText(textId)); }

void ChannelPage::showText(const std::string& message) { prompter_.box(app::BoxKind::Notice, message, title_); }

}  // namespace kv::channels
