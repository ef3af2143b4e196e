// The channels in the command-line client's documents: the reads the login does not make (the
// status and every PTZ channel's presets) and the sections that print them.
#pragma once

#include <nlohmann/json.hpp>

#include "app/config.h"
#include "link/service_link.h"

namespace kv::cli {

/// Polls the channel status (24578) into `strCH` and reads the preset list (4101) of every
/// configured PTZ channel into `presetLists`, as the channel page would.
void ReadChannelExtras(app::Config& config, link::ServiceLink& link);

/// "strCH": the configured slots with every field of the record but the status; "Presets": the
/// lists by channel number; "ChannelStatus": Connected and InRecord of each configured slot.
void DumpChannels(const app::Config& config, nlohmann::ordered_json& doc);

}  // namespace kv::cli
