// How a write command changes the stored documents: the client's set form turned into the reply form.
#include <algorithm>
#include <functional>

#include "app/commands.h"
#include "sim/seed.h"
#include "sim/seed_channels.h"
#include "sim/seed_internal.h"

namespace kv::sim {
namespace {

using seed::attr;
using seed::serialize;
using seed::wrap;
namespace cmd = app::cmd;

// Writes whose Param holds the whole document in the reply form: the id of the read that
// answers it and the top-level elements that make the document.
struct WholeWrite {
    int write;
    int read;
    std::vector<const char*> elements;  // the first one must be present
};

const std::vector<WholeWrite>& wholeWrites() {
    static const std::vector<WholeWrite> list{
        {cmd::kSetUsers, cmd::kGetUsers, {"UserList"}},
        {cmd::kSetUserGroups, cmd::kGetUserGroups, {"UserGroupList"}},
        {cmd::kSetMailServers, cmd::kGetMailServers, {"MailList"}},
        {cmd::kSetFtpServers, cmd::kGetFtpServers, {"FTPList"}},
        {cmd::kSetHttpServers, cmd::kGetHttpServers, {"HTTPList"}},
        {cmd::kSetTcpServers, cmd::kGetTcpServers, {"TCPList"}},
        {cmd::kSetSoundFiles, cmd::kGetSoundFiles, {"FilePathList"}},
        {cmd::kSetSopList, cmd::kGetSopList, {"SOPList"}},
        {cmd::kSetEventActions, cmd::kGetEventActions, {"ActionList"}},
        {cmd::kSetActionGroups, cmd::kGetActionGroups, {"ActionGroupList"}},
        {cmd::kSetStorage, cmd::kGetStorage, {"FilePathList", "RetainTime", "ReservedSpace"}},
        {cmd::kSetDdns, cmd::kGetDdns, {"Enable", "Server", "Period", "DomainName", "UserName", "Password"}},
    };
    return list;
}

const WholeWrite* wholeWrite(int id) {
    for (const WholeWrite& w : wholeWrites())
        if (w.write == id) return &w;
    return nullptr;
}

// The named elements of the Param body, in the order the body has them; empty without the first.
std::string wholeDocument(const WholeWrite& w, pugi::xml_node param) {
    if (!param.child(w.elements.front())) return {};
    std::string out;
    for (const pugi::xml_node c : param.children()) {
        const bool wanted = std::any_of(w.elements.begin(), w.elements.end(),
                                        [&](const char* n) { return std::string_view(c.name()) == n; });
        if (wanted) out += serialize(c);
    }
    return out;
}

using ChannelOf = std::function<int(pugi::xml_node)>;

int chAttribute(pugi::xml_node n) { return seed::toInt(n.attribute("CH").value()); }
int idAttribute(pugi::xml_node n) { return seed::toInt(n.attribute("ID").value()); }
int chChild(pugi::xml_node n) { return seed::toInt(n.child("CH").text().get()); }

// The list `list` of a document with the entries of channel `ch` replaced by `entries`, placed
// before the first entry of a higher channel so that the list stays in channel order.
std::string mergeList(pugi::xml_node list, const char* name, const ChannelOf& chOf, int ch,
                      const std::vector<std::string>& entries) {
    std::string out;
    bool placed = false;
    auto place = [&] {
        for (const std::string& e : entries) out += e;
        placed = true;
    };
    for (const pugi::xml_node e : list.children()) {
        if (e.type() != pugi::node_element) continue;
        const int c = chOf(e);
        if (c == ch) continue;
        if (!placed && c > ch) place();
        out += serialize(e);
    }
    if (!placed) place();
    return wrap(name, out);
}

// A document of lists with one channel's entries replaced in each list named in `changes`;
// lists the current document lacks are added at its end, other elements stay as they are.
std::string mergeDocument(const std::optional<std::string>& current,
                          const std::vector<std::pair<std::string, std::vector<std::string>>>& changes,
                          const ChannelOf& chOf, int ch) {
    pugi::xml_document doc;
    if (!current || !seed::parseBody(doc, *current)) seed::parseBody(doc, "");
    std::string out;
    std::vector<bool> done(changes.size(), false);
    for (const pugi::xml_node c : seed::bodyRoot(doc).children()) {
        bool merged = false;
        for (size_t i = 0; i < changes.size(); ++i) {
            if (changes[i].first == c.name()) {
                out += mergeList(c, changes[i].first.c_str(), chOf, ch, changes[i].second);
                done[i] = merged = true;
            }
        }
        if (!merged) out += serialize(c);
    }
    for (size_t i = 0; i < changes.size(); ++i)
        if (!done[i]) out += mergeList(pugi::xml_node(), changes[i].first.c_str(), chOf, ch, changes[i].second);
    return out;
}

bool validChannel(int ch) { return ch >= 1 && ch <= 64; }

// `<name CH="ch" ...the element's attributes... />`, with the client's "RightBottomy" read back
// as "RightBottomY".
std::string entryWithChannel(pugi::xml_node e, int ch) {
    std::string out = "<" + std::string(e.name()) + attr("CH", ch);
    for (const pugi::xml_attribute a : e.attributes()) {
        const std::string_view n = a.name();
        out += attr(n == "RightBottomy" ? "RightBottomY" : n, a.value());
    }
    if (!e.first_child()) return out + " />";
    out += ">";
    for (const pugi::xml_node c : e.children()) out += serialize(c);
    return out + "</" + e.name() + ">";
}

// The writer sends an element with all values 0 for "no line".
bool placeholder(pugi::xml_node e) {
    if (e.first_child()) return false;
    for (const pugi::xml_attribute a : e.attributes())
        if (std::string_view(a.value()) != "0") return false;
    return true;
}

using Lookup = DocumentLookup;

std::optional<std::string> lookup(const Lookup& current, int id) {
    return current ? current(std::to_string(id)) : std::nullopt;
}

SimStore::Documents one(int read, std::string body) { return {{std::to_string(read), std::move(body)}}; }

SimStore::Documents recSettings(pugi::xml_node p, const Lookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch)) return {};
    // The reply spells the bit rate "Bitrate"; the write spells it "BitRate".
    std::string entry = "<RecSetting>";
    for (const pugi::xml_node c : p.children()) {
        if (c.type() != pugi::node_element) continue;
        if (std::string_view(c.name()) == "BitRate") {
            entry += seed::elem("Bitrate", c.text().get());
        } else {
            entry += serialize(c);
        }
    }
    entry += "</RecSetting>";
    return one(cmd::kGetRecSettings,
               mergeDocument(lookup(current, cmd::kGetRecSettings), {{"RecSettingList", {entry}}}, chChild, ch));
}

