// Sending the channel writes.
#include "channels/save.h"

#include "app/commands.h"
#include "app/protocol.h"
#include "app/wire.h"
#include "channels/codec.h"
#include "channels/ptz_codec.h"

namespace kv::channels {

using app::SendWrite;

bool SaveChannel_Setting(link::ServiceLink& link, const ChannelRecord& record, std::string* reply) {
    return SendWrite(link, Get_Channel_ADD_XML(record), reply);
}

bool RemoveChannel_Setting(link::ServiceLink& link, const ChannelRecord& record, std::string* reply) {
    return SendWrite(link, Get_Channel_Remove_XML(record), reply);
}

bool ApplyChannel_Setting(link::ServiceLink& link, std::string* reply) {
    return SendWrite(link, app::CommandC(app::cmd::kChannelCommitted), reply);
}

bool SavePresetList_Setting(link::ServiceLink& link, int32_t ch, const PresetList& list, std::string* reply) {
    return SendWrite(link, Set_PresetList_XML(ch, list), reply);
}

}  // namespace kv::channels
