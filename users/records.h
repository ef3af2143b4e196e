// Accounts and user groups of the service.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv::users {

struct UserRecord {
    int16_t ID = -1;  // -1: the sentinel of an empty list
    std::string Name;
    std::string Password;  // clear text, as the service exchanges it
    std::string Company;
    std::string Phone;
    std::string PrimaryMail;
    std::string SecondMail;
    int32_t GroupID = 0;
    bool Removed = false;
    bool operator==(const UserRecord&) const = default;
};

struct UserGroupRecord {
    int16_t ID = -1;  // -1: no group exists
    std::string Name;
    std::string Type0;  // live channels, comma list
    std::string Type1;  // PTZ channels
    std::string Type2;  // playback channels
    bool operator==(const UserGroupRecord&) const = default;
};

/// Lists hold one sentinel record when empty.
using UserList = std::vector<UserRecord>;
using UserGroupList = std::vector<UserGroupRecord>;

inline UserList EmptyUserList() { return UserList(1); }
inline UserGroupList EmptyUserGroupList() { return UserGroupList(1); }
/// True when the list is only its sentinel.
inline bool NoUsers(const UserList& l) { return l.size() == 1 && l[0].ID < 0; }
inline bool NoGroups(const UserGroupList& l) { return l.size() == 1 && l[0].ID < 0; }

/// The users subject's tables in the session.
struct UserTables {
    UserList strUser = EmptyUserList();
    UserGroupList strUserGroup = EmptyUserGroupList();
};

}  // namespace kv::users
