// Taking a removed channel out of the tables of the other subjects.
#include "channels/removal.h"

#include <algorithm>

#include "base/text.h"

namespace kv::channels {
namespace {

// The list without the entries `gone` says go, order kept; one blank record when nothing is left.
template <class List, class Gone>
void prune(List& list, Gone gone) {
    List kept;
    for (auto& entry : list)
        if (!gone(entry)) kept.push_back(std::move(entry));
    if (kept.empty()) kept.resize(1);
    list = std::move(kept);
}

}  // namespace

std::string RemoveChannelFromList(std::string_view list, int32_t ch) {
    const std::string number = std::to_string(ch);
    std::string out;
    size_t pos = 0;
    while (pos < list.size()) {
        const size_t end = std::min(list.find(',', pos), list.size());
        const std::string_view item = list.substr(pos, end - pos);
        if (base::Trim(item) != number) {
            if (!out.empty()) out += ',';
            out += item;
        }
        pos = end + 1;
    }
    return out;
}

void RemoveRelationalSettingForRemoveChannel(app::Config& c, int32_t ch) {
    const auto byChannel = [ch](const auto& e) { return e.CH == ch || e.CH <= 0; };
    prune(c.OBLossROI, byChannel);
    prune(c.TripWireROI, byChannel);
    prune(c.PolygonROI, byChannel);
    prune(c.ObjCountingROI, byChannel);
    prune(c.strEventAction, byChannel);
    // Only camera nodes name a channel (by their ID); groups stay.
    prune(c.EMapNode, [ch](const emap::EMapNodeRecord& n) {
        return n.Type == emap::kCameraNode && (n.ID == ch || n.ID <= 0);
    });
    for (users::UserGroupRecord& g : c.strUserGroup) {
        g.Type0 = RemoveChannelFromList(g.Type0, ch);
        g.Type1 = RemoveChannelFromList(g.Type1, ch);
        g.Type2 = RemoveChannelFromList(g.Type2, ch);
    }
}

}  // namespace kv::channels
