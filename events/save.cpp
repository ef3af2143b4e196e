// Sending the event lists, with the result rule of every save.
#include "events/save.h"

#include "app/wire.h"
#include "events/codec.h"

namespace kv::events {

bool Save_EventListenServer(link::ServiceLink& link, const EventTables& tables, int kind, std::string* reply) {
    if (kind < 0 || kind >= kKindCount) return false;
    return app::SendWrite(link, SetCommandOf(tables, kind), reply);
}

bool SaveEventGroup_Setting(link::ServiceLink& link, const EventGroupList& list, std::string* reply) {
    return app::SendWrite(link, Set_EventGroup_XML(list), reply);
}

bool SaveEventAction_Setting(link::ServiceLink& link, const EventActionList& list, std::string* reply) {
    return app::SendWrite(link, Set_EventAction_XML(list), reply);
}

bool Save_EventSCDL(link::ServiceLink& link, const EventSCDLRecord& record, std::string* reply) {
    return app::SendWrite(link, Set_EventSCDL_XML(record), reply);
}

}  // namespace kv::events
