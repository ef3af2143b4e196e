// Shared pieces of the seed files: text builders for reply bodies, day strings, the demo's channels.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "sim/store.h"

namespace kv::sim::seed {

using Documents = SimStore::Documents;

/// Text escaped as the client escapes command text: "<", "&" and the double quote.
std::string esc(std::string_view text);
/// ` name="value"` with the value escaped.
std::string attr(std::string_view name, std::string_view value);
std::string attr(std::string_view name, int64_t value);
/// `<name>value</name>` with the value escaped.
std::string elem(std::string_view name, std::string_view value);
std::string elem(std::string_view name, int64_t value);
/// `<name>inner</name>` with `inner` taken as markup.
std::string wrap(std::string_view name, std::string_view inner);

/// 96 quarter hours: "1" for the slots from `from` up to but not including `to`, "0" elsewhere.
std::string dayString(int from, int to);

/// Parses a body of several top-level elements under one root element `R`; false when it is no XML.
bool parseBody(pugi::xml_document& doc, std::string_view body);
/// The root element that `parseBody` made.
pugi::xml_node bodyRoot(const pugi::xml_document& doc);
/// An element and its content written back as markup in the same escaping as the builders:
/// attributes in their order, an element without children as `<name a="v" />` or `<name></name>`.
std::string serialize(pugi::xml_node node);
/// The decimal value of a text, 0 when there is none.
int toInt(std::string_view text);

/// One configured channel of the demo, as the other subjects refer to it.
struct DemoChannel {
    int ch = 0;
    std::string name;
    int numberDI = 0;
    int numberDO = 0;
    int motionDetect = 0;  // the camera detects motion itself
    bool ptz = false;
};
/// The configured channels of the demo, in rising channel order.
const std::vector<DemoChannel>& demoChannels();

/// The server information of a fresh or of the demo server.
std::string serverInfoBody(bool demo);

/// One e-map node; groups (type 1) carry the picture the service keeps for them.
struct MapNode {
    int type = 0, id = 0;
    std::string name;
    int parent = 0, top = 0, left = 0, direction = 0;
};
/// The answer to one e-map read: the UserData the client sent, then the node list.
std::string mapReply(const std::vector<MapNode>& nodes);

// One function per subject adds its documents, demo or empty.
void addChannelDocuments(Documents& docs, bool demo);
void addRecordingDocuments(Documents& docs, bool demo);
void addEventDocuments(Documents& docs, bool demo);
void addAnalyticsDocuments(Documents& docs, bool demo);
void addSystemDocuments(Documents& docs, bool demo);
void addPosDocuments(Documents& docs, bool demo);

/// Channel detail and status with all 64 channels configured (the demo's and generated ones).
void replaceWithFullChannels(Documents& docs);
/// Accounts and groups filled up to the limits: seven groups, many users.
void replaceWithFullAccounts(Documents& docs);
/// Replaces the body stored under `key`, or adds it.
void replaceDocument(Documents& docs, const std::string& key, std::string body);

}  // namespace kv::sim::seed
