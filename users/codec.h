// Reading and writing the account and group lists, and the group of the login account.
#pragma once

#include <string>
#include <string_view>

#include "users/records.h"

namespace pugi {
class xml_document;
}

namespace kv::users {

/// Resets `list` to its sentinel and fills it from a 32801 answer ("UserList" under RESPONSE).
/// Missing texts read as empty. An element whose id is not a number from 1, repeats an earlier
/// id, or has no numeric GroupID ends the list there; the accounts before it stand.
/// Returns false when the text could not be read or the list ended early.
bool Load_UserList_XML(std::string_view xml, UserList& list);
bool Load_UserList_XML(const pugi::xml_document& reply, UserList& list);
/// The same parser as used by the Users page.
inline bool Load_UserInformation_XML(std::string_view xml, UserList& list) { return Load_UserList_XML(xml, list); }
/// Resets `list` to its sentinel and fills it from a 32803 answer ("UserGroupList" under RESPONSE).
/// Channel lists are kept as sent. Ids follow the rule of the account list.
bool Load_UserGroup_XML(std::string_view xml, UserGroupList& list);
bool Load_UserGroup_XML(const pugi::xml_document& reply, UserGroupList& list);
/// The group id of the login account in a 4109 answer; -1 when the answer holds none.
int32_t XML_GetUserGroupID(std::string_view xml);
/// The 4109 command for a user name.
std::string Get_UserGroupOfUser_XML(std::string_view userName);
/// The 32803 query.
std::string Get_UserGroup_XML();
/// The 32802 command: every record of the list, in order, texts escaped.
std::string Set_User_XML(const UserList& list);
/// The 32804 command: every record of the list, in order, with Type3..Type11 sent as "0".
std::string Set_UserGroup_XML(const UserGroupList& list);

}  // namespace kv::users
