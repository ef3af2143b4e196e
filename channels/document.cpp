// The channel sections of kelvarra-ctl's documents. A changed channel goes through the channel
// page as a person would change it (a detection when the camera changed, the video combos, the
// rules on save) and out as one 24581 and one 40963; a slot whose address became empty is
// removed, and the other subjects let go of it; preset lists follow the rules of the preset panel.
#include "channels/document.h"

#include <algorithm>
#include <optional>
#include <set>

#include "app/clock.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "app/removal.h"
#include "base/lang.h"
#include "base/text.h"
#include "channels/channel_page.h"
#include "channels/codec.h"
#include "channels/ptz_codec.h"
#include "channels/ptz_panel.h"
#include "channels/save.h"

namespace kv::channels {
namespace {

using app::DocumentError;
using app::Json;
using app::PendingSave;
using app::Stage;


Json channelJson(const ChannelRecord& r) {
    // Every field in the record's order, but the status, which has its own section.
    return Json{{"BrandCode", r.BrandCode},
                {"CH", r.CH},
                {"CapAudioOut", r.CapAudioOut},
                {"HTTPPort", r.HTTPPort},
                {"RtspPort", r.RtspPort},
                {"EditTime", r.EditTime},
                {"AudioFMT", r.AudioFMT},
                {"Manufacturer", r.Manufacturer},
                {"IP", r.IP},
                {"MACAddress", r.MACAddress},
                {"Name", r.Name},
                {"Password", r.Password},
                {"Model", r.Model},
                {"UserName", r.UserName},
                {"LensModeList", r.LensModeList},
                {"LensMode", r.LensMode},
                {"LeftDisplayModeList", r.LeftDisplayModeList},
                {"LeftDisplayMode", r.LeftDisplayMode},
                {"RightDisplayModeList", r.RightDisplayModeList},
                {"RightDisplayMode", r.RightDisplayMode},
                {"NumberVideo", r.NumberVideo},
                {"VideoNumber", r.VideoNumber},
                {"FPS", r.FPS},
                {"Quality", r.Quality},
                {"RateControl", r.RateControl},
                {"Bitrate", r.Bitrate},
                {"GOP", r.GOP},
                {"FMT", r.FMT},
                {"FMTList", r.FMTList},
                {"FMTItem", r.FMTItem},
                {"SupportFMT", r.SupportFMT},
                {"Size", r.Size},
                {"CurFMT", r.CurFMT},
                {"CurSize", r.CurSize},
                {"CurFPS", r.CurFPS},
                {"CurQuality", r.CurQuality},
                {"CurRateControl", r.CurRateControl},
                {"CurBitrate", r.CurBitrate},
                {"CurGOP", r.CurGOP},
                {"QualityUpper", r.QualityUpper},
                {"QualityLower", r.QualityLower},
                {"RateControlCap", r.RateControlCap},
                {"FPSUpper_JPEG", r.FPSUpper_JPEG},
                {"FPSLower_JPEG", r.FPSLower_JPEG},
                {"FPSUpper_MPEG4", r.FPSUpper_MPEG4},
                {"FPSLower_MPEG4", r.FPSLower_MPEG4},
                {"FPSUpper_H264", r.FPSUpper_H264},
                {"FPSLower_H264", r.FPSLower_H264},
                {"BitrateUpper_JPEG", r.BitrateUpper_JPEG},
                {"BitrateLower_JPEG", r.BitrateLower_JPEG},
                {"BitrateUpper_MPEG4", r.BitrateUpper_MPEG4},
                {"BitrateLower_MPEG4", r.BitrateLower_MPEG4},
                {"BitrateUpper_H264", r.BitrateUpper_H264},
                {"BitrateLower_H264", r.BitrateLower_H264},
                {"SizeListAll", r.SizeListAll},
                {"SizeList_JPEG", r.SizeList_JPEG},
                {"SizeList_MPEG4", r.SizeList_MPEG4},
                {"SizeList_H264", r.SizeList_H264},
                {"GOPCap", r.GOPCap},
                {"CapAudioIn", r.CapAudioIn},
                {"PTZEnable", r.PTZEnable},
                {"PTZABS", r.PTZABS},
                {"SpeedUpper", r.SpeedUpper},
                {"SpeedLower", r.SpeedLower},
                {"SpeedStep", r.SpeedStep},
                {"AutoPan", r.AutoPan},
                {"Zoom", r.Zoom},
                {"Focus", r.Focus},
                {"Iris", r.Iris},
                {"Move", r.Move},
                {"SetPreset", r.SetPreset},
                {"ModeList4FishEye", r.ModeList4FishEye},
                {"Mode4FishEye", r.Mode4FishEye},
                {"FishEyeModes", r.FishEyeModes},
                {"SaveFlag", r.SaveFlag},
                {"ChannelEdited", r.ChannelEdited},
                {"StartConfig", r.StartConfig},
                {"NumberDI", r.NumberDI},
                {"NumberDO", r.NumberDO},
                {"SyncPreset", r.SyncPreset},
                {"MotionDetect", r.MotionDetect},
                {"DILow", r.DILow},
                {"DIHigh", r.DIHigh},
                {"DIEdge", r.DIEdge}};
}

// The fixed tables a channel holds indices into, and the fields that hold them (a number, or a
// list of numbers per size).
constexpr std::array<std::string_view, 3> kRateControlTexts = {"N/A", "VBR", "CBR"};
const app::TextTable kFps{"frame rate", kFpsTable};
const app::TextTable kBitrate{"bit rate", kBitrateTable};
const app::TextTable kRateControl{"rate control", kRateControlTexts, -1};
const std::vector<std::pair<const char*, const app::TextTable*>> kTableFields = {
    {"FPS", &kFps},
    {"RateControl", &kRateControl},
    {"Bitrate", &kBitrate},
    {"FPSUpper_JPEG", &kFps},
    {"FPSLower_JPEG", &kFps},
    {"FPSUpper_MPEG4", &kFps},
    {"FPSLower_MPEG4", &kFps},
    {"FPSUpper_H264", &kFps},
    {"FPSLower_H264", &kFps},
    {"BitrateUpper_JPEG", &kBitrate},
    {"BitrateLower_JPEG", &kBitrate},
    {"BitrateUpper_MPEG4", &kBitrate},
    {"BitrateLower_MPEG4", &kBitrate},
    {"BitrateUpper_H264", &kBitrate},
    {"BitrateLower_H264", &kBitrate}};

// A channel as dump prints it: the password masked, the tables' texts for their indices.
Json shownChannel(const ChannelRecord& r, const app::DumpForm& form) {
    Json o = channelJson(r);
    o["Password"] = app::ShownSecret(r.Password, form);
    for (const auto& [key, table] : kTableFields) {
        Json& v = o[key];
        if (v.is_array())
            for (Json& item : v) item = app::TableText(*table, item.get<int64_t>());
        else
            v = app::TableText(*table, v.get<int64_t>());
    }
    return o;
}

Json presetJson(const PresetRecord& p) {
    return Json{{"ID", p.ID},     {"Name", p.Name}, {"PTZABS", p.PTZABS}, {"Pan", p.Pan},
                {"Tilt", p.Tilt}, {"Zoom", p.Zoom}, {"Focus", p.Focus}};
}

// Fields the page edits; the client's own bookkeeping; the rest is what the camera reports.
const std::set<std::string> kEditable = {"Name",        "IP",       "HTTPPort", "UserName", "Password", "VideoNumber",
                                         "PTZEnable",   "StartConfig", "FMT",   "Size",     "FPS",      "Quality",
                                         "RateControl", "Bitrate",  "GOP",      "LensMode", "LeftDisplayMode",
                                         "RightDisplayMode"};
const std::set<std::string> kBookkeeping = {"CH", "EditTime", "SaveFlag", "ChannelEdited"};

}  // namespace

// A document's channel in the record's own form: a masked password is the loaded channel's, a
// table's text its index. What is not in dump's form is left for the staging to report.
void toRecordForm(Json& o, const ChannelRecord& loaded, const std::string& where) {
    if (o.contains("Password") && o.at("Password").is_string())
        o["Password"] = app::SecretOf(o.at("Password"), loaded.Password, loaded.configured(), where + ".Password");
    for (const auto& [key, table] : kTableFields) {
        if (!o.contains(key)) continue;
        Json& v = o[key];
        const std::string at = where + "." + key;
        if (v.is_array())
            for (size_t i = 0; i < v.size(); ++i)
                v[i] = app::TableIndex(*table, v[i], at + "[" + std::to_string(i) + "]");
        else
            v = app::TableIndex(*table, v, at);
    }
}

Json inRecordForm(const Json& list, const ChannelTable& loaded) {
    Json out = list;
    if (!out.is_array()) return out;
    for (size_t i = 0; i < out.size(); ++i) {
        Json& o = out[i];
        if (!o.is_object() || !o.contains("CH") || !o.at("CH").is_number_integer()) continue;
        const int64_t ch = o.at("CH").get<int64_t>();
        if (ch < 1 || ch > kChannelSlots) continue;
        toRecordForm(o, loaded[static_cast<size_t>(ch - 1)], "strCH[" + std::to_string(i) + "]");
    }
    return out;
}

// The page's host in a run: the second stream is read from the recording, and switching it off
// is noted for the saves, where it goes out before the channel's 24581.
struct RunHost : ChannelPageHost {
    explicit RunHost(const DualStreamHooks& hooks) : hooks(hooks) {}
    int16_t dualModeOf(int32_t ch) override { return hooks.dualMode ? hooks.dualMode(ch) : -1; }
    bool switchDualModeOff(int32_t ch) override {
        if (!hooks.switchOffSave) return false;
        dualOff.insert(ch);
        return true;
    }
    const DualStreamHooks& hooks;
    std::set<int32_t> dualOff;
};

// One run: the staged tables, the channel page over them, and what it has staged.
struct Run {
    Run(const ChannelTables& loaded, Stage& stage, const DualStreamHooks& hooks)
        : loaded(loaded),
          scratch(loaded),
          host(hooks),
          page(scratch, stage.link, stage.prompter, stage.lang, clock, host, stage.title) {}
    const ChannelTables& loaded;
    ChannelTables scratch;
    app::SystemClock clock;
    RunHost host;
    ChannelPage page;
    std::vector<std::pair<int32_t, std::optional<ChannelRecord>>> channels;  // nothing: a removal
    std::map<int32_t, PresetList> presets;
};

namespace {


std::string text(const Json& o, const char* key, const std::string& where) {
    if (!o.at(key).is_string()) throw DocumentError(where + "." + key + ": expected a text");
    return o.at(key).get<std::string>();
}

int64_t number(const Json& o, const char* key, const std::string& where) {
    if (!o.at(key).is_number_integer()) throw DocumentError(where + "." + key + ": expected a whole number");
    return o.at(key).get<int64_t>();
}

bool flag(const Json& o, const char* key, const std::string& where) {
    if (!o.at(key).is_boolean()) throw DocumentError(where + "." + key + ": expected true or false");
    return o.at(key).get<bool>();
}

std::string offered(const app::ComboBox& c) {
    std::string out;
    for (const std::string& item : c.items) out += (out.empty() ? "" : ", ") + item;
    return out.empty() ? "nothing" : out;
}

// Chooses the first of `candidates` the combo offers, as a click would; false when it offers none.
bool choose(ChannelPage& page, int combo, const std::vector<std::string>& candidates) {
    const app::ComboBox& c = page.video.cmb_CamDetail[static_cast<size_t>(combo)];
    for (const std::string& want : candidates) {
        for (size_t i = 0; i < c.items.size(); ++i) {
            if (c.items[i] != want) continue;
            return static_cast<int>(i) == c.index || page.cmb_CamDetail_Click(combo, static_cast<int>(i));
        }
    }
    return false;
}

bool chooseIn(app::ComboBox& c, const std::string& want, const std::function<bool(int)>& click) {
    for (size_t i = 0; i < c.items.size(); ++i)
        if (c.items[i] == want) return static_cast<int>(i) == c.index || click(static_cast<int>(i));
    return false;
}

// The video settings of the document through the combos, in the order a person sets them.
void chooseVideo(const Json& o, const std::string& where, ChannelPage& page, Stage& stage) {
    using namespace channels;
    const auto refuse = [&](const char* key, const std::string& value, int combo) {
        stage.refuse(where, std::string(key) + " " + value + " is not offered (offered: " +
                                offered(page.video.cmb_CamDetail[static_cast<size_t>(combo)]) + ")");
    };
    if (o.contains("FMT")) {
        const std::string fmt = text(o, "FMT", where);
        if (!choose(page, kCmbFormat, {fmt})) return refuse("FMT", fmt, kCmbFormat);
    }
    if (o.contains("Size")) {
        const std::string size = text(o, "Size", where);
        const std::vector<std::string> items =
            SplitList(SizeListOf(page.MyCH, page.video.cmb_CamDetail[kCmbFormat].text()));
        int index = -1;
        for (size_t i = 0; i < items.size(); ++i)
            if (items[i] == size) index = static_cast<int>(i);
        if (index < 0 || !(index == page.video.cmb_CamDetail[kCmbSize].index ||
                           page.cmb_CamDetail_Click(kCmbSize, index)))
            return refuse("Size", size, kCmbSize);
    }
    if (o.contains("RateControl")) {
        const auto v = static_cast<int16_t>(number(o, "RateControl", where));
        if (!choose(page, kCmbRateControl, {MaskSpecCameraValue(v)}))
            return refuse("RateControl", std::to_string(v), kCmbRateControl);
    }
    if (o.contains("FPS")) {
        const auto v = static_cast<int16_t>(number(o, "FPS", where));
        if (!choose(page, kCmbFps, v == 0 ? std::vector<std::string>{"Full", "FULL"} : std::vector{FpsLabel(v)}))
            return refuse("FPS", std::to_string(v), kCmbFps);
    }
    if (o.contains("Bitrate")) {
        const auto v = static_cast<int16_t>(number(o, "Bitrate", where));
        // With VBR the combo shows "N/A", which goes back as index 0.
        const std::vector<std::string> labels =
            v == 0 ? std::vector<std::string>{"Full", "N/A"}
                   : std::vector<std::string>{v > 0 && v < 9 ? std::string(kBitrateTable[static_cast<size_t>(v)]) : ""};
        if (!choose(page, kCmbBitrate, labels)) return refuse("Bitrate", std::to_string(v), kCmbBitrate);
    }
    for (auto [key, combo] : {std::pair{"GOP", kCmbGop}, std::pair{"Quality", kCmbQuality}}) {
        if (!o.contains(key)) continue;
        const int64_t v = number(o, key, where);
        if (!choose(page, combo, {v < 0 ? "N/A" : std::to_string(v)})) return refuse(key, std::to_string(v), combo);
    }
    if (!page.video.frameLensMode) return;
    if (o.contains("LensMode") && !text(o, "LensMode", where).empty() &&
        !chooseIn(page.video.cmbLensMode, text(o, "LensMode", where), [&](int i) { return page.cmbLensMode_Click(i); }))
        return stage.refuse(where, "LensMode " + text(o, "LensMode", where) + " is not offered");
    for (auto [key, which] : {std::pair{"LeftDisplayMode", 0}, std::pair{"RightDisplayMode", 1}}) {
        if (!o.contains(key) || text(o, key, where).empty()) continue;
        app::ComboBox& c = page.video.cmbDisplayMode[static_cast<size_t>(which)];
        // A display mode the lens mode does not offer stays as it was.
        if (!c.enabled) continue;
        if (!chooseIn(c, text(o, key, where), [&, w = which](int i) { return page.cmbDisplayMode_Click(w, i); }))
            return stage.refuse(where, std::string(key) + " " + text(o, key, where) + " is not offered");
    }
}

void stageChange(const Json& o, const std::string& where, int32_t ch, const ChannelRecord& before, Run& st,
                 Stage& stage) {
    ChannelPage& page = st.page;
    stage.prompter.boxes.clear();
    if (!page.SelectChannel(ch))
        return stage.refuse(where, "channel " + std::to_string(ch) + " is beyond the server's channel count (" +
                                       std::to_string(st.scratch.iMaxChannel) + ")");
    for (auto [key, field] : {std::pair{"Name", kNetName}, std::pair{"IP", kNetIP},
                              std::pair{"UserName", kNetUserName},
                              std::pair{"Password", kNetPassword}})
        if (o.contains(key)) page.txtNetwork_Change(field, text(o, key, where));
    if (o.contains("HTTPPort")) page.txtNetwork_Change(kNetHTTPPort, std::to_string(number(o, "HTTPPort", where)));
    int64_t video = before.VideoNumber;
    if (o.contains("VideoNumber")) {
        video = number(o, "VideoNumber", where);
        if (!chooseIn(page.cmbVideoID, std::to_string(video), [&](int i) { return page.cmbVideoID_Click(i); }))
            return stage.refuse(where, "VideoNumber " + std::to_string(video) + " is no video source of the device");
    }
    // Another camera (or a new channel) is read first: its capabilities decide what the combos offer.
    const std::string ip = base::Trim(page.txtNetwork[kNetIP].text);
    const std::string port = base::Trim(page.txtNetwork[kNetHTTPPort].text);
    const bool detect = !before.configured() || ip != before.IP || port != std::to_string(before.HTTPPort) ||
                        video != before.VideoNumber;
    if (detect) {
        if (!page.cmdDetect_Click()) return stage.refuse(where, stage.prompter.last("the camera could not be read"));
        stage.note(where, "read the camera at " + ip + ":" + port);
    } else {
        const Json was = channelJson(before);
        for (const auto& [key, value] : o.items()) {
            if (kEditable.count(key) || kBookkeeping.count(key) || value == was.at(key)) continue;
            return stage.refuse(where, key + " is what the camera reports; it changes with the camera's address");
        }
    }
    if (o.contains("PTZEnable")) page.chkPTZ_Click(flag(o, "PTZEnable", where));
    if (o.contains("StartConfig")) page.chkCameraSetting_Click(number(o, "StartConfig", where) != 0);
    chooseVideo(o, where, page, stage);
    if (stage.refused()) return;
    ChannelRecord r = page.MyCH;
    if (!page.SetToSetCH(r)) return stage.refuse(where, stage.prompter.last("the channel was refused"));
    page.cmdComit_Click(kCommitCancel);
    // Only the client's bookkeeping differed: nothing goes out.
    if (before.configured() && Get_Channel_ADD_XML(r) == Get_Channel_ADD_XML(before)) return;
    r.ChannelEdited = false;
    st.channels.emplace_back(ch, r);
}

void stageChannels(const Json& value, Run& st, Stage& stage) {
    if (!value.is_array()) throw DocumentError("strCH: expected a list of records");
    std::set<int64_t> seen;
    const Json fields = channelJson(ChannelRecord{});
    for (size_t i = 0; i < value.size() && !stage.refused(); ++i) {
        const std::string where = "strCH[" + std::to_string(i) + "]";
        const Json& o = value[i];
        if (!o.is_object()) throw DocumentError(where + ": expected a record");
        if (!o.contains("CH")) throw DocumentError(where + ".CH: expected the channel number");
        const int64_t ch = number(o, "CH", where);
        if (ch < 1 || ch > kChannelSlots) throw DocumentError(where + ".CH: expected a channel from 1 to 64");
        if (!seen.insert(ch).second) throw DocumentError(where + ": channel " + std::to_string(ch) + " appears twice");
        for (const auto& [key, v] : o.items())
            if (!fields.contains(key)) throw DocumentError(where + ": " + key + " is no field of a channel");
        const ChannelRecord& before = st.loaded.strCH[static_cast<size_t>(ch - 1)];
        const Json was = before.configured() ? channelJson(before) : Json::object();
        bool differs = false;
        for (const auto& [key, v] : o.items())
            if (!kBookkeeping.count(key) && (!was.contains(key) || was.at(key) != v)) differs = true;
        if (!differs) continue;
        // An address made empty removes the channel.
        if (o.contains("IP") && base::Trim(text(o, "IP", where)).empty()) {
            if (before.configured()) st.channels.emplace_back(static_cast<int32_t>(ch), std::nullopt);
            continue;
        }
        stageChange(o, where, static_cast<int32_t>(ch), before, st, stage);
    }
}

void stagePresets(const Json& value, Run& st, Stage& stage) {
    if (!value.is_object()) throw DocumentError("Presets: expected the preset lists by channel number");
    for (const auto& [key, list] : value.items()) {
        const std::string where = "Presets[" + key + "]";
        const int64_t ch = base::LeadingNumber(key);
        if (ch < 1 || ch > kChannelSlots || std::to_string(ch) != key)
            throw DocumentError(where + ": expected a channel number from 1 to 64");
        if (!list.is_array()) throw DocumentError(where + ": expected a list of presets");
        PresetList presets;
        std::set<int64_t> ids;
        std::set<std::string> names;
        for (size_t i = 0; i < list.size(); ++i) {
            const std::string at = where + "[" + std::to_string(i) + "]";
            const Json& p = list[i];
            if (!p.is_object() || !p.contains("ID") || !p.contains("Name"))
                throw DocumentError(at + ": expected a preset with ID and Name");
            PresetRecord r;
            const int64_t id = number(p, "ID", at);
            if (id < 1 || id > INT16_MAX || !ids.insert(id).second)
                throw DocumentError(at + ".ID: expected a number from 1 that no other preset has");
            r.ID = static_cast<int16_t>(id);
            r.Name = text(p, "Name", at);
            if (p.contains("PTZABS")) r.PTZABS = flag(p, "PTZABS", at);
            for (auto [k, field] : {std::pair{"Pan", &r.Pan}, std::pair{"Tilt", &r.Tilt}, std::pair{"Zoom", &r.Zoom},
                                    std::pair{"Focus", &r.Focus}})
                if (p.contains(k)) *field = text(p, k, at);
            // The rules of the preset panel's name box and list.
            if (base::Trim(r.Name).empty()) return stage.refuse(at, stage.lang.GetText(295));
            if (!std::all_of(r.Name.begin(), r.Name.end(), txtPreset_KeyPress))
                return stage.refuse(at, "a preset name holds no markup characters");
            if (!names.insert(r.Name).second) return stage.refuse(at, "the name " + r.Name + " is in the list already");
            presets.push_back(std::move(r));
        }
        if (presets.size() > kPresetLimit) return stage.refuse(where, "eight presets at most");
        const ChannelRecord& r = st.scratch.strCH[static_cast<size_t>(ch - 1)];
        if (presets.empty()) presets = EmptyPresetList();
        const auto loaded = st.loaded.presetLists.find(static_cast<int32_t>(ch));
        const PresetList before = loaded == st.loaded.presetLists.end() ? EmptyPresetList() : loaded->second;
        if (presets == before) continue;
        if (!r.configured() || !r.PTZEnable) return stage.refuse(where, "the channel has no PTZ");
        st.presets[static_cast<int32_t>(ch)] = std::move(presets);
    }
}

// The sections; `shown` in dump's printed form, otherwise in the records' own.
Json dumpChannels(const ChannelTables& c, const std::optional<app::DumpForm>& shown) {
    Json doc;
    Json list = Json::array(), status = Json::array(), presets = Json::object();
    for (const ChannelRecord& r : c.strCH) {
        if (!r.configured()) continue;
        list.push_back(shown ? shownChannel(r, *shown) : channelJson(r));
        status.push_back(Json{{"CH", r.CH}, {"Connected", r.Connected}, {"InRecord", r.InRecord}});
    }
    for (const auto& [ch, l] : c.presetLists) {
        Json entries = Json::array();
        for (const PresetRecord& p : l)
            if (p.ID >= 0) entries.push_back(presetJson(p));
        presets[std::to_string(ch)] = entries;
    }
    doc["strCH"] = list;
    doc["Presets"] = presets;
    doc["ChannelStatus"] = status;
    return doc;
}

}  // namespace

ChannelDocument::ChannelDocument(ChannelTables& tables, link::ServiceLink& link, const app::ChannelRemoval& removal,
                                 const DualStreamHooks& dualStream)
    : tables_(tables), link_(link), removal_(removal), dualStream_(dualStream) {}

ChannelDocument::~ChannelDocument() = default;

std::vector<std::string> ChannelDocument::names() const { return {"strCH", "Presets", "ChannelStatus"}; }

void ChannelDocument::readExtras() {
    const std::string status = link_.SendCommand(0, true, app::CommandC(app::cmd::kGetChannelStatus));
    if (base::CheckResult(status) >= 0) GetChannelStatus(status, tables_.strCH, tables_.iMaxChannel);
    const int32_t count = std::clamp<int32_t>(tables_.iMaxChannel, 0, kChannelSlots);
    for (int32_t ch = 1; ch <= count; ++ch) {
        const ChannelRecord& r = tables_.strCH[static_cast<size_t>(ch - 1)];
        if (!r.configured() || !r.PTZEnable) continue;
        PresetList list;
        Load_Preset_XML(link_.SendCommand(0, true, Get_Preset_XML(kPtzUserData, ch)), list);
        tables_.presetLists[ch] = list;
    }
}

void ChannelDocument::dump(Json& doc, const app::DumpForm& form) const {
    const Json sections = dumpChannels(tables_, form);
    for (const auto& [name, value] : sections.items()) doc[name] = value;
}

void ChannelDocument::stage(const Json& doc, Stage& stage) {
    const Json loaded = dumpChannels(tables_, std::nullopt);
    Json given = Json::object();
    if (doc.contains("strCH")) given["strCH"] = inRecordForm(doc.at("strCH"), tables_.strCH);
    if (doc.contains("Presets")) given["Presets"] = doc.at("Presets");
    const auto changed = [&](const char* name) {
        return given.contains(name) && !app::SameValue(given.at(name), loaded.at(name));
    };
    // The status is the service's to report: a document's values are taken as read.
    if (!changed("strCH") && !changed("Presets")) return;
    run_ = std::make_unique<Run>(tables_, stage, dualStream_);
    if (changed("strCH")) stageChannels(given.at("strCH"), *run_, stage);
    if (!stage.refused() && changed("Presets")) stagePresets(given.at("Presets"), *run_, stage);
}

std::vector<std::string> ChannelDocument::plan() const {
    std::vector<std::string> out;
    if (!run_) return out;
    for (const auto& [ch, record] : run_->channels) {
        const ChannelRecord& before = tables_.strCH[static_cast<size_t>(ch - 1)];
        const std::string n = std::to_string(ch);
        if (!record)
            out.push_back("removes channel " + n + " \"" + before.Name +
                          "\" (the other subjects let go of it and save what they pruned)");
        else if (!before.configured())
            out.push_back("adds channel " + n + " \"" + record->Name + "\" (the camera at " + record->IP + ")");
        else
            out.push_back("changes channel " + n + ": " +
                          app::ChangedFields(channelJson(before), channelJson(*record), kBookkeeping));
    }
    for (const auto& [ch, list] : run_->presets) {
        const auto was = tables_.presetLists.find(ch);
        const PresetList before = was == tables_.presetLists.end() ? EmptyPresetList() : was->second;
        const auto find = [](const PresetList& l, int16_t id) {
            return std::find_if(l.begin(), l.end(), [id](const PresetRecord& p) { return p.ID == id; });
        };
        std::string what;
        const auto add = [&what](const std::string& s) { what += (what.empty() ? "" : "; ") + s; };
        for (const PresetRecord& p : before)
            if (p.ID >= 0 && find(list, p.ID) == list.end())
                add("removes " + std::to_string(p.ID) + " \"" + p.Name + "\"");
        for (const PresetRecord& p : list) {
            if (p.ID < 0) continue;
            const auto old = find(before, p.ID);
            if (old == before.end())
                add("adds " + std::to_string(p.ID) + " \"" + p.Name + "\"");
            else if (*old != p)
                add("changes " + std::to_string(p.ID) + " \"" + p.Name + "\": " +
                    app::ChangedFields(presetJson(*old), presetJson(p)));
        }
        out.push_back("changes the presets of channel " + std::to_string(ch) + ": " +
                      (what.empty() ? "their order" : what));
    }
    return out;
}

void ChannelDocument::saves(Stage& stage, std::vector<PendingSave>& out) {
    if (!run_) return;
    link::ServiceLink& link = stage.link;
    ChannelTables& tables = tables_;
    const app::ChannelRemoval& removal = removal_;
    for (const auto& [ch, record] : run_->channels) {
        const std::string where = "strCH (CH " + std::to_string(ch) + ")";
        if (!record) {
            ChannelRecord gone;
            gone.CH = static_cast<int16_t>(ch);
            out.push_back({where, Get_Channel_Remove_XML(gone),
                           [&link, gone](std::string& reply) { return RemoveChannel_Setting(link, gone, &reply); },
                           [&tables, &removal, ch = ch] {
                               tables.strCH[static_cast<size_t>(ch - 1)] = ChannelRecord{};
                               tables.presetLists.erase(ch);
                               // As on the page: every subject lets go of the channel and saves.
                               removal.run(ch);
                           }});
            continue;
        }
        const ChannelRecord r = *record;
        // A format without a second stream ends the recording's: that goes out first.
        if (run_->host.dualOff.count(ch) && dualStream_.switchOffSave) out.push_back(dualStream_.switchOffSave(ch));
        out.push_back({where, Get_Channel_ADD_XML(r),
                       [&link, r](std::string& reply) { return SaveChannel_Setting(link, r, &reply); },
                       [&tables, r] { tables.strCH[static_cast<size_t>(r.CH - 1)] = r; }});
        out.push_back({where, app::CommandC(app::cmd::kChannelCommitted),
                       [&link](std::string& reply) { return ApplyChannel_Setting(link, &reply); }, [] {}});
    }
    for (const auto& [ch, list] : run_->presets) {
        out.push_back({"Presets (CH " + std::to_string(ch) + ")", Set_PresetList_XML(ch, list),
                       [&link, ch = ch, list = list](std::string& reply) {
                           return SavePresetList_Setting(link, ch, list, &reply);
                       },
                       [&tables, ch = ch, list = list] { tables.presetLists[ch] = list; }});
    }
}

}  // namespace kv::channels
