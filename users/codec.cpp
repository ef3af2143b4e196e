// Parsers and builders of the account and group lists.
#include "users/codec.h"

#include <charconv>
#include <optional>
#include <set>

#include "app/wire.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::users {
namespace {

// A whole number with optional blanks around it, within the range of the field; nothing else.
template <typename T>
std::optional<T> wholeNumber(std::string_view text) {
    const std::string t = base::Trim(text);
    T v{};
    const char* end = t.data() + t.size();
    const auto [p, ec] = std::from_chars(t.data(), end, v);
    if (t.empty() || ec != std::errc() || p != end) return std::nullopt;
    return v;
}

// The id of a list element: its text, a number from 1 that the list has not had yet.
std::optional<int16_t> elementId(pugi::xml_node e, std::set<int16_t>& seen) {
    const auto id = wholeNumber<int16_t>(e.text().get());
    if (!id || *id < 1 || !seen.insert(*id).second) return std::nullopt;
    return id;
}

pugi::xml_node listOf(const pugi::xml_document& doc, const char* name) {
    return app::FindDeep(app::ResponseOf(doc), name);
}

std::string attr(const char* name, std::string_view value) { return app::wire::Attr(name, value); }

}  // namespace

bool Load_UserList_XML(const pugi::xml_document& doc, UserList& list) {
    list = EmptyUserList();
    try {
        const pugi::xml_node l = listOf(doc, "UserList");
        if (!l) return false;
        UserList out;
        std::set<int16_t> seen;
        bool whole = true;
        for (const pugi::xml_node e : l.children()) {
            if (e.type() != pugi::node_element) continue;
            const auto id = elementId(e, seen);
            const auto group = wholeNumber<int32_t>(e.attribute("GroupID").value());
            // A fault ends the list: what was read before it stands.
            if (!id || !group) {
                whole = false;
                break;
            }
            UserRecord u;
            u.ID = *id;
            u.Name = e.attribute("Name").value();
            u.Password = e.attribute("Password").value();
            u.Company = e.attribute("Company").value();
            u.Phone = e.attribute("Phone").value();
            u.PrimaryMail = e.attribute("PrimaryMail").value();
            u.SecondMail = e.attribute("SecondMail").value();
            u.GroupID = *group;
            out.push_back(std::move(u));
        }
        if (!out.empty()) list = std::move(out);
        return whole;
    } catch (...) {
        return false;
    }
}

bool Load_UserList_XML(std::string_view xml, UserList& list) { return Load_UserList_XML(app::ParseReply(xml), list); }

bool Load_UserGroup_XML(const pugi::xml_document& doc, UserGroupList& list) {
    list = EmptyUserGroupList();
    try {
        const pugi::xml_node l = listOf(doc, "UserGroupList");
        if (!l) return false;
        UserGroupList out;
        std::set<int16_t> seen;
        bool whole = true;
        for (const pugi::xml_node e : l.children()) {
            if (e.type() != pugi::node_element) continue;
            const auto id = elementId(e, seen);
            if (!id) {
                whole = false;
                break;
            }
            UserGroupRecord g;
            g.ID = *id;
            g.Name = e.attribute("Name").value();
            // Lists are kept as the service sent them, even naming channels the server lacks;
            // the page rebuilds them from its flags when the group is saved.
            g.Type0 = e.attribute("Type0").value();
            g.Type1 = e.attribute("Type1").value();
            g.Type2 = e.attribute("Type2").value();
            out.push_back(std::move(g));
        }
        if (!out.empty()) list = std::move(out);
        return whole;
    } catch (...) {
        return false;
    }
}

bool Load_UserGroup_XML(std::string_view xml, UserGroupList& list) {
    return Load_UserGroup_XML(app::ParseReply(xml), list);
}

int32_t XML_GetUserGroupID(std::string_view xml) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return -1;
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r) return -1;
        const pugi::xml_node g = app::FindDeep(r, "GroupID");
        if (!g) return -1;
        return app::ToInt32(g.text().get());
    } catch (...) {
        return -1;
    }
}

std::string Get_UserGroupOfUser_XML(std::string_view userName) {
    return app::CommandB(app::cmd::kGetUserGroupOfUser,
                         app::wire::Text("UserName", userName));
}

std::string Get_UserGroup_XML() { return app::CommandA(app::cmd::kGetUserGroups, ""); }

std::string Set_User_XML(const UserList& list) {
    std::string body = "<UserList>";
    for (const UserRecord& u : list) {
        body += "<User" + attr("Name", u.Name) + attr("Password", u.Password) + attr("Company", u.Company) +
                attr("Phone", u.Phone) + attr("PrimaryMail", u.PrimaryMail) + attr("SecondMail", u.SecondMail) +
                attr("GroupID", std::to_string(u.GroupID)) + " >" + std::to_string(u.ID) + "</User>";
    }
    body += "</UserList>";
    return app::CommandA(app::cmd::kSetUsers, body);
}

std::string Set_UserGroup_XML(const UserGroupList& list) {
    std::string body = "<UserGroupList>";
    for (const UserGroupRecord& g : list) {
        body += "<UserGroup" + attr("Name", g.Name) + attr("Type0", g.Type0) + attr("Type1", g.Type1) +
                attr("Type2", g.Type2);
        for (int t = 3; t <= 11; ++t) body += " Type" + std::to_string(t) + "=\"0\"";
        body += " >" + std::to_string(g.ID) + "</UserGroup>";
    }
    body += "</UserGroupList>";
    return app::CommandA(app::cmd::kSetUserGroups, body);
}

}  // namespace kv::users
