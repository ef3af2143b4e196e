// Sending the account and group lists to the service (the saves of the two user areas).
#pragma once

#include <string>

#include "link/service_link.h"
#include "users/records.h"

namespace kv::users {

/// Sends `Set_User_XML(list)` and waits. True when the link answered and the answer's RET is
/// not negative. `reply`, when given, receives the link's text (a "-" code on a link failure).
bool SaveUser_Setting(link::ServiceLink& link, const UserList& list, std::string* reply = nullptr);
/// The same for `Set_UserGroup_XML(list)`.
bool SaveUserGroup_Setting(link::ServiceLink& link, const UserGroupList& list, std::string* reply = nullptr);

}  // namespace kv::users
