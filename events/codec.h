// Reading and writing the six destination lists (mail, FTP, HTTP, TCP, warning sounds, SOP
// contacts), the action groups, and reading the event action table.
#pragma once

#include <string>
#include <string_view>

#include "events/records.h"

namespace pugi {
class xml_document;
}

namespace kv::events {

// The reads: form A with an empty Param and UserData CONFIG_AP.
std::string Get_EventMailInfo_XML();   // 32772
std::string Get_EventFTPInfo_XML();    // 32773
std::string Get_EventHTTPInfo_XML();   // 32774
std::string Get_EventTCPInfo_XML();    // 32805
std::string Get_EventSoundInfo_XML();  // 32780
std::string Get_EventSOPInfo_XML();    // 32799
std::string Get_EventGroupInfo_XML();  // 32778
std::string Get_EventActionInfo_XML(); // 32777

// The writes: the whole list, records with ID above 0 and not removed, attributes in wire order,
// every text escaped; an emptied list is its two wrapper tags.
std::string Set_EventMailServer_XML(const MailServerList& list);  // 32769
std::string Set_EventFTPServer_XML(const FTPServerList& list);    // 32770
std::string Set_EventHTTPServer_XML(const HTTPServerList& list);  // 32771
std::string Set_EventTCPServer_XML(const TCPServerList& list);    // 32806
std::string Set_EventSound_XML(const SoundFileList& list);        // 32779
std::string Set_EventSOP_XML(const SOPContactList& list);         // 32800
/// 32776: flags 1/0, a destination only when its flag is on (SOPDest before SoundDest),
/// OSDText="Event Trigger" only with OSD, SoundDuration="10" always, " >", the name, "</ActionGroup>".
std::string Set_EventGroup_XML(const EventGroupList& list);

// The readers reset their list to the blank record, take attributes by name in any order (absent
// numbers stay 0), pass every text through the reading direction of XMLFilter after the XML
// parser, and never throw. False when the reply does not read, its RET is not 0 or it has no list.
bool Load_MailServerList_XML(const pugi::xml_document& reply, MailServerList& list);
bool Load_FTPServerList_XML(const pugi::xml_document& reply, FTPServerList& list);
bool Load_httpServerList_XML(const pugi::xml_document& reply, HTTPServerList& list);
bool Load_TCPServerList_XML(const pugi::xml_document& reply, TCPServerList& list);
bool Load_SOUNDServerList_XML(const pugi::xml_document& reply, SoundFileList& list);
bool Load_SOPServerList_XML(const pugi::xml_document& reply, SOPContactList& list);
/// Groups: flags as flags, destinations as numbers, the element's text as the name, OSDText into
/// OSDTextIn.
bool Load_EventActionGroup_XML(const pugi::xml_document& reply, EventGroupList& list);
/// The event action table (read only here; its page comes with the event actions).
bool Load_EventAction_XML(const pugi::xml_document& reply, EventActionList& list);

// Text forms of the readers (tests, kelvarra-ctl).
bool Load_MailServerList_XML(std::string_view xml, MailServerList& list);
bool Load_FTPServerList_XML(std::string_view xml, FTPServerList& list);
bool Load_httpServerList_XML(std::string_view xml, HTTPServerList& list);
bool Load_TCPServerList_XML(std::string_view xml, TCPServerList& list);
bool Load_SOUNDServerList_XML(std::string_view xml, SoundFileList& list);
bool Load_SOPServerList_XML(std::string_view xml, SOPContactList& list);
bool Load_EventActionGroup_XML(std::string_view xml, EventGroupList& list);
bool Load_EventAction_XML(std::string_view xml, EventActionList& list);

/// 32775: every record with an ID of 0 or more, attributes in wire order, " />"; an empty table is
/// "<ActionList></ActionList>".
std::string Set_EventAction_XML(const EventActionList& list);

// The event schedule: a week of seven 96-character day strings per channel.
std::string Get_EventSCDLInfo_XML();  // 32809
/// 32810: CH, then EnableList with Day 0..6; each day closes with "< /Enable>" (blank kept, the
/// service expects it so), day text escaped.
std::string Set_EventSCDL_XML(const EventSCDLRecord& record);
/// Reads EnableList of an accepted reply: attributes in document order, CH selects the entry and
/// Day sets its day string. Days not sent stay; a CH outside 1..64 or a Day outside 0..6 is
/// skipped. False when the reply does not read or RET is not 0; never throws.
bool Load_EventSCDL_XML(const pugi::xml_document& reply, EventSCDLTable& table);
bool Load_EventSCDL_XML(std::string_view xml, EventSCDLTable& table);

/// The Set command of a kind's list, from the tables.
std::string SetCommandOf(const EventTables& tables, int kind);

}  // namespace kv::events
