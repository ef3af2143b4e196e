// Sending the recording settings, a week schedule and the storage setting (the saves of areas
// 11, 12 and 9).
#pragma once

#include <string>

#include "link/service_link.h"
#include "recording/records.h"

namespace kv::recording {

/// Sends `Set_RecSet_XML(r)` and waits; true when the link answered and RET is not negative.
bool SaveRecSet_Setting(link::ServiceLink& link, const RecSetRecord& r, std::string* reply = nullptr);
/// The same for `Set_RecSCDL_XML(r)`.
bool SaveRecSCDL_Setting(link::ServiceLink& link, const RecSCDLRecord& r, std::string* reply = nullptr);
/// The same for `Set_Storage_XML(rows, retainDays, reservedGB)`.
bool SaveStorage_Setting(link::ServiceLink& link, const StorageList& rows, int32_t retainDays, int32_t reservedGB,
                         std::string* reply = nullptr);

}  // namespace kv::recording
