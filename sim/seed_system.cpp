// Accounts (32801, 32803), server information (4100), DDNS (32837) and the e-map (4098.1 groups,
// 4098.0 cameras). The service status and the DDNS status are computed, not stored.
#include "sim/seed_internal.h"

namespace kv::sim::seed {
namespace {

std::string channelRange(int from, int to) {
    std::string out;
    for (int ch = from; ch <= to; ++ch) out += (out.empty() ? "" : ",") + std::to_string(ch);
    return out;
}

std::string users() {
    struct User {
        int id;
        const char *name, *password, *company, *phone, *primaryMail, *secondMail;
        int group;
    };
    const User list[] = {
        {1, "admin", "admin", "Kelvarra Demo", "+44 20 7946 0000", "admin@example.com", "", 1},
        {2, "viewer", "viewer", "Kelvarra Demo", "", "viewer@example.com", "", 2},
        {3, "night.op", "N1ght<Op>&\"x\"", "Guard & Co.", "+44 20 7946 0002", "night@example.com",
         "ops@example.net", 3},
    };
    std::string out;
    for (const User& u : list) {
        out += "<User" + attr("Name", u.name) + attr("Password", u.password) + attr("Company", u.company) +
               attr("Phone", u.phone) + attr("PrimaryMail", u.primaryMail) + attr("SecondMail", u.secondMail) +
               attr("GroupID", u.group) + " >" + std::to_string(u.id) + "</User>";
    }
    return wrap("UserList", out);
}

std::string userGroups() {
    struct Group {
        int id;
        const char* name;
        std::string live, ptz, playback;
    };
    const std::string all = channelRange(1, 64);
    const Group list[] = {
        {1, "Admin Group", all, all, all},
        {2, "Viewers", channelRange(1, 12), "3,8", "1,2,4,5"},
        {3, "Operators", channelRange(1, 16), "3,8", channelRange(1, 16)},
    };
    std::string out;
    for (const Group& g : list) {
        out += "<UserGroup" + attr("Name", g.name) + attr("Type0", g.live) + attr("Type1", g.ptz) +
               attr("Type2", g.playback);
        for (int t = 3; t <= 11; ++t) out += attr("Type" + std::to_string(t), 0);
        out += " >" + std::to_string(g.id) + "</UserGroup>";
    }
    return wrap("UserGroupList", out);
}

}  // namespace

std::string serverInfoBody(bool demo) {
    return elem("Name", demo ? "Kelvarra Demo" : "Kelvarra 64") +
           elem("DomainName", demo ? "kelvarra-demo.example.net" : "") +
           elem("IP", demo ? "192.168.10.2" : "127.0.0.1") + elem("Port", 9877) + elem("HTTPPort", 80) +
           elem("TimeZone", demo ? 60 : 0) + elem("DSTEnable", demo ? 1 : 0) + elem("DSTIndex", demo ? 3 : 0) +
           elem("Version", "1.3.1") + elem("PackageVersion", "1.3.1.2207") + elem("Language", 0);
}

namespace {

std::string ddns(bool demo) {
    return elem("Enable", demo ? 1 : 0) + elem("Server", 1) + elem("Period", 60) +
           elem("DomainName", demo ? "kelvarra-demo.example.net" : "") + elem("UserName", demo ? "ddnsuser" : "") +
           elem("Password", demo ? "dd&ns" : "");
}

// The reply form of an e-map node: kind and id as attributes, the rest as children. Only groups
// have a picture, kept by the service under the group's id.
std::string mapNode(const MapNode& n) {
    std::string out = "<Node" + attr("Type", n.type) + attr("ID", n.id) + ">" + elem("Name", n.name) +
                      elem("ParentGroup", n.parent) + elem("PositionTop", n.top) + elem("PositionLeft", n.left) +
                      elem("Direction", n.direction);
    if (n.type == 1) out += elem("PicFile", "Map\\MAP_" + std::to_string(n.id) + ".jpg");
    return out + "</Node>";
}

std::vector<MapNode> mapGroups() {
    return {{1, 0, "Site Plan", 0, 0, 0, 0},
            {1, 1, "Ground Floor", 0, 30, 40, 0},
            {1, 2, "Parking", 0, 75, 70, 0},
            {1, 3, "Shop", 1, 60, 20, 0}};
}

std::vector<MapNode> mapCameras() {
    // Channel -> group, place and viewing direction; the encoder's inputs stay off the map.
    struct Place {
        int ch, group, top, left, direction;
    };
    const Place places[] = {{1, 1, 85, 50, 1},  {2, 1, 60, 45, 1}, {3, 2, 20, 15, 6}, {4, 1, 15, 80, 5},
                            {5, 2, 40, 85, 3},  {6, 1, 85, 20, 2}, {7, 1, 40, 30, 4}, {8, 0, 10, 50, 6},
                            {9, 3, 30, 25, 7},  {10, 3, 30, 60, 5}, {11, 3, 70, 45, 1}, {12, 1, 50, 50, 0}};
    std::vector<MapNode> out;
    for (const Place& p : places) {
        for (const DemoChannel& c : demoChannels())
            if (c.ch == p.ch) out.push_back({0, p.ch, c.name, p.group, p.top, p.left, p.direction});
    }
    return out;
}

}  // namespace

// The client finds the node list as the second child of the reply, behind the UserData it sent.
std::string mapReply(const std::vector<MapNode>& nodes) {
    std::string out;
    for (const MapNode& n : nodes) out += mapNode(n);
    return elem("UserData", "formGetRemoteData") + wrap("NodeList", out);
}

void addSystemDocuments(Documents& docs, bool demo) {
    docs.emplace_back("32801", demo ? users() : wrap("UserList", ""));
    docs.emplace_back("32803", demo ? userGroups() : wrap("UserGroupList", ""));
    docs.emplace_back("4100", serverInfoBody(demo));
    docs.emplace_back("32837", ddns(demo));
    docs.emplace_back("4098.1", mapReply(demo ? mapGroups() : std::vector<MapNode>{}));
    docs.emplace_back("4098.0", mapReply(demo ? mapCameras() : std::vector<MapNode>{}));
}

void replaceWithFullAccounts(Documents& docs) {
    const std::string all = channelRange(1, 64);
    std::string groups;
    for (int id = 1; id <= 7; ++id) {
        const std::string live = id == 1 ? all : channelRange(1, 8 * id + 8);
        const std::string name = id == 1 ? "Admin Group" : "Group " + std::to_string(id);
        groups += "<UserGroup" + attr("Name", name) + attr("Type0", live) + attr("Type1", id == 1 ? all : "1,2,3") +
                  attr("Type2", live);
        for (int t = 3; t <= 11; ++t) groups += attr("Type" + std::to_string(t), 0);
        groups += " >" + std::to_string(id) + "</UserGroup>";
    }
    replaceDocument(docs, "32803", wrap("UserGroupList", groups));
    std::string users;
    for (int id = 1; id <= 100; ++id) {
        const std::string name = id == 1 ? "admin" : "user" + std::to_string(id);
        users += "<User" + attr("Name", name) + attr("Password", id == 1 ? "admin" : "pw" + std::to_string(id)) +
                 attr("Company", "Kelvarra Demo") + attr("Phone", "+44 20 7946 " + std::to_string(1000 + id)) +
                 attr("PrimaryMail", name + "@example.com") + attr("SecondMail", "") +
                 attr("GroupID", id == 1 ? 1 : 1 + id % 7) + " >" + std::to_string(id) + "</User>";
    }
    replaceDocument(docs, "32801", wrap("UserList", users));
}

}  // namespace kv::sim::seed
