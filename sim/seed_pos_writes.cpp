// How the POS writes change the stored documents: devices and trigger events as lists of entries
// with an `<ID>`, filter profiles as a list of (ID, Name) plus one document per profile.
#include <algorithm>
#include <sstream>

#include "sim/seed_internal.h"
#include "sim/updates.h"

namespace kv::sim::update {
namespace {

using seed::serialize;
using seed::wrap;

struct ListNames {
    std::string list, entry;
};

// The row's elements: the list's name and its entries' name.
ListNames namesOf(const CommandRow& row) {
    ListNames n;
    std::istringstream in{std::string(row.elements)};
    in >> n.list >> n.entry;
    return n;
}

std::optional<std::string> lookup(const DocumentLookup& current, std::string_view key) {
    return current ? current(std::string(key)) : std::nullopt;
}

int idOf(pugi::xml_node n) { return seed::toInt(n.child_value("ID")); }

// The entries of a list document, each written back as markup, with their ids.
std::vector<std::pair<int, std::string>> entriesOf(const std::optional<std::string>& body, const std::string& list) {
    std::vector<std::pair<int, std::string>> out;
    pugi::xml_document doc;
    if (!body || !seed::parseBody(doc, *body)) return out;
    for (const pugi::xml_node e : seed::bodyRoot(doc).child(list.c_str()).children())
        if (e.type() == pugi::node_element) out.emplace_back(idOf(e), serialize(e));
    return out;
}

std::string listBody(const std::string& list, const std::vector<std::pair<int, std::string>>& entries) {
    std::string out;
    for (const auto& [id, entry] : entries) out += entry;
    return wrap(list, out);
}

// `<entry><ID>id</ID>` and the written elements other than ID, in the order written.
std::string entryOf(const std::string& name, int id, pugi::xml_node fields) {
    std::string out = seed::elem("ID", id);
    for (const pugi::xml_node c : fields.children())
        if (c.type() == pugi::node_element && std::string_view(c.name()) != "ID") out += serialize(c);
    return wrap(name, out);
}

// The key a profile's document is read by (32833 with its ID).
std::string profileKey(int id) { return "32833." + std::to_string(id); }

// The profile's own document: the UserData the client finds it by, then the filter's elements.
std::string profileBody(int id, pugi::xml_node filter) {
    std::string out = seed::elem("UserData", "ID=" + std::to_string(id));
    for (const pugi::xml_node c : filter.children())
        if (c.type() == pugi::node_element) out += serialize(c);
    return out;
}

std::string profileEntry(int id, pugi::xml_node filter) {
    return wrap("FilterProfile", seed::elem("ID", id) + seed::elem("Name", filter.child_value("Name")));
}

}  // namespace

int largestId(const std::optional<std::string>& body, const char* list) {
    int largest = 0;
    for (const auto& [id, entry] : entriesOf(body, list)) largest = std::max(largest, id);
    return largest;
}

Documents addEntry(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    if (!p.child("Name")) return {};
    auto entries = entriesOf(lookup(current, row.key), n.list);
    const int id = largestId(lookup(current, row.key), n.list.c_str()) + 1;
    entries.emplace_back(id, entryOf(n.entry, id, p));
    return {{std::string(row.key), listBody(n.list, entries)}};
}

Documents changeEntry(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    const int id = idOf(p);
    auto entries = entriesOf(lookup(current, row.key), n.list);
    for (auto& [have, entry] : entries) {
        if (have != id || id <= 0) continue;
        entry = entryOf(n.entry, id, p);
        return {{std::string(row.key), listBody(n.list, entries)}};
    }
    return {};
}

Documents removeEntry(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    const int id = idOf(p);
    auto entries = entriesOf(lookup(current, row.key), n.list);
    const auto gone = std::erase_if(entries, [id](const auto& e) { return e.first == id; });
    if (gone == 0 || id <= 0) return {};
    return {{std::string(row.key), listBody(n.list, entries)}};
}

Documents addProfile(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    const pugi::xml_node filter = p.child("TagFilter");
    if (!filter.child("Name")) return {};
    auto entries = entriesOf(lookup(current, row.key), n.list);
    const int id = largestId(lookup(current, row.key), n.list.c_str()) + 1;
    entries.emplace_back(id, profileEntry(id, filter));
    return {{std::string(row.key), listBody(n.list, entries)}, {profileKey(id), profileBody(id, filter)}};
}

Documents changeProfile(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    const pugi::xml_node filter = p.child("TagFilter");
    const int id = idOf(p);
    if (!filter.child("Name") || id <= 0) return {};
    auto entries = entriesOf(lookup(current, row.key), n.list);
    for (auto& [have, entry] : entries) {
        if (have != id) continue;
        entry = profileEntry(id, filter);
        return {{std::string(row.key), listBody(n.list, entries)}, {profileKey(id), profileBody(id, filter)}};
    }
    return {};
}

Documents removeProfile(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    const ListNames n = namesOf(row);
    const int id = idOf(p);
    auto entries = entriesOf(lookup(current, row.key), n.list);
    if (id <= 0 || std::erase_if(entries, [id](const auto& e) { return e.first == id; }) == 0) return {};
    // An empty body takes the profile's document out of the store.
    return {{std::string(row.key), listBody(n.list, entries)}, {profileKey(id), ""}};
}

}  // namespace kv::sim::update
