// The configuration tables of one session, filled by the parsers at login and edited by the pages.
#pragma once

#include <cstdint>
#include <vector>

#include "admin/records.h"
#include "store/local_db.h"
#include "users/records.h"

namespace kv::app {

/// A row of the known-server table.
using ServerRow = store::ServiceRecord;

struct Config {
    int32_t iMaxChannel = 64;
    users::UserList strUser = users::EmptyUserList();
    users::UserGroupList strUserGroup = users::EmptyUserGroupList();
    admin::ServerInfo serverInfo;
    admin::DDNSSetting ddns;
    admin::ServiceStatus serviceStatus;
};

}  // namespace kv::app
