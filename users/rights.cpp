// The admin group's channel lists and the rights of the logged-in account.
#include "users/rights.h"

#include <algorithm>

namespace kv::users {

std::string GetAdminGroupChList(int32_t id, int32_t channelCount) {
    const int32_t n = id == 0 ? base::kMaxChannel : std::clamp(channelCount, 0, base::kMaxChannel);
    std::string out;
    for (int32_t ch = 1; ch <= n; ++ch) out += std::to_string(ch) + ",";
    if (!out.empty()) out.pop_back();
    return out;
}

UserAuthority GetUserAuthorityData(const UserList& users, const UserGroupList& groups, std::string_view loginUser) {
    UserAuthority a;
    if (NoUsers(users)) {
        a.GroupID = kAdminGroupID;
        a.live.fill(true);
        a.ptz.fill(true);
        a.playback.fill(true);
        return a;
    }
    const std::string wanted = base::ToUpper(base::Trim(loginUser));
    const auto user = std::find_if(users.begin(), users.end(), [&](const UserRecord& u) {
        return u.ID >= 0 && base::ToUpper(base::Trim(u.Name)) == wanted;
    });
    if (user == users.end()) return a;
    const auto group = std::find_if(groups.begin(), groups.end(),
                                    [&](const UserGroupRecord& g) { return g.ID >= 0 && g.ID == user->GroupID; });
    if (group == groups.end()) return a;
    a.GroupID = group->ID;
    a.live = base::CalCHList(group->Type0);
    a.ptz = base::CalCHList(group->Type1);
    a.playback = base::CalCHList(group->Type2);
    return a;
}

}  // namespace kv::users
