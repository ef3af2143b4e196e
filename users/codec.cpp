// Parsers of the account and group lists.
#include "users/codec.h"

#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::users {

bool Load_UserList_XML(std::string_view xml, UserList& list) {
    list = EmptyUserList();
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node l = app::FindDeep(app::ResponseOf(doc), "UserList");
        if (!l) return false;
        UserList out;
        for (const pugi::xml_node e : l.children()) {
            if (e.type() != pugi::node_element) continue;
            UserRecord u;
            u.ID = app::ToInt16(e.text().get());
            u.Name = e.attribute("Name").value();
            u.Password = e.attribute("Password").value();
            u.Company = e.attribute("Company").value();
            u.Phone = e.attribute("Phone").value();
            u.PrimaryMail = e.attribute("PrimaryMail").value();
            u.SecondMail = e.attribute("SecondMail").value();
            u.GroupID = app::ToInt32(e.attribute("GroupID").value());
            out.push_back(std::move(u));
        }
        if (!out.empty()) list = std::move(out);
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_UserGroup_XML(std::string_view xml, UserGroupList& list) {
    list = EmptyUserGroupList();
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node l = app::FindDeep(app::ResponseOf(doc), "UserGroupList");
        if (!l) return false;
        UserGroupList out;
        for (const pugi::xml_node e : l.children()) {
            if (e.type() != pugi::node_element) continue;
            UserGroupRecord g;
            g.ID = app::ToInt16(e.text().get());
            g.Name = e.attribute("Name").value();
            g.Type0 = e.attribute("Type0").value();
            g.Type1 = e.attribute("Type1").value();
            g.Type2 = e.attribute("Type2").value();
            out.push_back(std::move(g));
        }
        if (!out.empty()) list = std::move(out);
        return true;
    } catch (...) {
        return false;
    }
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
                         "<UserName>" + base::XMLFilter(userName, true) + "</UserName>");
}

std::string Get_UserGroup_XML() { return app::CommandA(app::cmd::kGetUserGroups, ""); }

}  // namespace kv::users