SimStore::Documents schedule(pugi::xml_node p, int read, const Lookup& current) {
    const int ch = seed::toInt(p.child("CH").text().get());
    if (!validChannel(ch) || !p.child("EnableList")) return {};
    std::vector<std::string> entries;
    for (const pugi::xml_node e : p.child("EnableList").children("Enable")) {
        entries.push_back("<Enable" + attr("CH", ch) + attr("Day", e.attribute("Day").value()) + ">" +
                          seed::esc(e.text().get()) + "</Enable>");
    }
    return one(read, mergeDocument(lookup(current, read), {{"EnableList", entries}}, chAttribute, ch));
}

SimStore::Documents analytics(pugi::xml_node p, const Lookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch)) return {};
    std::vector<std::pair<std::string, std::vector<std::string>>> changes;
    for (const char* kind : {"MotionDetect", "MaliciousAttack", "ObjectLoss", "Tripwire", "ObjectCounting",
                             "UnattendedObject", "FaceCounting"}) {
        if (const pugi::xml_node e = p.child(kind)) changes.push_back({std::string(kind) + "List", {entryWithChannel(e, ch)}});
    }
    return one(cmd::kGetAnalytics, mergeDocument(lookup(current, cmd::kGetAnalytics), changes, chAttribute, ch));
}

// Motion and face-counting masks: one `<CH ID="ch">` entry a channel in a CHList.
SimStore::Documents mask(pugi::xml_node p, int read, const Lookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch) || !p.child("ROIList")) return {};
    const std::string entry = "<CH" + attr("ID", ch) + ">" + seed::elem("Width", p.child("Width").text().get()) +
                              seed::elem("Height", p.child("Height").text().get()) + serialize(p.child("ROIList")) +
                              "</CH>";
    return one(read, mergeDocument(lookup(current, read), {{"CHList", {entry}}}, idAttribute, ch));
}

// Rectangles, lines, the polygon and counting lines: ROI entries marked with their channel.
SimStore::Documents shapes(pugi::xml_node p, int read, const Lookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch) || !p.child("ROIList")) return {};
    std::vector<std::string> entries;
    for (const pugi::xml_node e : p.child("ROIList").children("ROI")) {
        if (read != cmd::kGetObjectLossRoi && placeholder(e)) continue;
        entries.push_back(entryWithChannel(e, ch));
    }
    return one(read, mergeDocument(lookup(current, read), {{"ROIList", entries}}, chAttribute, ch));
}

