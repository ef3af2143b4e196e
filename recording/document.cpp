// The recording sections of kelvarra-ctl's documents. A changed section goes through the recording
// page on a copy of the tables, as a person would change it: the channel chosen, the combos and
// checks of the settings, the second-stream dialog, the week painted on the grid, the retention
// and reserve typed, folders marked for removal or picked; then the tab's own checks. What the
// page cannot make is refused: the service ends as the document says, or nothing is sent.
#include "recording/document.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <set>

#include "base/lang.h"
#include "base/text.h"
#include "channels/video_params.h"
#include "recording/codec.h"
#include "recording/page.h"
#include "recording/pickers.h"
#include "recording/save.h"
#include "recording/week_grid.h"

namespace kv::recording {

struct StagedStorage {
    StorageList rows;  // as the tab saves them: rows marked REMOVE have ID -1
    int32_t retainDays = 0;
    int32_t reservedGB = 0;
};

// One run: the staged tables, the recording page over them, and what it has staged.
struct RecordingRun {
    RecordingRun(const RecordingTables& loaded, const channels::ChannelTables& channels, app::Stage& stage)
        : scratch(loaded), page(scratch, channels, stage.link, stage.prompter, stage.lang, stage.title) {}
    RecordingTables scratch;
    RecordingPage page;
    std::optional<StagedStorage> storage;
    std::vector<RecSetRecord> settings;  // in channel order
    std::vector<RecSCDLRecord> weeks;    // in channel order
};

namespace {

using app::DocumentError;
using app::Json;
using app::PendingSave;
using app::Stage;

constexpr std::array<const char*, kModeCount> kModeNames = {"Continuous", "Schedule", "Event", "Manual"};
constexpr std::array<std::string_view, 3> kRateControlTexts = {"N/A", "VBR", "CBR"};
const app::TextTable kFps{"frame rate", channels::kFpsTable};
const app::TextTable kIFrame{"I-frame choice", kIFrameItems};
const app::TextTable kRateControl{"rate control", kRateControlTexts, -1};
const app::TextTable kBitrate{"bit rate", channels::kBitrateTable};
const std::set<std::string> kStreamKeys = {"FMT", "Size", "FPS", "Quality", "RateControl", "Bitrate", "GOP"};

bool configured(const channels::ChannelTables& c, int32_t ch) {
    const int32_t count = std::clamp<int32_t>(c.iMaxChannel, 0, base::kMaxChannel);
    return ch >= 1 && ch <= count && c.strCH[static_cast<size_t>(ch - 1)].configured();
}

// ---- the sections as dump prints them (`shown`) or in the records' own form ----

Json modeJson(const RecModeBlock& b, bool shown) {
    return Json{{"FPS", shown ? app::TableText(kFps, b.FPS) : Json(b.FPS)},
                {"IFrameOnly", shown ? app::TableText(kIFrame, b.IFrameOnly) : Json(b.IFrameOnly)},
                {"PreAlarmLength", b.PreAlarmLength},
                {"PostAlarmLength", b.PostAlarmLength},
                {"Active", b.Active != 0}};
}

Json settingsJson(const RecSetRecord& r, int32_t ch, bool shown) {
    Json o{{"CH", ch}};
    for (int m = 0; m < kModeCount; ++m) o[kModeNames[static_cast<size_t>(m)]] = modeJson(ModeOf(r, m), shown);
    o["PreAlarmLength"] = r.PreAlarmLength;
    o["DualMode"] = r.DualMode;
    o["FMT"] = r.FMT;
    o["Size"] = r.Size;
    o["FPS"] = shown ? app::TableText(kFps, r.FPS) : Json(r.FPS);
    o["Quality"] = r.Quality;
    o["RateControl"] = shown ? app::TableText(kRateControl, r.RateControl) : Json(r.RateControl);
    o["Bitrate"] = shown ? app::TableText(kBitrate, r.Bitrate) : Json(r.Bitrate);
    o["GOP"] = r.GOP;
    return o;
}

// A week as the grid shows it: 96 characters a day, a short or odd string of the service rebuilt.
std::array<std::string, kDays> shownWeek(const RecSCDLRecord& r) {
    WeekGrid grid(WeekGrid::EmptyDay::kAllOff);
    grid.Load(r.Day);
    return grid.Days();
}

// Sizes print as the service gave them: whole numbers without a fraction.
Json gbJson(double v) {
    if (std::isfinite(v) && v == std::floor(v) && std::fabs(v) < 1e15) return static_cast<int64_t>(v);
    return v;
}

Json pathsJson(const StorageList& rows) {
    Json out = Json::array();
    for (const StorageRecord& r : rows)
        if (r.ID >= 0 && !r.Remove && !r.FilePath.empty()) out.push_back(r.FilePath);
    return out;
}

Json storageJson(const StorageList& rows, int32_t retainDays, int32_t reservedGB) {
    return Json{{"RetainDays", retainDays}, {"ReservedGB", reservedGB}, {"FilePath", pathsJson(rows)}};
}

Json disksJson(const HDPathList& disks) {
    Json out = Json::array();
    for (const HDPathRecord& d : disks)
        if (!d.Path.empty())
            out.push_back(Json{{"Path", d.Path},
                               {"FreeSpaceGB", gbJson(d.FreeSpaceGB)},
                               {"TotalSpaceGB", gbJson(d.TotalSpaceGB)}});
    return out;
}

Json sections(const RecordingTables& t, const channels::ChannelTables& c, bool shown) {
    Json doc;
    Json storage = storageJson(t.strStorage, t.RetainDays, t.ReservedGB);
    storage["strHDPath"] = disksJson(t.strHDPath);
    Json settings = Json::array(), weeks = Json::array();
    for (int32_t ch = 1; ch <= base::kMaxChannel; ++ch) {
        if (!configured(c, ch)) continue;
        settings.push_back(settingsJson(t.strRecSet[static_cast<size_t>(ch - 1)], ch, shown));
        weeks.push_back(Json{{"CH", ch}, {"Day", shownWeek(t.strRecSCDL[static_cast<size_t>(ch - 1)])}});
    }
    doc["strStorage"] = storage;
    doc["strRecSet"] = settings;
    doc["strRecSCDL"] = weeks;
    return doc;
}

// A document's settings with every table text read back as its index; what is not in dump's form
// is left for the staging to report.
Json inRecordForm(const Json& list) {
    Json out = list;
    if (!out.is_array()) return out;
    for (size_t i = 0; i < out.size(); ++i) {
        Json& o = out[i];
        if (!o.is_object()) continue;
        const std::string where = "strRecSet[" + std::to_string(i) + "]";
        for (const char* mode : kModeNames) {
            if (!o.contains(mode) || !o.at(mode).is_object()) continue;
            Json& b = o[mode];
            const std::string at = where + "." + mode;
            if (b.contains("FPS")) b["FPS"] = app::TableIndex(kFps, b.at("FPS"), at + ".FPS");
            if (b.contains("IFrameOnly"))
                b["IFrameOnly"] = app::TableIndex(kIFrame, b.at("IFrameOnly"), at + ".IFrameOnly");
        }
        for (const auto& [key, table] : {std::pair{"FPS", &kFps}, std::pair{"RateControl", &kRateControl},
                                         std::pair{"Bitrate", &kBitrate}})
            if (o.contains(key)) o[key] = app::TableIndex(*table, o.at(key), where + "." + key);
    }
    return out;
}

// Mode blocks as "Continuous.FPS" ...: the fields a plan names and a refusal speaks of.
Json flat(const Json& o) {
    Json out = Json::object();
    for (const auto& [key, value] : o.items()) {
        if (!value.is_object()) {
            out[key] = value;
            continue;
        }
        for (const auto& [sub, v] : value.items()) out[key + "." + sub] = v;
    }
    return out;
}

// ---- document values ----

int64_t whole(const Json& v, const std::string& where, int64_t low, int64_t high) {
    bool ok = v.is_number_integer();
    if (ok && v.is_number_unsigned()) ok = v.get<uint64_t>() <= static_cast<uint64_t>(std::max<int64_t>(high, 0));
    if (ok) ok = v.get<int64_t>() >= low && v.get<int64_t>() <= high;
    if (!ok)
        throw DocumentError(where + ": expected a whole number from " + std::to_string(low) + " to " +
                            std::to_string(high));
    return v.get<int64_t>();
}

int16_t short16(const Json& v, const std::string& where) {
    return static_cast<int16_t>(whole(v, where, INT16_MIN, INT16_MAX));
}

int32_t long32(const Json& v, const std::string& where) {
    return static_cast<int32_t>(whole(v, where, INT32_MIN, INT32_MAX));
}

std::string textOf(const Json& v, const std::string& where) {
    if (!v.is_string()) throw DocumentError(where + ": expected a text");
    return v.get<std::string>();
}

int32_t channelOf(const Json& o, const std::string& where) {
    if (!o.contains("CH")) throw DocumentError(where + ".CH: expected the channel number");
    return static_cast<int32_t>(whole(o.at("CH"), where + ".CH", 1, base::kMaxChannel));
}

std::string offered(const app::ComboBox& c) {
    std::string out;
    for (const std::string& item : c.items) out += (out.empty() ? "" : ", ") + item;
    return out.empty() ? "nothing" : out;
}

// Chooses the first of `texts` the combo offers, as a click would; false when it offers none.
template <typename Click>
bool choose(const app::ComboBox& c, const std::vector<std::string>& texts, Click click) {
    for (const std::string& want : texts)
        for (size_t i = 0; i < c.items.size(); ++i)
            if (c.items[i] == want) return static_cast<int>(i) == c.index || click(static_cast<int>(i));
    return false;
}

// ---- storage ----

// The disks compared without their free space, which changes as the service records.
bool sameDisks(const Json& given, const Json& loaded) {
    const auto sizes = [](const Json& list) {
        Json out = list;
        if (!out.is_array()) return out;
        for (Json& d : out)
            if (d.is_object()) d.erase("FreeSpaceGB");
        return out;
    };
    return app::SameValue(sizes(given), sizes(loaded));
}

std::string pathKey(std::string_view path) { return base::ToUpper(WithClosingBackslash(base::Trim(path))); }

// Brings the folder grid to `want`: rows the document leaves out are marked REMOVE, folders it adds
// are picked into new rows under the picker's rules, and the kept rows take the document's order.
bool stagePaths(const std::vector<std::string>& want, StorageTab& tab, Stage& stage) {
    const std::string where = "strStorage";
    std::set<std::string> wanted;
    for (const std::string& p : want) {
        if (base::Trim(p).empty()) {
            stage.refuse(where, "FilePath: a folder cannot be empty");
            return false;
        }
        if (!wanted.insert(pathKey(p)).second) {
            stage.refuse(where, "FilePath \"" + p + "\": " + stage.lang.GetText(picker_text::kAlreadySelected));
            return false;
        }
    }
    std::set<std::string> claimed;  // a folder the grid holds twice is kept once
    for (size_t i = 0; i < tab.gridStorage.size(); ++i) {
        const std::string key = pathKey(tab.gridStorage[i].path);
        const bool keep = wanted.count(key) && claimed.insert(key).second;
        if (keep == (tab.gridStorage[i].mark == kRemoveMark)) tab.ToggleRemove(static_cast<int>(i));
    }
    for (const std::string& p : want) {
        if (claimed.count(pathKey(p))) continue;
        if (!DiskOf(tab.disks(), base::Trim(p))) {
            stage.refuse(where, "FilePath \"" + p + "\": the service has no such disk");
            return false;
        }
        stage.prompter.boxes.clear();
        if (!CommitFolder(tab, static_cast<int>(tab.gridStorage.size()), base::Trim(p), stage.prompter, stage.lang)) {
            stage.refuse(where, "FilePath \"" + p + "\": " + stage.prompter.last("the folder cannot be chosen"));
            return false;
        }
        claimed.insert(pathKey(p));
    }
    std::vector<int> kept;
    for (size_t i = 0; i < tab.gridStorage.size(); ++i)
        if (tab.gridStorage[i].mark != kRemoveMark) kept.push_back(static_cast<int>(i));
    for (size_t j = 0; j < kept.size() && j < want.size(); ++j)
        if (pathKey(tab.gridStorage[static_cast<size_t>(kept[j])].path) != pathKey(want[j]))
            tab.SetRowPath(kept[j], WithClosingBackslash(base::Trim(want[j])));
    return true;
}

void stageStorage(const Json& value, const RecordingTables& loaded, RecordingRun& run, Stage& stage) {
    const std::string where = "strStorage";
    if (!value.is_object()) throw DocumentError(where + ": expected the storage setting");
    Json was = storageJson(loaded.strStorage, loaded.RetainDays, loaded.ReservedGB);
    was["strHDPath"] = disksJson(loaded.strHDPath);
    for (const auto& [key, v] : value.items())
        if (!was.contains(key)) throw DocumentError(where + ": " + key + " is no field of the storage setting");
    if (value.contains("strHDPath") && !sameDisks(value.at("strHDPath"), was.at("strHDPath")))
        return stage.refuse(where + ".strHDPath", "the disks are the service's to report; a document cannot add, "
                                                  "remove or change them (their free space is taken as read)");

    StorageTab& tab = run.page.storage;
    using Field = bool (StorageTab::*)(const std::string&);
    const auto type = [&](const char* key, int64_t before, int64_t max, Field change) {
        if (!value.contains(key)) return true;
        const int64_t n = whole(value.at(key), where + "." + key, INT64_MIN, INT64_MAX);
        if (n == before || (tab.*change)(std::to_string(n))) return true;
        stage.refuse(where, std::string(key) + " " + std::to_string(n) + ": the field takes a whole number from 0 to " +
                                std::to_string(max));
        return false;
    };
    if (!type("RetainDays", loaded.RetainDays, kMaxRetainDays, &StorageTab::txtStorage_Change) ||
        !type("ReservedGB", loaded.ReservedGB, kMaxReservedGB, &StorageTab::txtReserveSize_Change))
        return;
    if (value.contains("FilePath") && !app::SameValue(value.at("FilePath"), was.at("FilePath"))) {
        const Json& list = value.at("FilePath");
        if (!list.is_array()) throw DocumentError(where + ".FilePath: expected a list of folders");
        std::vector<std::string> want;
        for (size_t i = 0; i < list.size(); ++i)
            want.push_back(textOf(list[i], where + ".FilePath[" + std::to_string(i) + "]"));
        if (!stagePaths(want, tab, stage)) return;
    }

    // Only the disks' free space differed: nothing to save, and a service without folders stays so.
    if (!tab.dirty()) return;
    // The checks of the tab's save.
    if (base::Trim(tab.txtStorage.text).empty() || base::Trim(tab.txtReserveSize.text).empty())
        return stage.refuse(where, stage.lang.GetText(storage_text::kFieldEmpty));
    stage.prompter.boxes.clear();
    if (!tab.CheckStorageSetting(false)) return stage.refuse(where, stage.prompter.last("the setting was refused"));
    StagedStorage s{tab.SetGridToStorage(), static_cast<int32_t>(base::LeadingNumber(tab.txtStorage.text)),
                    static_cast<int32_t>(base::LeadingNumber(tab.txtReserveSize.text))};
    if (Set_Storage_XML(s.rows, s.retainDays, s.reservedGB) !=
        Set_Storage_XML(loaded.strStorage, loaded.RetainDays, loaded.ReservedGB))
        run.storage = std::move(s);
}

// ---- recording settings ----

// The loaded entry's fields with the document's over them; a mode block given in part keeps the
// rest of its fields.
Json merged(const Json& loaded, const Json& o, const std::string& where) {
    Json out = loaded;
    for (const auto& [key, v] : o.items()) {
        if (!loaded.contains(key)) throw DocumentError(where + ": " + key + " is no field of the recording settings");
        if (!loaded.at(key).is_object()) {
            out[key] = v;
            continue;
        }
        if (!v.is_object()) throw DocumentError(where + "." + key + ": expected the settings of the mode");
        for (const auto& [sub, w] : v.items()) {
            if (!loaded.at(key).contains(sub))
                throw DocumentError(where + "." + key + ": " + sub + " is no field of a mode");
            out[key][sub] = w;
        }
    }
    return out;
}

RecSetRecord settingsFrom(const Json& o, RecSetRecord r, const std::string& where) {
    for (int m = 0; m < kModeCount; ++m) {
        const std::string at = where + "." + kModeNames[static_cast<size_t>(m)];
        const Json& b = o.at(kModeNames[static_cast<size_t>(m)]);
        RecModeBlock& block = ModeOf(r, m);
        block.FPS = short16(b.at("FPS"), at + ".FPS");
        block.IFrameOnly = short16(b.at("IFrameOnly"), at + ".IFrameOnly");
        block.PreAlarmLength = short16(b.at("PreAlarmLength"), at + ".PreAlarmLength");
        block.PostAlarmLength = short16(b.at("PostAlarmLength"), at + ".PostAlarmLength");
        if (!b.at("Active").is_boolean()) throw DocumentError(at + ".Active: expected true or false");
        block.Active = b.at("Active").get<bool>() ? -1 : 0;
    }
    r.PreAlarmLength = short16(o.at("PreAlarmLength"), where + ".PreAlarmLength");
    r.DualMode = short16(o.at("DualMode"), where + ".DualMode");
    r.FMT = textOf(o.at("FMT"), where + ".FMT");
    r.Size = textOf(o.at("Size"), where + ".Size");
    r.FPS = short16(o.at("FPS"), where + ".FPS");
    r.Quality = short16(o.at("Quality"), where + ".Quality");
    r.RateControl = long32(o.at("RateControl"), where + ".RateControl");
    r.Bitrate = long32(o.at("Bitrate"), where + ".Bitrate");
    r.GOP = short16(o.at("GOP"), where + ".GOP");
    return r;
}

// Why a field did not come out as the document has it: the rule of the control that writes it.
std::string ruleOf(const std::string& key) {
    const auto endsWith = [&key](std::string_view s) { return key.ends_with(s); };
    if (endsWith("IFrameOnly"))
        return "the I-frame choice is one for Continuous, Schedule and Event, and Manual records I+P";
    if (endsWith("PreAlarmLength"))
        return "pre-alarm belongs to the running modes: Continuous, Schedule and the channel's PreAlarmLength take "
               "the one choice, Event and Manual keep 0";
    if (endsWith("PostAlarmLength"))
        return "post-alarm belongs to the triggered modes: Event takes the choice, Manual keeps " +
               std::to_string(kManualPostAlarm) + ", Continuous and Schedule keep 0";
    if (endsWith("Active")) return "Event and Manual always record (Active true)";
    if (kStreamKeys.count(key)) return "the second stream's dialog gives another value with these choices";
    return "the page does not make this value";
}

struct SettingsTarget {
    int32_t ch = 0;
    std::string where;
    RecSetRecord want;
};

// The second stream through its dialog, in the order a person sets the combos. A value the
// document did not change and the dialog no longer offers is left to the dialog.
bool chooseStream(const RecSetRecord& want, const RecSetRecord& before, FormRECDetailSetting& dialog,
                  const std::string& where, const std::string& who, Stage& stage) {
    using namespace channels;
    auto& combos = dialog.cmbVideo.cmb_CamDetail;
    const auto click = [&dialog](int row) {
        return [&dialog, row](int item) { return dialog.cmbVideo_Click(row, item); };
    };
    const auto pick = [&](const char* key, bool changed, int row, const std::vector<std::string>& texts,
                          const std::string& value) {
        if (choose(combos[static_cast<size_t>(row)], texts, click(row)) || !changed) return true;
        stage.refuse(where, who + key + " " + value + " is not offered (offered: " +
                                offered(combos[static_cast<size_t>(row)]) + ")");
        return false;
    };
    if (!pick("FMT", want.FMT != before.FMT, kCmbFormat, {want.FMT}, "\"" + want.FMT + "\"")) return false;
    const std::vector<std::string> sizes = SplitList(SizeListOf(dialog.record(), combos[kCmbFormat].text()));
    const auto size = std::find(sizes.begin(), sizes.end(), want.Size);
    const int sizeItem = size == sizes.end() ? -1 : static_cast<int>(size - sizes.begin());
    if (!(sizeItem >= 0 && (sizeItem == combos[kCmbSize].index || dialog.cmbVideo_Click(kCmbSize, sizeItem))) &&
        want.Size != before.Size) {
        stage.refuse(where,
                     who + "Size \"" + want.Size + "\" is not offered (offered: " + offered(combos[kCmbSize]) + ")");
        return false;
    }
    const auto rate = static_cast<int16_t>(std::clamp<int32_t>(want.RateControl, INT16_MIN, INT16_MAX));
    if (!pick("RateControl", want.RateControl != before.RateControl, kCmbRateControl, {MaskSpecCameraValue(rate)},
              app::TableText(kRateControl, want.RateControl).dump()))
        return false;
    if (!pick("FPS", want.FPS != before.FPS, kCmbFps,
              want.FPS == 0 ? std::vector<std::string>{"Full", "FULL"} : std::vector{FpsLabel(want.FPS)},
              app::TableText(kFps, want.FPS).dump()))
        return false;
    // With VBR the bit rate shows "N/A", which stands for index 0.
    const bool knownRate = want.Bitrate > 0 && want.Bitrate < static_cast<int32_t>(kBitrateTable.size());
    const std::string rateText = knownRate ? std::string(kBitrateTable[static_cast<size_t>(want.Bitrate)]) : "";
    if (!pick("Bitrate", want.Bitrate != before.Bitrate, kCmbBitrate,
              want.Bitrate == 0 ? std::vector<std::string>{"Full", "N/A"} : std::vector{rateText},
              app::TableText(kBitrate, want.Bitrate).dump()))
        return false;
    for (auto [key, row, v, was] : {std::tuple{"GOP", kCmbGop, want.GOP, before.GOP},
                                    std::tuple{"Quality", kCmbQuality, want.Quality, before.Quality}}) {
        const std::string item = v < 0 ? "N/A" : std::to_string(v);
        if (!pick(key, v != was, row, {item}, std::to_string(v))) return false;
    }
    return true;
}

// One channel's changes through the tab's controls; the checks of the save come afterwards.
void changeSettings(const SettingsTarget& t, const RecSetRecord& before, RecSettingTab& tab, Stage& stage) {
    const std::string who = "channel " + std::to_string(t.ch) + ": ";
    if (!tab.SelectChannel(t.ch)) return stage.refuse(t.where, who + stage.lang.GetText(text::kNoCamera));
    const RecSetRecord& want = t.want;
    const RecSetRecord& e = tab.strRecSetTmp[static_cast<size_t>(t.ch - 1)];
    const auto notOffered = [&](const std::string& key, const std::string& value, const app::ComboBox& c) {
        stage.refuse(t.where, who + key + " " + value + " is not offered (offered: " + offered(c) + ")");
    };
    const auto groupDiffers = [&](int16_t RecModeBlock::*field) {
        for (int m = 0; m < kModeCount; ++m)
            if (ModeOf(want, m).*field != ModeOf(e, m).*field) return true;
        return false;
    };

    for (int m = 0; m < kModeCount; ++m) {
        const int16_t fps = ModeOf(want, m).FPS;
        if (fps == ModeOf(e, m).FPS) continue;
        const app::ComboBox& c = tab.cmbRecSettingFPS[static_cast<size_t>(m)];
        if (fps < 0 || static_cast<size_t>(fps) >= c.items.size() || !tab.cmbRecSettingFPS_Click(m, fps))
            return notOffered(std::string(kModeNames[static_cast<size_t>(m)]) + ".FPS",
                              app::TableText(kFps, fps).dump(), c);
    }
    // One combo each writes the I-frame choice, the pre-alarm and the post-alarm of all four modes;
    // each shows the value of the mode it belongs to.
    if (groupDiffers(&RecModeBlock::IFrameOnly)) {
        const int16_t v = want.Continuous.IFrameOnly;
        const app::ComboBox& c = tab.cmbRecSettingIFrame;
        if (v < 0 || static_cast<size_t>(v) >= c.items.size() || !tab.cmbRecSettingIFrame_Click(v))
            return notOffered("Continuous.IFrameOnly", app::TableText(kIFrame, v).dump(), c);
    }
    if (groupDiffers(&RecModeBlock::PreAlarmLength) || want.PreAlarmLength != e.PreAlarmLength) {
        const int16_t v = want.Continuous.PreAlarmLength;
        const app::ComboBox& c = tab.cmbRecSettingPreAlarm;
        if (!choose(c, {std::to_string(v)}, [&tab](int i) { return tab.cmbRecSettingPreAlarm_Click(i); }))
            return notOffered("Continuous.PreAlarmLength", std::to_string(v), c);
    }
    if (groupDiffers(&RecModeBlock::PostAlarmLength)) {
        const int16_t v = want.Event.PostAlarmLength;
        const app::ComboBox& c = tab.cmbRecSettingPostAlarm;
        if (!choose(c, {std::to_string(v)}, [&tab](int i) { return tab.cmbRecSettingPostAlarm_Click(i); }))
            return notOffered("Event.PostAlarmLength", std::to_string(v), c);
    }
    for (int i = 0; i < 2; ++i) {
        const bool on = ModeOf(want, i).Active != 0;
        if (on != (ModeOf(e, i).Active != 0)) tab.chkRecSetting_Click(i, on);
    }
    if (want.DualMode != e.DualMode) {
        if (want.DualMode != 0 && want.DualMode != 1)
            return stage.refuse(t.where, who + "DualMode " + std::to_string(want.DualMode) +
                                             ": 0 records one stream, 1 a second stream as well");
        tab.optRecordingVideo_Click(want.DualMode);
    }
    const bool stream = want.FMT != e.FMT || want.Size != e.Size || want.FPS != e.FPS || want.Quality != e.Quality ||
                        want.RateControl != e.RateControl || want.Bitrate != e.Bitrate || want.GOP != e.GOP;
    if (!stream) return;
    if (!tab.imgDualModify_Click())
        return stage.refuse(t.where, who + "the second stream is set in its dialog, which opens with DualMode 1");
    if (!chooseStream(want, before, *tab.dualDialog, t.where, who, stage)) return;
    tab.dualDialogCommit(nullptr);
}

void stageSettings(const Json& value, const RecordingTables& loaded, const channels::ChannelTables& channels,
                   RecordingRun& run, Stage& stage) {
    if (!value.is_array()) throw DocumentError("strRecSet: expected a list of channels");
    RecSettingTab& tab = run.page.settings;
    std::set<int32_t> seen;
    std::vector<SettingsTarget> targets;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string where = "strRecSet[" + std::to_string(i) + "]";
        const Json& o = value[i];
        if (!o.is_object()) throw DocumentError(where + ": expected the settings of a channel");
        const int32_t ch = channelOf(o, where);
        if (!seen.insert(ch).second) throw DocumentError(where + ": channel " + std::to_string(ch) + " appears twice");
        const RecSetRecord& before = loaded.strRecSet[static_cast<size_t>(ch - 1)];
        const Json was = settingsJson(before, ch, false);
        const Json want = merged(was, o, where);
        if (app::SameValue(want, was)) continue;
        if (!configured(channels, ch))
            return stage.refuse(where, "channel " + std::to_string(ch) + ": " + stage.lang.GetText(text::kNoCamera));
        targets.push_back({ch, where, settingsFrom(want, before, where)});
        changeSettings(targets.back(), before, tab, stage);
        if (stage.refused()) return;
    }
    if (targets.empty()) return;
    // The save's check: it forces the triggered modes on in every configured channel's entry.
    tab.CheckRecordingSetting();
    std::sort(targets.begin(), targets.end(), [](const auto& a, const auto& b) { return a.ch < b.ch; });
    for (const SettingsTarget& t : targets) {
        RecSetRecord got = tab.strRecSetTmp[static_cast<size_t>(t.ch - 1)];
        got.CH = static_cast<int16_t>(t.ch);
        got.Edited = false;
        const Json made = flat(settingsJson(got, t.ch, false));
        const Json wanted = flat(settingsJson(t.want, t.ch, false));
        const Json shown = flat(settingsJson(t.want, t.ch, true));
        for (const auto& [key, v] : wanted.items()) {
            if (made.at(key) == v) continue;
            return stage.refuse(t.where, "channel " + std::to_string(t.ch) + ": " + key + " " + shown.at(key).dump() +
                                             ": " + ruleOf(key));
        }
        RecSetRecord before = loaded.strRecSet[static_cast<size_t>(t.ch - 1)];
        before.CH = got.CH;
        if (Set_RecSet_XML(got) != Set_RecSet_XML(before)) run.settings.push_back(got);
    }
}

// ---- weeks ----

// Paints the week on the grid as a person drags: each run of quarter hours the grid shows
// otherwise, left button for on, right for off.
void paintWeek(RecScheduleTab& tab, const std::array<std::string, kDays>& want) {
    const WeekGrid& grid = tab.gridRec4;
    const int midX = grid.geometry().colWidth / 2, midY = grid.geometry().rowHeight / 2;
    for (int row = 1; row <= kDays; ++row) {
        const std::string& day = want[static_cast<size_t>(row - 1)];
        const std::string shown = grid.Days()[static_cast<size_t>(row - 1)];
        const int y = grid.rowTop(row) + midY;
        for (int first = 1; first <= kSlotsPerDay;) {
            const char c = day[static_cast<size_t>(first - 1)];
            int last = first;
            while (last < kSlotsPerDay && day[static_cast<size_t>(last)] == c) ++last;
            const size_t from = static_cast<size_t>(first - 1), count = static_cast<size_t>(last - first + 1);
            if (shown.compare(from, count, day, from, count) != 0) {
                tab.gridRec4_MouseDown(c == '1' ? kButtonLeft : kButtonRight, grid.slotLeft(first) + midX, y);
                tab.gridRec4_MouseMove(grid.slotLeft(last) + midX, y);
                tab.gridRec4_MouseUp(grid.slotLeft(last) + midX, y);
            }
            first = last + 1;
        }
    }
}

void stageWeeks(const Json& value, const RecordingTables& loaded, const channels::ChannelTables& channels,
                RecordingRun& run, Stage& stage) {
    if (!value.is_array()) throw DocumentError("strRecSCDL: expected a list of weeks");
    RecScheduleTab& tab = run.page.schedule;
    std::set<int32_t> seen;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string where = "strRecSCDL[" + std::to_string(i) + "]";
        const Json& o = value[i];
        if (!o.is_object()) throw DocumentError(where + ": expected the week of a channel");
        const int32_t ch = channelOf(o, where);
        if (!seen.insert(ch).second) throw DocumentError(where + ": channel " + std::to_string(ch) + " appears twice");
        for (const auto& [key, v] : o.items())
            if (key != "CH" && key != "Day") throw DocumentError(where + ": " + key + " is no field of a week");
        if (!o.contains("Day")) continue;
        const Json& days = o.at("Day");
        if (!days.is_array() || days.size() != kDays)
            throw DocumentError(where + ".Day: expected seven day strings, days 0 to 6");
        const std::string who = "channel " + std::to_string(ch);
        std::array<std::string, kDays> want;
        for (size_t d = 0; d < want.size(); ++d) {
            want[d] = textOf(days[d], where + ".Day[" + std::to_string(d) + "]");
            const std::string day = who + ", day " + std::to_string(d) + ": ";
            const std::string form = "; a day is 96 quarter hours, each \"0\" or \"1\"";
            if (want[d].size() != static_cast<size_t>(kSlotsPerDay))
                return stage.refuse(where, day + std::to_string(want[d].size()) + " characters" + form);
            if (const size_t bad = want[d].find_first_not_of("01"); bad != std::string::npos)
                return stage.refuse(where, day + "\"" + want[d].substr(bad, 1) + "\" at quarter hour " +
                                               std::to_string(bad + 1) + form);
        }
        const RecSCDLRecord& before = loaded.strRecSCDL[static_cast<size_t>(ch - 1)];
        if (configured(channels, ch) && want == shownWeek(before)) continue;
        stage.prompter.boxes.clear();
        if (!configured(channels, ch) || !tab.SelectChannel(ch))
            return stage.refuse(where, who + ": " + stage.lang.GetText(schedule_text::kNoCamera));
        paintWeek(tab, want);
    }
    for (const int32_t ch : tab.changedChannels()) {
        RecSCDLRecord week = tab.working[static_cast<size_t>(ch - 1)];
        week.CH = static_cast<int16_t>(ch);
        if (week.Day != loaded.strRecSCDL[static_cast<size_t>(ch - 1)].Day) run.weeks.push_back(week);
    }
}

