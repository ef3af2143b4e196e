// Sending the account and group lists, with the result rule of every save.
#include "users/save.h"

#include "app/wire.h"
#include "users/codec.h"

namespace kv::users {
using app::SendWrite;

bool SaveUser_Setting(link::ServiceLink& link, const UserList& list, std::string* reply) {
    return SendWrite(link, Set_User_XML(list), reply);
}

bool SaveUserGroup_Setting(link::ServiceLink& link, const UserGroupList& list, std::string* reply) {
    return SendWrite(link, Set_UserGroup_XML(list), reply);
}

}  // namespace kv::users
