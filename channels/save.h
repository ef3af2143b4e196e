// Sending the channel writes to the service: commit, removal, the apply notice and the presets.
#pragma once

#include <cstdint>
#include <string>

#include "channels/records.h"
#include "link/service_link.h"

namespace kv::channels {

/// Sends `command` and waits. True when the link answered and the answer's RET is not negative.
/// `reply`, when given, receives the link's text (a "-" code on a link failure).

/// 24581 with the whole channel.
bool SaveChannel_Setting(link::ServiceLink& link, const ChannelRecord& record, std::string* reply = nullptr);
/// 24581 with `CH` alone.
bool RemoveChannel_Setting(link::ServiceLink& link, const ChannelRecord& record, std::string* reply = nullptr);
/// 40963: the service takes the committed channels into use.
bool ApplyChannel_Setting(link::ServiceLink& link, std::string* reply = nullptr);
/// 32814: the preset list of channel `ch`.
bool SavePresetList_Setting(link::ServiceLink& link, int32_t ch, const PresetList& list,
                            std::string* reply = nullptr);

}  // namespace kv::channels