std::string changedDays(const RecSCDLRecord& before, const RecSCDLRecord& after) {
    const std::array<std::string, kDays> was = shownWeek(before), now = shownWeek(after);
    std::string list;
    int count = 0;
    for (size_t d = 0; d < was.size(); ++d) {
        if (was[d] == now[d]) continue;
        list += (list.empty() ? "" : ", ") + std::to_string(d);
        ++count;
    }
    return (count == 1 ? "day " : "days ") + list;
}

}  // namespace

RecordingDocument::RecordingDocument(RecordingTables& tables, const channels::ChannelTables& channels)
    : tables_(tables), channels_(channels) {}

RecordingDocument::~RecordingDocument() = default;

std::vector<std::string> RecordingDocument::names() const { return {"strStorage", "strRecSet", "strRecSCDL"}; }

void RecordingDocument::dump(Json& doc, const app::DumpForm&) const {
    const Json all = sections(tables_, channels_, true);
    for (const auto& [name, value] : all.items()) doc[name] = value;
}

void RecordingDocument::stage(const Json& doc, Stage& stage) {
    run_.reset();
    const Json loaded = sections(tables_, channels_, false);
    Json given = Json::object();
    for (const std::string& name : names())
        if (doc.contains(name)) given[name] = name == "strRecSet" ? inRecordForm(doc.at(name)) : doc.at(name);
    const auto changed = [&](const char* name) {
        return given.contains(name) && !app::SameValue(given.at(name), loaded.at(name));
    };
    if (!changed("strStorage") && !changed("strRecSet") && !changed("strRecSCDL")) return;
    run_ = std::make_unique<RecordingRun>(tables_, channels_, stage);
    if (changed("strStorage")) stageStorage(given.at("strStorage"), tables_, *run_, stage);
    if (!stage.refused() && changed("strRecSet"))
        stageSettings(given.at("strRecSet"), tables_, channels_, *run_, stage);
    if (!stage.refused() && changed("strRecSCDL")) stageWeeks(given.at("strRecSCDL"), tables_, channels_, *run_, stage);
}

