// The channel commands and the readers of their replies: detail, detection, status, add, remove,
// preview, device read and camera search.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "channels/records.h"

namespace pugi {
class xml_document;
}

namespace kv::channels {

/// 24582 asking for channels 1..count (UserData "Form_Main").
std::string ChannelDetail_XML(int32_t count);

/// Reads a 24582 reply into `strCH`: every slot is blanked first, and a slot whose `IP` comes
/// back unchanged gets its saved record again before the elements after `IP` are laid over it.
/// Returns 1 when the whole reply was read (or RESPONSE has no children), else 0; a reply that
/// stops half way leaves the slots as far as it got.
int Load_ChannelDetailInfo_XML(std::string_view xml, ChannelTable& strCH);
int Load_ChannelDetailInfo_XML(const pugi::xml_document& reply, ChannelTable& strCH);

/// Reads one `SizeList` element (the lists of one format) into `record`; false on a fault, with
/// what was read so far kept.
bool SetstrCHSystem(ChannelRecord& record, pugi::xml_node sizeList);

/// Reads an 8193 reply into `record`. Returns 1 on success, 0 when the reply is no XML or its
/// return code is not 0 (the record is then untouched).
int Load_ChannelDetectInfo_XML(std::string_view xml, ChannelRecord& record);

/// Reads a 24578 reply into `Connected` and `InRecord`; channels above `channelCount` are skipped.
/// False when the reply is no XML, its return code is not 0, or it names a channel below 1.
bool GetChannelStatus(std::string_view xml, ChannelTable& strCH, int32_t channelCount);
bool GetChannelStatus(const pugi::xml_document& reply, ChannelTable& strCH, int32_t channelCount);

/// 24581 with the whole channel: adds or changes it.
std::string Get_Channel_ADD_XML(const ChannelRecord& record);
/// 24581 with `CH` alone: removes the channel.
std::string Get_Channel_Remove_XML(const ChannelRecord& record);
/// 22546 (UserData "Form_Main"): a preview of settings not saved yet.
std::string Get_PreView_XML(const ChannelRecord& record);
/// 8193: a device's settings, for adding it as a channel.
std::string GetRemoteChannelXML(std::string_view ip, int32_t port, std::string_view user, std::string_view password,
                                int32_t videoNumber);

/// The return code the channel detail and detection readers take: the third attribute of the
/// first RESPONSE. False when the text is no XML or the attribute is missing.
bool ChannelRetCode(std::string_view xml, int32_t& code);

/// 8194, the camera search.
std::string Get_SearchCAM_XML();
/// Sizes `list` by the children of RESPONSE and fills the entries of its `Device` children.
/// A reply whose return code is not 0, or no XML, leaves one blank entry.
bool Load_SearchCAMList_XML(std::string_view xml, SearchCamList& list);
bool Load_SearchCAMList_XML(const pugi::xml_document& reply, SearchCamList& list);

}  // namespace kv::channels
