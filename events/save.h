// Sending a destination list or the action groups (the saves of areas 3 and 4).
#pragma once

#include <string>

#include "events/records.h"
#include "link/service_link.h"

namespace kv::events {

/// Sends the list of `kind` (0 mail .. 5 SOP) whole and waits; true when the link answered and
/// RET is not negative. `reply`, when given, receives the link's text.
bool Save_EventListenServer(link::ServiceLink& link, const EventTables& tables, int kind, std::string* reply = nullptr);
/// The same for `Set_EventGroup_XML(list)`.
bool SaveEventGroup_Setting(link::ServiceLink& link, const EventGroupList& list, std::string* reply = nullptr);

/// The same for `Set_EventAction_XML(list)` (32775).
bool SaveEventAction_Setting(link::ServiceLink& link, const EventActionList& list, std::string* reply = nullptr);

/// The same for `Set_EventSCDL_XML(record)` (32810).
bool Save_EventSCDL(link::ServiceLink& link, const EventSCDLRecord& record, std::string* reply = nullptr);

}  // namespace kv::events