std::vector<std::string> RecordingDocument::plan() const {
    std::vector<std::string> out;
    if (!run_) return out;
    if (const auto& s = run_->storage) {
        StorageList kept;
        std::copy_if(s->rows.begin(), s->rows.end(), std::back_inserter(kept), [](const auto& r) { return r.ID >= 0; });
        out.push_back("changes the storage: " +
                      app::ChangedFields(storageJson(tables_.strStorage, tables_.RetainDays, tables_.ReservedGB),
                                         storageJson(kept, s->retainDays, s->reservedGB)));
    }
    for (const RecSetRecord& r : run_->settings) {
        const RecSetRecord& before = tables_.strRecSet[static_cast<size_t>(r.CH - 1)];
        out.push_back("changes the recording settings of channel " + std::to_string(r.CH) + ": " +
                      app::ChangedFields(flat(settingsJson(before, r.CH, false)), flat(settingsJson(r, r.CH, false))));
    }
    for (const RecSCDLRecord& w : run_->weeks)
        out.push_back("changes the week of channel " + std::to_string(w.CH) + ": " +
                      changedDays(tables_.strRecSCDL[static_cast<size_t>(w.CH - 1)], w));
    return out;
}

void RecordingDocument::saves(Stage& stage, std::vector<PendingSave>& out) {
    if (!run_) return;
    link::ServiceLink& link = stage.link;
    RecordingTables& tables = tables_;
    if (run_->storage) {
        const StagedStorage s = *run_->storage;
        out.push_back({"strStorage", Set_Storage_XML(s.rows, s.retainDays, s.reservedGB),
                       [&link, s](std::string& reply) {
                           return SaveStorage_Setting(link, s.rows, s.retainDays, s.reservedGB, &reply);
                       },
                       [&tables, s] {
                           // As the tab's save: the rows that went out, the two numbers.
                           tables.strStorage.clear();
                           for (const StorageRecord& r : s.rows)
                               if (r.ID >= 0) tables.strStorage.push_back(r);
                           tables.RetainDays = s.retainDays;
                           tables.ReservedGB = s.reservedGB;
                       }});
    }
    for (const RecSetRecord& r : run_->settings)
        out.push_back({"strRecSet (CH " + std::to_string(r.CH) + ")", Set_RecSet_XML(r),
                       [&link, r](std::string& reply) { return SaveRecSet_Setting(link, r, &reply); },
                       [&tables, r] { tables.strRecSet[static_cast<size_t>(r.CH - 1)] = r; }});
    for (const RecSCDLRecord& w : run_->weeks)
        out.push_back({"strRecSCDL (CH " + std::to_string(w.CH) + ")", Set_RecSCDL_XML(w),
                       [&link, w](std::string& reply) { return SaveRecSCDL_Setting(link, w, &reply); },
                       [&tables, w] { tables.strRecSCDL[static_cast<size_t>(w.CH - 1)] = w; }});
}

}  // namespace kv::recording
