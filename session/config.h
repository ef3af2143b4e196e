// The configuration tables of one session: the tables of every subject, filled by the readers
// at login and edited by the pages. Only the session layer sees them all; a subject and its
// page models take the tables they edit.
#pragma once

#include "admin/records.h"
#include "channels/records.h"
#include "store/local_db.h"
#include "users/records.h"

namespace kv::session {

/// A row of the known-server table.
using ServerRow = store::ServiceRecord;

struct Config : channels::ChannelTables, users::UserTables, admin::AdminTables {};

}  // namespace kv::session
