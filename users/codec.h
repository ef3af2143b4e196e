// Reading the account and group lists, and the group of the login account.
#pragma once

#include <string>
#include <string_view>

#include "users/records.h"

namespace kv::users {

/// Resets `list` to its sentinel and fills it from a 32801 answer ("UserList" under RESPONSE).
/// Returns false when the text could not be read (the list is then the sentinel alone).
bool Load_UserList_XML(std::string_view xml, UserList& list);
/// The same parser as used by the Users page.
inline bool Load_UserInformation_XML(std::string_view xml, UserList& list) { return Load_UserList_XML(xml, list); }
/// Resets `list` to its sentinel and fills it from a 32803 answer ("UserGroupList" under RESPONSE).
bool Load_UserGroup_XML(std::string_view xml, UserGroupList& list);
/// The group id of the login account in a 4109 answer; -1 when the answer holds none.
int32_t XML_GetUserGroupID(std::string_view xml);
/// The 4109 command for a user name.
std::string Get_UserGroupOfUser_XML(std::string_view userName);
/// The 32803 query.
std::string Get_UserGroup_XML();

}  // namespace kv::users
