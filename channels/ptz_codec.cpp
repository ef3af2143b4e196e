// PTZ, preset and fisheye commands, concatenated byte for byte, and their readers.
#include "channels/ptz_codec.h"

#include "app/wire.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"
#include "channels/xml_walk.h"

namespace kv::channels {
namespace {

std::string el(std::string_view name, std::string_view text) { return app::wire::Text(name, text); }
std::string el(std::string_view name, int64_t value) { return app::wire::Num(name, value); }
std::string attr(std::string_view name, std::string_view value) { return app::wire::Attr(name, value); }

// The preset commands open with a blank before ">" and carry the caller's UserData.
std::string withUserData(int32_t id, std::string_view userData, std::string_view body) {
    std::string s = "<CMD ID=\"" + std::to_string(id) + "\" ><UserData>";
    s += userData;
    s += "</UserData><Param>";
    s += body;
    s += "</Param></CMD>";
    return s;
}

int32_t retOf(pugi::xml_node response) {
    for (const pugi::xml_attribute a : response.attributes())
        if (app::BaseName(a.name()) == "RET") return app::ToInt32(a.value());
    return -1;
}

// RESPONSE's own text (not that of its children).
std::string ownText(pugi::xml_node n) {
    std::string out;
    for (pugi::xml_node c = n.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) out += c.value();
    return base::Trim(out);
}

bool readPresets(std::string_view text, PresetList& list) {
    list = EmptyPresetList();
    if (base::Trim(text) == "ERROR") return false;
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, text)) return false;
        const pugi::xml_node response = app::ResponseOf(doc);
        if (!response || retOf(response) < 0 || ownText(response) == "ERROR") return false;
        const pugi::xml_node presets = app::FindDeep(response, "PresetList");
        if (ownText(presets) == "ERROR") return false;
        PresetList read;
        xml::forEachElement(presets, [&](pugi::xml_node p) {
            if (!xml::named(p, "Preset")) return;
            PresetRecord r;
            r.ID = app::ToInt16(xml::textOf(p));
            r.Name = p.attribute("Name").value();
            r.PTZABS = app::ToInt32(p.attribute("PTZABS").value()) != 0;
            r.Pan = p.attribute("Pan").value();
            r.Tilt = p.attribute("Tilt").value();
            r.Zoom = p.attribute("Zoom").value();
            r.Focus = p.attribute("Focus").value();
            read.push_back(std::move(r));
        });
        if (!read.empty()) list = std::move(read);
        return true;
    } catch (...) {
        list = EmptyPresetList();
        return false;
    }
}

}  // namespace

std::string Get_PTZ_XML(int32_t id, int32_t ch, int32_t target, int32_t direction, int32_t speed) {
    return app::CommandB(id, el("CH", ch) + el("Target", target) + el("Direction", direction) + el("Speed", speed));
}

std::string Get_GotoPreset_XML(std::string_view userData, int32_t ch, int32_t preset, int32_t speed) {
    return withUserData(app::cmd::kGotoPreset, userData, el("CH", ch) + el("Preset", preset) + el("Speed", speed));
}

std::string Get_PTZABS_Pos_XML(std::string_view userData, int32_t ch) {
    return app::CommandD(app::cmd::kGetPtzPosition, userData, ch);
}

std::string Get_StorePreset_XML(std::string_view userData, int32_t ch, int32_t id, std::string_view name) {
    return withUserData(app::cmd::kStorePreset, userData, el("CH", ch) + el("ID", id) + el("Name", name));
}

std::string Get_SeletePresetPoint_XML(std::string_view userData, int32_t ch, int32_t id, std::string_view name) {
    return withUserData(app::cmd::kSelectPresetPoint, userData, el("CH", ch) + el("ID", id) + el("Name", name));
}

std::string Get_Preset_XML(std::string_view userData, int32_t ch) {
    return app::CommandD(app::cmd::kGetPresets, userData, ch);
}

std::string Get_PresetABS_XML(std::string_view userData, int32_t ch) {
    return app::CommandD(app::cmd::kGetPresetPositions, userData, ch);
}

std::string Get_FisheyeMode_XML(int32_t ch) { return app::CommandB(app::cmd::kGetFisheyeMode, el("CH", ch)); }

std::string Set_FisheyeMode_XML(int32_t ch, std::string_view mode) {
    return app::CommandB(app::cmd::kSetFisheyeMode, el("CH", ch) + el("Mode4FishEye", mode));
}

std::string Set_PresetList_XML(int32_t ch, const PresetList& list) {
    std::string b = el("CH", ch) + "<PresetList>";
    // Every entry goes out, the blank one of an empty list too (ID -1), as the other lists do.
    for (const PresetRecord& p : list) {
        b += "<Preset" + attr("Name", p.Name) + attr("PTZABS", p.PTZABS ? "1" : "0") + attr("Pan", p.Pan) +
             attr("Tilt", p.Tilt) + attr("Zoom", p.Zoom) + attr("Focus", p.Focus) + ">" + std::to_string(p.ID) +
             "</Preset>";
    }
    b += "</PresetList>";
    return app::CommandA(app::cmd::kSetPresets, b);
}

bool Load_Preset_XML(std::string_view text, PresetList& list) { return readPresets(text, list); }

bool Load_PresetABS_XML(std::string_view text, PresetList& list) { return readPresets(text, list); }

bool Load_PTZABS_Pos_XML(std::string_view text, PresetRecord& preset) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, text)) return false;
        const pugi::xml_node response = app::ResponseOf(doc);
        if (!response || retOf(response) < 0) return false;
        for (auto [name, field] : {std::pair{"Pan", &preset.Pan}, std::pair{"Tilt", &preset.Tilt},
                                   std::pair{"Zoom", &preset.Zoom}, std::pair{"Focus", &preset.Focus}}) {
            if (const pugi::xml_node n = app::FindDeep(response, name)) *field = xml::textOf(n);
        }
        return true;
    } catch (...) {
        return false;
    }
}

std::string GetFisheyeMode4XML(std::string_view text) {
    pugi::xml_document doc;
    if (!app::LoadReply(doc, text)) return {};
    return xml::textOf(app::FindDeep(app::ResponseOf(doc), "Mode4FishEye"));
}

}  // namespace kv::channels
