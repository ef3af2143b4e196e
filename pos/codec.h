// POS replies read at login.
#pragma once

#include <string_view>

#include "pos/records.h"

namespace pugi {
class xml_document;
}

namespace kv::pos {

/// The 32828 reply: the list reset to its blank record, then one record per "UserDefinedEvent"
/// of "UserDefinedEventList" with its children by element name (absent ones keep their
/// defaults). False when the reply does not read, RET is not 0 or it has no list; never throws.
bool Load_POSDefineTriiggerEvent_XML(const pugi::xml_document& reply, POSTriggerEventList& list);
bool Load_POSDefineTriiggerEvent_XML(std::string_view xml, POSTriggerEventList& list);

}  // namespace kv::pos
