// The channels a group may use: the admin group's lists and the rights of the logged-in account.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/text.h"
#include "users/records.h"

namespace kv::users {

/// The group that every first account belongs to; it always has every channel.
inline constexpr int16_t kAdminGroupID = 1;

/// "1,2,...,n": n is 64 for `id` 0, otherwise `channelCount` (clamped to 0..64).
std::string GetAdminGroupChList(int32_t id, int32_t channelCount);

/// What the logged-in account may do, per channel.
struct UserAuthority {
    int32_t GroupID = -1;  // -1: the account or its group is not in the lists
    base::ChannelFlags live{};
    base::ChannelFlags ptz{};
    base::ChannelFlags playback{};
};

/// The rights of `loginUser` through its group. Names compare as the Users page compares them
/// (outer blanks and case ignored). A server without accounts lets everyone administer it, so
/// the answer is then the admin group with every channel.
UserAuthority GetUserAuthorityData(const UserList& users, const UserGroupList& groups, std::string_view loginUser);

}  // namespace kv::users
