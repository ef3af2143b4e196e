// How the channel writes change the stored documents: a channel committed or removed, presets,
// moves and go-to-preset, and the fisheye mode.
#include <algorithm>
#include <cstdlib>
#include <map>

#include "app/commands.h"
#include "base/text.h"
#include "sim/seed_channels.h"
#include "sim/seed_internal.h"
#include "sim/updates.h"

namespace kv::sim::update {
namespace {

using namespace seed;
namespace cmd = app::cmd;

constexpr const char* kDetailKey = "24582";
constexpr const char* kStatusKey = "24578";

std::optional<std::string> lookup(const DocumentLookup& current, const std::string& key) {
    return current ? current(key) : std::nullopt;
}

int number(pugi::xml_node parent, const char* name) { return toInt(parent.child_value(name)); }

bool validChannel(int ch) { return ch >= 1 && ch <= 64; }

// The channel entries of the detail or the status document, in channel order.
using Entries = std::map<int, std::string>;

Entries entriesOf(const std::optional<std::string>& body, bool status) {
    Entries out;
    pugi::xml_document doc;
    if (!body || !parseBody(doc, *body)) return out;
    pugi::xml_node list = bodyRoot(doc);
    if (status) list = list.child("ChannelStatus");
    for (const pugi::xml_node c : list.child("CHList").children())
        if (c.type() == pugi::node_element) out[toInt(c.attribute("ID").value())] = serialize(c);
    return out;
}

std::string joined(const Entries& entries) {
    std::string out;
    for (const auto& [ch, entry] : entries) out += entry;
    return out;
}

std::string detailBody(const Entries& e) { return wrap("CHList", joined(e)); }
std::string statusBody(const Entries& e) { return wrap("ChannelStatus", wrap("CHList", joined(e))); }

std::string statusEntry(int ch, bool connected) {
    const int on = connected ? 1 : 0;
    return "<CH" + attr("ID", ch) + ">" + elem("Connected", on) + elem("InRecord", on) + elem("RecordMode", 1) +
           elem("Bitrate", 1024) + elem("FPS", connected ? 15 : 0) + "</CH>";
}

void setChild(pugi::xml_node parent, const char* name, const char* value) {
    pugi::xml_node n = parent.child(name);
    if (!n) n = parent.append_child(name);
    n.text().set(value);
}

// The written elements laid over an entry; elements the entry lacks are added at the end of
// their parent.
std::string overlay(const std::string& entry, pugi::xml_node p) {
    pugi::xml_document doc;
    if (!parseBody(doc, entry)) return entry;
    pugi::xml_node ch = bodyRoot(doc).first_child();
    for (const char* name : {"IP", "Name", "HTTPPort", "StartConfig"})
        if (p.child(name)) setChild(ch, name, p.child_value(name));
    pugi::xml_node system = ch.child("System") ? ch.child("System") : ch.append_child("System");
    for (const char* name : {"UserName", "Password", "VideoNumber", "BrandCode", "Model", "MACAddress", "RtspPort"})
        if (p.child(name)) setChild(system, name, p.child_value(name));
    pugi::xml_node video = ch.child("Video") ? ch.child("Video") : ch.append_child("Video");
    const pugi::xml_node written = p.child("Video");
    for (const char* name : {"FMT", "Size", "FPS", "Quality", "RateControl", "Bitrate", "GOP"})
        if (written.child(name)) setChild(video, name, written.child_value(name));
    // Lens and display modes belong to cameras that have them; an empty one changes nothing.
    for (const char* name : {"LensMode", "LeftDisplayMode", "RightDisplayMode"})
        if (*written.child_value(name)) setChild(video, name, written.child_value(name));
    if (p.child("Audio").child("FMT")) {
        pugi::xml_node audio = ch.child("Audio") ? ch.child("Audio") : ch.append_child("Audio");
        setChild(audio, "FMT", p.child("Audio").child_value("FMT"));
    }
    return serialize(ch);
}

SimStore::Documents commitIn(pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    if (!validChannel(ch)) return {};
    Entries detail = entriesOf(lookup(current, kDetailKey), false);
    Entries status = entriesOf(lookup(current, kStatusKey), true);
    if (!p.child("IP")) {
        detail.erase(ch);
        status.erase(ch);
        // The slot alone: the client cleans up and saves its other lists itself, and presets
        // belong to the camera.
        return {{kDetailKey, detailBody(detail)}, {kStatusKey, statusBody(status)}};
    }
    const std::string ip = base::Trim(p.child_value("IP"));
    const int port = number(p, "HTTPPort");
    const int video = number(p, "VideoNumber");
    if (ip.empty()) return {};
    // One camera (address, port and video source) is never two channels.
    const auto sameCamera = [&](const std::string& entry) {
        pugi::xml_document doc;
        if (!parseBody(doc, entry)) return false;
        const pugi::xml_node c = bodyRoot(doc).first_child();
        return c.child_value("IP") == ip && number(c, "HTTPPort") == port &&
               number(c.child("System"), "VideoNumber") == video;
    };
    for (const auto& [other, entry] : detail)
        if (other != ch && sameCamera(entry)) return {};
    // The service logs in to the camera with the written account: one that refuses it, or a device
    // the service cannot drive, never becomes a channel. A camera that does not answer may (it is
    // off line for now).
    const int camera =
        detectCamera(ip, port, p.child_value("UserName"), p.child_value("Password"), video).ret;
    if (camera == -6 || camera == -3) return {};
    // The capability lists come from the camera the channel had, from the camera at the new
    // address, or from the channel's former camera when the service knows none there.
    std::optional<std::string> base;
    const bool sameAsBefore = detail.count(ch) && sameCamera(detail[ch]);
    if (sameAsBefore) base = detail[ch];
    if (!base) base = cameraEntry(ch, p.child_value("Name"), ip, port, video, p.child_value("UserName"),
                                  p.child_value("Password"));
    if (!base && detail.count(ch)) base = detail[ch];
    if (!base) base = "<CH" + attr("ID", ch) + "><IP></IP></CH>";
    detail[ch] = overlay(*base, p);
    // A new camera is on line when it answered.
    if (!status.count(ch) || !sameAsBefore) status[ch] = statusEntry(ch, camera == 0);
    return {{kDetailKey, detailBody(detail)}, {kStatusKey, statusBody(status)}};
}

struct Position {
    int pan = 0, tilt = 0, zoom = 1, focus = 50, iris = 50;
};

Position positionOf(const std::optional<std::string>& body) {
    Position pos;
    pugi::xml_document doc;
    if (!body || !parseBody(doc, *body)) return pos;
    const pugi::xml_node r = bodyRoot(doc);
    pos.pan = number(r, "Pan");
    pos.tilt = number(r, "Tilt");
    pos.zoom = number(r, "Zoom");
    pos.focus = number(r, "Focus");
    pos.iris = number(r, "Iris");
    return pos;
}

std::string positionBody(const Position& p) {
    return elem("Pan", p.pan) + elem("Tilt", p.tilt) + elem("Zoom", p.zoom) + elem("Focus", p.focus) +
           elem("Iris", p.iris);
}

// A move by `Speed` steps in the direction of the button: pan turns round, tilt stops at the
// horizon's limits, zoom, focus and iris stay in their ranges. Direction 0 stops.
SimStore::Documents moveIn(int id, pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    if (!validChannel(ch) || !ptzChannel(lookup(current, kDetailKey), ch)) return {};
    Position pos = positionOf(lookup(current, positionKey(ch)));
    const int step = std::max(1, number(p, "Speed"));
    const int direction = number(p, "Direction");
    if (id == cmd::kPtzPanTilt) {
        static const std::map<int, std::pair<int, int>> kPad = {{1, {-1, 0}}, {2, {1, 0}},  {3, {0, 1}},
                                                                {4, {0, -1}}, {5, {-1, 1}}, {6, {1, 1}},
                                                                {7, {-1, -1}}, {8, {1, -1}}};
        if (auto it = kPad.find(direction); it != kPad.end()) {
            pos.pan = ((pos.pan + it->second.first * step) % 360 + 360) % 360;
            pos.tilt = std::clamp(pos.tilt + it->second.second * step, -90, 90);
        }
    } else {
        const int delta = direction == 1 ? step : direction == 2 ? -step : 0;
        if (id == cmd::kPtzZoom) pos.zoom = std::clamp(pos.zoom + delta, 1, 100);
        if (id == cmd::kPtzFocus) pos.focus = std::clamp(pos.focus + delta, 0, 100);
        if (id == cmd::kPtzIris) pos.iris = std::clamp(pos.iris + delta, 0, 100);
    }
    return {{positionKey(ch), positionBody(pos)}};
}

SimStore::Documents gotoPresetIn(pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    if (!validChannel(ch) || !ptzChannel(lookup(current, kDetailKey), ch)) return {};
    pugi::xml_document doc;
    const std::optional<std::string> presets = lookup(current, presetKey(ch));
    if (!presets || !parseBody(doc, *presets)) return {};
    for (const pugi::xml_node preset : bodyRoot(doc).child("PresetList").children("Preset")) {
        if (toInt(preset.child_value()) != number(p, "Preset")) continue;
        Position pos = positionOf(lookup(current, positionKey(ch)));
        // A preset stored without a position leaves the camera where it is.
        if (*preset.attribute("Pan").value()) {
            pos.pan = toInt(preset.attribute("Pan").value());
            pos.tilt = toInt(preset.attribute("Tilt").value());
            pos.zoom = toInt(preset.attribute("Zoom").value());
            pos.focus = toInt(preset.attribute("Focus").value());
        }
        return {{positionKey(ch), positionBody(pos)}};
    }
    return {};
}

// The camera keeps its present position under the preset's id and name.
SimStore::Documents storePresetIn(pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    const int id = number(p, "ID");
    if (!validChannel(ch) || id < 0 || !ptzChannel(lookup(current, kDetailKey), ch)) return {};
    const Position pos = positionOf(lookup(current, positionKey(ch)));
    const std::string stored = "<Preset" + attr("Name", p.child_value("Name")) + attr("PTZABS", 0) +
                               attr("Pan", pos.pan) + attr("Tilt", pos.tilt) + attr("Zoom", pos.zoom) +
                               attr("Focus", pos.focus) + ">" + std::to_string(id) + "</Preset>";
    std::string list;
    bool placed = false;
    pugi::xml_document doc;
    if (auto body = lookup(current, presetKey(ch)); body && parseBody(doc, *body)) {
        for (const pugi::xml_node preset : bodyRoot(doc).child("PresetList").children("Preset")) {
            if (toInt(preset.child_value()) == id) {
                list += stored;
                placed = true;
            } else {
                list += serialize(preset);
            }
        }
    }
    if (!placed) list += stored;
    return {{presetKey(ch), wrap("PresetList", list)}};
}

SimStore::Documents presetListIn(pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    if (!validChannel(ch) || !p.child("PresetList") || !channelEntry(lookup(current, kDetailKey), ch)) return {};
    // The blank entry of an empty list (ID -1) stands for no preset: the camera keeps none.
    pugi::xml_document kept;
    pugi::xml_node list = kept.append_copy(p.child("PresetList"));
    for (pugi::xml_node e = list.first_child(); e;) {
        const pugi::xml_node next = e.next_sibling();
        if (std::atoi(e.child_value()) < 0) list.remove_child(e);
        e = next;
    }
    return {{presetKey(ch), serialize(list)}};
}

SimStore::Documents fisheyeModeIn(pugi::xml_node p, const DocumentLookup& current) {
    const int ch = number(p, "CH");
    Entries detail = entriesOf(lookup(current, kDetailKey), false);
    if (!validChannel(ch) || !detail.count(ch) || !*p.child_value("Mode4FishEye")) return {};
    pugi::xml_document doc;
    if (!parseBody(doc, detail[ch])) return {};
    pugi::xml_node entry = bodyRoot(doc).first_child();
    pugi::xml_node ptz = entry.child("PTZ") ? entry.child("PTZ") : entry.append_child("PTZ");
    setChild(ptz, "Mode4FishEye", p.child_value("Mode4FishEye"));
    detail[ch] = serialize(entry);
    return {{kDetailKey, detailBody(detail)}};
}

}  // namespace

Documents commitChannel(const CommandRow&, pugi::xml_node p, const DocumentLookup& current) {
    return commitIn(p, current);
}
Documents presetList(const CommandRow&, pugi::xml_node p, const DocumentLookup& current) {
    return presetListIn(p, current);
}
Documents storePreset(const CommandRow&, pugi::xml_node p, const DocumentLookup& current) {
    return storePresetIn(p, current);
}
Documents move(const CommandRow& row, pugi::xml_node p, const DocumentLookup& current) {
    return moveIn(row.id, p, current);
}
Documents gotoPreset(const CommandRow&, pugi::xml_node p, const DocumentLookup& current) {
    return gotoPresetIn(p, current);
}
Documents fisheyeMode(const CommandRow&, pugi::xml_node p, const DocumentLookup& current) {
    return fisheyeModeIn(p, current);
}

}  // namespace kv::sim::update
