// How the write commands of the configuration change the stored documents: the client's set form
// turned into the reply form.
#include <algorithm>
#include <bitset>
#include <charconv>
#include <functional>
#include <sstream>

#include "sim/seed_internal.h"
#include "sim/updates.h"

namespace kv::sim::update {
namespace {

using seed::attr;
using seed::serialize;
using seed::wrap;

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

std::optional<std::string> lookup(const DocumentLookup& current, const std::string& key) {
    return current ? current(key) : std::nullopt;
}

Documents one(std::string_view key, std::string body) { return {{std::string(key), std::move(body)}}; }

// One channel's rectangles or lines, marked with the channel; `dropBlank` leaves out the all-zero
// element the writer sends for "no line".
Documents shapes(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current, bool dropBlank) {
    const int ch = chChild(p);
    if (!validChannel(ch) || !p.child("ROIList")) return {};
    std::vector<std::string> entries;
    for (const pugi::xml_node e : p.child("ROIList").children("ROI")) {
        if (dropBlank && placeholder(e)) continue;
        entries.push_back(entryWithChannel(e, ch));
    }
    const std::string key(row.key);
    return one(key, mergeDocument(lookup(current, key), {{"ROIList", entries}}, chAttribute, ch));
}

}  // namespace

Documents wholeDocument(const CommandRow& row, pugi::xml_node p, const DocumentLookup&) {
    std::vector<std::string> names;
    std::istringstream in{std::string(row.elements)};
    for (std::string n; in >> n;) names.push_back(n);
    if (names.empty() || !p.child(names.front().c_str())) return {};
    std::string out;
    for (const pugi::xml_node c : p.children())
        if (std::find(names.begin(), names.end(), c.name()) != names.end()) out += serialize(c);
    return one(row.key, std::move(out));
}

Documents recSettings(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
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
    const std::string key(row.key);
    return one(key, mergeDocument(lookup(current, key), {{"RecSettingList", {entry}}}, chChild, ch));
}

Documents schedule(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch) || !p.child("EnableList")) return {};
    std::vector<std::string> entries;
    for (const pugi::xml_node e : p.child("EnableList").children("Enable")) {
        entries.push_back("<Enable" + attr("CH", ch) + attr("Day", e.attribute("Day").value()) + ">" +
                          seed::esc(e.text().get()) + "</Enable>");
    }
    const std::string key(row.key);
    return one(key, mergeDocument(lookup(current, key), {{"EnableList", entries}}, chAttribute, ch));
}

Documents recSchedule(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    // A recorder runs a whole week: each day once, one slot for each quarter hour.
    std::bitset<7> days;
    for (const pugi::xml_node e : p.child("EnableList").children("Enable")) {
        const std::string_view day = e.attribute("Day").value(), slots = e.text().get();
        if (day.size() != 1 || day[0] < '0' || day[0] > '6' || days.test(static_cast<size_t>(day[0] - '0'))) return {};
        days.set(static_cast<size_t>(day[0] - '0'));
        if (slots.size() != 96 || slots.find_first_not_of("01") != std::string_view::npos) return {};
    }
    if (!days.all()) return {};
    return schedule(row, p, current);
}

Documents storage(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    // Hours and megabytes, as the recorder counts them in 32 bits.
    for (const char* name : {"RetainTime", "ReservedSpace"}) {
        const std::string_view text = p.child(name).text().get();
        int32_t value = 0;
        const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (text.empty() || text[0] == '-' || ec != std::errc() || end != text.data() + text.size())
            return {};
    }
    // Folders: the recorder joins its file names to them.
    for (const pugi::xml_node f : p.child("FilePathList").children("FilePath"))
        if (!std::string_view(f.text().get()).ends_with('\\')) return {};
    return wholeDocument(row, p, current);
}

Documents analytics(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch)) return {};
    std::vector<std::pair<std::string, std::vector<std::string>>> changes;
    for (const char* kind : {"MotionDetect", "MaliciousAttack", "ObjectLoss", "Tripwire", "ObjectCounting",
                             "UnattendedObject", "FaceCounting"}) {
        if (const pugi::xml_node e = p.child(kind)) changes.push_back({std::string(kind) + "List", {entryWithChannel(e, ch)}});
    }
    const std::string key(row.key);
    return one(key, mergeDocument(lookup(current, key), changes, chAttribute, ch));
}

// Motion and face-counting masks: one `<CH ID="ch">` entry a channel in a CHList.
Documents mask(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const int ch = chChild(p);
    if (!validChannel(ch) || !p.child("ROIList")) return {};
    const std::string entry = "<CH" + attr("ID", ch) + ">" + seed::elem("Width", p.child("Width").text().get()) +
                              seed::elem("Height", p.child("Height").text().get()) + serialize(p.child("ROIList")) +
                              "</CH>";
    const std::string key(row.key);
    return one(key, mergeDocument(lookup(current, key), {{"CHList", {entry}}}, idAttribute, ch));
}

Documents rectangles(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    return shapes(row, p, current, false);
}

Documents lines(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    return shapes(row, p, current, true);
}

Documents serverInfo(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    pugi::xml_document doc;
    const std::string key(row.key);
    const std::optional<std::string> body = lookup(current, key);
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
    return one(key, out);
}

Documents emap(const CommandRow& row, pugi::xml_node p, const DocumentLookup&) {
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
    const std::string key(row.key);
    return {{key + ".1", seed::mapReply(groups)}, {key + ".0", seed::mapReply(cameras)}};
}

}  // namespace kv::sim::update
