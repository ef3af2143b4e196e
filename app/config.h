// The configuration tables of one session, filled by the parsers at login and edited by the pages.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "admin/records.h"
#include "analytics/records.h"
#include "channels/records.h"
#include "emap/records.h"
#include "events/records.h"
#include "store/local_db.h"
#include "users/records.h"

namespace kv::app {

/// A row of the known-server table.
using ServerRow = store::ServiceRecord;

struct Config {
    int32_t iMaxChannel = 64;
    users::UserList strUser = users::EmptyUserList();
    users::UserGroupList strUserGroup = users::EmptyUserGroupList();
    admin::ServerInfo serverInfo;
    admin::DDNSSetting ddns;
    admin::ServiceStatus serviceStatus;

    // Channels: the 64 slots, the presets of the channel the PTZ panel shows, the last search.
    channels::ChannelTable strCH{};
    channels::PresetList strPreset = channels::EmptyPresetList();
    channels::SearchCamList strSearchCam = channels::SearchCamList(1);
    /// The preset lists of every PTZ channel, by channel: the command-line client reads them all.
    std::map<int32_t, channels::PresetList> presetLists;

    // Tables that name channels; a removed channel is taken out of each.
    analytics::OBLossROIList OBLossROI = analytics::OBLossROIList(1);
    analytics::TripWireROIList TripWireROI = analytics::TripWireROIList(1);
    analytics::PolygonROIList PolygonROI = analytics::PolygonROIList(1);
    analytics::ObjCountingROIList ObjCountingROI = analytics::ObjCountingROIList(1);
    events::EventActionList strEventAction = events::EventActionList(1);
    emap::EMapNodeList EMapNode = emap::EMapNodeList(1);
};

}  // namespace kv::app
