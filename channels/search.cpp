// The camera search dialog.
#include "channels/search.h"

#include "base/lang.h"
#include "base/text.h"
#include "channels/channel_page.h"
#include "channels/codec.h"

namespace kv::channels {

FormSearch::FormSearch(const ChannelTables& tables, app::Dispatcher& dispatcher, link::ServiceLink& link,
                       const base::Language& lang)
    : tables_(tables), dispatcher_(dispatcher), link_(link), lang_(lang) {
    progressTitle = lang_.GetText(190);
    titles();
}

void FormSearch::titles() {
    CameraList.assign(1, {lang_.GetText(135), lang_.GetText(193), lang_.GetText(194), lang_.GetText(326), "MAC"});
    rowEntry.clear();
}

void FormSearch::StartSearch() {
    dispatcher_.bSearchDone = false;
    titles();
    searching = true;
    ticks_ = 0;
    link_.SendCommand(0, false, Get_SearchCAM_XML());
}

void FormSearch::onTick() {
    if (!searching) return;
    if (!dispatcher_.bSearchDone && ++ticks_ < kSearchTickLimit) return;
    searching = false;
    if (dispatcher_.bSearchDone) CheckSet();
}

bool FormSearch::poll(int perTick) {
    if (!searching) return false;
    if (!dispatcher_.bSearchDone && ++polls_ < perTick) return false;
    polls_ = 0;
    onTick();
    return true;
}

void FormSearch::CheckSet() {
    titles();
    const int32_t count = std::min<int32_t>(tables_.iMaxChannel, kChannelSlots);
    for (size_t i = 0; i < tables_.strSearchCam.size(); ++i) {
        const SearchCamRecord& cam = tables_.strSearchCam[i];
        // An entry without an address is the blank entry of the list, not a camera.
        if (cam.IP.empty()) continue;
        bool inUse = false;
        for (int32_t ch = 0; ch < count && !inUse; ++ch) {
            const ChannelRecord& r = tables_.strCH[static_cast<size_t>(ch)];
            // The same address and port; or the same hardware address, for a camera that moved to
            // another address since it became a channel.
            inUse = (r.HTTPPort == cam.HTTPPort && r.IP == cam.IP) ||
                    (r.configured() && !cam.MACAddress.empty() && cam.MACAddress != kNoMACAddress &&
                     base::ToUpper(r.MACAddress) == base::ToUpper(cam.MACAddress));
        }
        if (inUse) continue;
        CameraList.push_back({cam.IP, cam.Manufacturer, cam.Model, std::to_string(cam.HTTPPort), cam.MACAddress});
        rowEntry.push_back(i);
    }
}

bool FormSearch::CameraList_DblClick(int row, ChannelPage& page) {
    if (row < 1 || static_cast<size_t>(row) >= CameraList.size()) return false;
    if (!page.TakeSearchedCamera(tables_.strSearchCam[rowEntry[static_cast<size_t>(row - 1)]])) return false;
    closed = true;
    return true;
}

void FormSearch::CmdResearch_Click() {
    titles();
    StartSearch();
}

}  // namespace kv::channels
