// Sending the recording's writes, with the result rule of every save.
#include "recording/save.h"

#include "app/wire.h"
#include "recording/codec.h"

namespace kv::recording {
using app::SendWrite;

bool SaveRecSet_Setting(link::ServiceLink& link, const RecSetRecord& r, std::string* reply) {
    return SendWrite(link, Set_RecSet_XML(r), reply);
}

bool SaveRecSCDL_Setting(link::ServiceLink& link, const RecSCDLRecord& r, std::string* reply) {
    return SendWrite(link, Set_RecSCDL_XML(r), reply);
}

bool SaveStorage_Setting(link::ServiceLink& link, const StorageList& rows, int32_t retainDays, int32_t reservedGB,
                         std::string* reply) {
    return SendWrite(link, Set_Storage_XML(rows, retainDays, reservedGB), reply);
}

}  // namespace kv::recording
