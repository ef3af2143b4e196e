// JSON sections of the configuration tables.
#include "cli/dump.h"

#include "cli/channels.h"

namespace kv::cli {
namespace {

using Json = nlohmann::ordered_json;

Json userJson(const users::UserRecord& u) {
    return Json{{"ID", u.ID},         {"Name", u.Name},
                {"Password", u.Password}, {"Company", u.Company},
                {"Phone", u.Phone},   {"PrimaryMail", u.PrimaryMail},
                {"SecondMail", u.SecondMail}, {"GroupID", u.GroupID}};
}

Json groupJson(const users::UserGroupRecord& g) {
    return Json{{"ID", g.ID}, {"Name", g.Name}, {"Type0", g.Type0}, {"Type1", g.Type1}, {"Type2", g.Type2}};
}

}  // namespace

Json DumpConfig(const app::Config& c) {
    Json doc;
    const admin::ServerInfo& s = c.serverInfo;
    doc["ServerInfo"] = Json{{"Name", s.Name},         {"DomainName", s.DomainName},
                             {"IP", s.IP},             {"Port", s.Port},
                             {"HTTPPort", s.HTTPPort}, {"TimeZone", s.TimeZone},
                             {"DSTEnable", s.DSTEnable}, {"DSTIndex", s.DSTIndex},
                             {"Version", s.Version},   {"PackageVersion", s.PackageVersion},
                             {"Language", s.Language}};
    const admin::DDNSSetting& d = c.ddns;
    doc["DDNSSetting"] = Json{{"Enable", d.Enable},         {"Server", d.Server},     {"Period", d.Period},
                              {"DomainName", d.DomainName}, {"UserName", d.UserName}, {"Password", d.Password}};
    // Lists: the sentinel of an empty list is not a record.
    Json usersJson = Json::array();
    for (const auto& u : c.strUser)
        if (u.ID >= 0) usersJson.push_back(userJson(u));
    doc["strUser"] = usersJson;
    Json groupsJson = Json::array();
    for (const auto& g : c.strUserGroup)
        if (g.ID >= 0) groupsJson.push_back(groupJson(g));
    doc["strUserGroup"] = groupsJson;
    DumpChannels(c, doc);
    return doc;
}

}  // namespace kv::cli
