// Sending the account and group lists, with the result rule of every save.
#include "users/save.h"

#include "app/protocol.h"
#include "base/text.h"
#include "users/codec.h"

namespace kv::users {
namespace {

bool send(link::ServiceLink& link, const std::string& command, std::string* reply) {
    std::string answer;
    try {
        answer = link.SendCommand(0, true, command);
    } catch (...) {
        answer = "-1";
    }
    const bool ok = base::CheckResult(answer) >= 0 && app::CheckCMDReturn(answer) >= 0;
    if (reply) *reply = std::move(answer);
    return ok;
}

}  // namespace

bool SaveUser_Setting(link::ServiceLink& link, const UserList& list, std::string* reply) {
    return send(link, Set_User_XML(list), reply);
}

bool SaveUserGroup_Setting(link::ServiceLink& link, const UserGroupList& list, std::string* reply) {
    return send(link, Set_UserGroup_XML(list), reply);
}

}  // namespace kv::users
