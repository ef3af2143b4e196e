// The camera search dialog as data: the search, the list of cameras not yet in use, and the
// hand-over of a chosen camera to the channel page.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "channels/records.h"
#include "app/dispatcher.h"
#include "link/service_link.h"

namespace kv::base {
class Language;
}

namespace kv::channels {

class ChannelPage;

/// Ticks the progress window waits for the answer before it shows an empty list.
inline constexpr int32_t kSearchTickLimit = 10;

class FormSearch {
public:
    FormSearch(const ChannelTables& tables, app::Dispatcher& dispatcher, link::ServiceLink& link,
               const base::Language& lang);

    /// Row 0 holds the titles: IP Address, Brand, Model, Port, MAC.
    std::vector<std::array<std::string, 5>> CameraList;
    /// The entry of `strSearchCam` behind each row from 1.
    std::vector<size_t> rowEntry;
    std::array<int32_t, 2> columnWidths = {530, 500};
    bool searching = false;  // the progress window is up
    bool closed = false;
    std::string progressTitle;  // text 190

    /// Sends 8194 without waiting; the answer marks `bSearchDone` through the dispatcher.
    void StartSearch();
    /// One tick of the progress window: the list shows once the answer arrived or the wait ended.
    void onTick();
    /// A poll of the progress window, `perTick` of them a second: the list shows as soon as the
    /// answer arrived, and every `perTick`-th poll is a tick of the wait. True when it counted.
    bool poll(int perTick);
    /// Fills the list with the found cameras that no channel up to the count uses already.
    void CheckSet();
    /// Hands the camera of `row` to the channel page and closes the dialog.
    bool CameraList_DblClick(int row, ChannelPage& page);
    /// Clears the list and searches again.
    void CmdResearch_Click();

private:
    void titles();

    const ChannelTables& tables_;
    app::Dispatcher& dispatcher_;
    link::ServiceLink& link_;
    const base::Language& lang_;
    int32_t ticks_ = 0;
    int polls_ = 0;
};

}  // namespace kv::channels