SimStore::Documents serverInfo(pugi::xml_node p, const Lookup& current) {
    pugi::xml_document doc;
    const std::optional<std::string> body = lookup(current, cmd::kGetServiceInfo);
    if (!body || !seed::parseBody(doc, *body)) seed::parseBody(doc, seed::serverInfoBody(false));
    pugi::xml_node info = seed::bodyRoot(doc);
    // The client sends DomainName and SerialNumber always empty: they are the service's to keep.
    for (const char* name : {"IP", "Name", "Port", "DSTIndex", "DSTEnable", "HTTPPort", "Language"}) {
        const pugi::xml_node from = p.child(name);
        if (!from) continue;
        pugi::xml_node to = info.child(name);
        if (!to) to = info.append_child(name);
        to.text().set(from.text().get());
    }
    std::string out;
    for (const pugi::xml_node c : info.children()) out += serialize(c);
    return one(cmd::kGetServiceInfo, out);
}

SimStore::Documents emap(pugi::xml_node p) {
    const pugi::xml_node list = p.child("NodeList");
    if (!list) return {};
    std::vector<seed::MapNode> groups, cameras;
    for (const pugi::xml_node n : list.children("Node")) {
        seed::MapNode m;
        m.type = seed::toInt(n.attribute("Type").value());
        m.id = seed::toInt(n.attribute("ID").value());
        m.name = n.attribute("Name").value();
        m.parent = seed::toInt(n.attribute("ParentGroup").value());
        m.top = seed::toInt(n.attribute("PositionTop").value());
        m.left = seed::toInt(n.attribute("PositionLeft").value());
        m.direction = seed::toInt(n.attribute("Direction").value());
        // The client's list may still hold its sentinel with a negative id.
        if (m.id < 0) continue;
        if (m.type == 1) groups.push_back(m);
        if (m.type == 0) cameras.push_back(m);
    }
    return {{"4098.1", seed::mapReply(groups)}, {"4098.0", seed::mapReply(cameras)}};
}

}  // namespace

bool isDocumentWrite(int id) {
    switch (id) {
        case cmd::kSaveServiceInfo:
        case cmd::kSetRecSettings:
        case cmd::kSetRecSchedule:
        case cmd::kSetEventSchedule:
        case cmd::kSetAnalytics:
        case cmd::kSetMotionRoi:
        case cmd::kSetFaceCountingRoi:
        case cmd::kSetObjectLossRoi:
        case cmd::kSetTripwireRoi:
        case cmd::kSetObjectCountingRoi:
        case cmd::kSetEMap: return true;
        default: return wholeWrite(id) != nullptr || seed::isChannelWrite(id);
    }
}

SimStore::Documents documentsFromWrite(int id, std::string_view paramBody, const DocumentLookup& current) {
    if (!isDocumentWrite(id)) return {};
    std::string body(paramBody);
    if (id == cmd::kSetEventSchedule) {
        // The client closes each day with "< /Enable>", which is no XML.
        for (size_t pos; (pos = body.find("< /Enable>")) != std::string::npos;) body.replace(pos, 10, "</Enable>");
    }
    pugi::xml_document doc;
    if (!seed::parseBody(doc, body)) return {};
    const pugi::xml_node p = seed::bodyRoot(doc);
    if (const WholeWrite* w = wholeWrite(id)) {
        std::string out = wholeDocument(*w, p);
        if (out.empty()) return {};
        return one(w->read, std::move(out));
    }
    switch (id) {
        case cmd::kSaveServiceInfo: return serverInfo(p, current);
        case cmd::kSetRecSettings: return recSettings(p, current);
        case cmd::kSetRecSchedule: return schedule(p, cmd::kGetRecSchedule, current);
        case cmd::kSetEventSchedule: return schedule(p, cmd::kGetEventSchedule, current);
        case cmd::kSetAnalytics: return analytics(p, current);
        case cmd::kSetMotionRoi: return mask(p, cmd::kGetMotionRoi, current);
        case cmd::kSetFaceCountingRoi: return mask(p, cmd::kGetFaceCountingRoi, current);
        case cmd::kSetObjectLossRoi: return shapes(p, cmd::kGetObjectLossRoi, current);
        case cmd::kSetTripwireRoi: return shapes(p, cmd::kGetTripwireRoi, current);
        case cmd::kSetObjectCountingRoi: return shapes(p, cmd::kGetObjectCountingRoi, current);
        case cmd::kSetEMap: return emap(p);
        default: return seed::channelDocumentsFromWrite(id, p, current);
    }
}

std::optional<std::pair<std::string, std::string>> documentFromWrite(int id, std::string_view paramBody) {
    if (!wholeWrite(id)) return std::nullopt;
    SimStore::Documents docs = documentsFromWrite(id, paramBody, nullptr);
    if (docs.size() != 1) return std::nullopt;
    return std::move(docs.front());
}

}  // namespace kv::sim
