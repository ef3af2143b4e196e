// The PTZ panel: moves, speed, fisheye mode and the preset list.
#include "channels/ptz_panel.h"

#include <algorithm>

#include "app/commands.h"
#include "app/protocol.h"
#include "app/wire.h"
#include "app/xml_read.h"
#include "base/lang.h"
#include "base/text.h"
#include "channels/ptz_codec.h"
#include "channels/save.h"

namespace kv::channels {
namespace {

constexpr std::array<PtzMove, kPtzButtons> kMoves = {{
    {app::cmd::kPtzPanTilt, 5}, {app::cmd::kPtzPanTilt, 3}, {app::cmd::kPtzPanTilt, 6},
    {app::cmd::kPtzPanTilt, 1}, {app::cmd::kPtzPanTilt, 2}, {app::cmd::kPtzPanTilt, 7},
    {app::cmd::kPtzPanTilt, 4}, {app::cmd::kPtzPanTilt, 8}, {app::cmd::kPtzPanTilt, 0},
    // Buttons 10 and 11 both send 0, as the service has always received them.
    {app::cmd::kPtzZoom, 1},    {app::cmd::kPtzZoom, 0},    {app::cmd::kPtzZoom, 0},
    {app::cmd::kPtzFocus, 1},   {app::cmd::kPtzFocus, 2},   {app::cmd::kPtzFocus, 0},
    {app::cmd::kPtzIris, 1},    {app::cmd::kPtzIris, 2},    {app::cmd::kPtzIris, -1},
}};

constexpr int32_t kEmptyField = 295;
constexpr int32_t kSaveFailed = 579;

bool sent(const std::string& answer) { return app::WriteAccepted(answer); }

}  // namespace

PtzMove PtzMoveOf(int index) {
    return index >= 0 && index < kPtzButtons ? kMoves[static_cast<size_t>(index)] : PtzMove{};
}

bool txtPreset_KeyPress(char c) {
    if (c == '\b') return true;
    if (static_cast<unsigned char>(c) < 0x20) return false;
    return c != '<' && c != '>' && c != '&' && c != '"' && c != '\'';
}

PtzPanel::PtzPanel(ChannelTables& tables, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
                   std::string title)
    : tables_(tables), link_(link), prompter_(prompter), lang_(lang), title_(std::move(title)) {
    for (const char* t : {"0", "1", "2", "3"}) cmbLensSource.add(t);
    cmbLensSource.index = 0;
}

int32_t PtzPanel::channel() const {
    const std::string t = cmdPtesetCH.text();
    const size_t open = t.find('[');
    return open == std::string::npos ? 0 : static_cast<int32_t>(base::LeadingNumber(t.substr(open + 1)));
}

const ChannelRecord* PtzPanel::record() const {
    const int32_t ch = channel();
    return ch >= 1 && ch <= kChannelSlots ? &tables_.strCH[static_cast<size_t>(ch - 1)] : nullptr;
}

void PtzPanel::Refresh() {
    const std::string shown = cmdPtesetCH.text();
    cmdPtesetCH.clear();
    const int32_t count = std::clamp<int32_t>(tables_.iMaxChannel, 0, kChannelSlots);
    for (int32_t ch = 1; ch <= count; ++ch) {
        const ChannelRecord& r = tables_.strCH[static_cast<size_t>(ch - 1)];
        if (r.configured() && r.PTZEnable) cmdPtesetCH.add(r.Name + " [" + std::to_string(ch) + "]");
    }
    cmdPtesetCH.select(shown);
    UpadtePTZButtonDisplay();
}

bool PtzPanel::cmdPtesetCH_Click(int item) {
    if (item < 0 || static_cast<size_t>(item) >= cmdPtesetCH.items.size()) return false;
    cmdPtesetCH.index = item;
    const int32_t ch = channel();
    const ChannelRecord* r = record();
    if (!r) return false;
    // Unsaved preset changes go with the channel change.
    setDirty(false);
    cmbPtzSpeed.clear();
    const int step = std::max<int>(r->SpeedStep, 1);
    for (int v = r->SpeedLower; v <= r->SpeedUpper; v += step) cmbPtzSpeed.add(std::to_string(v));
    if (cmbPtzSpeed.items.empty()) cmbPtzSpeed.add(std::to_string(r->SpeedLower));
    cmbPtzSpeed.index = 0;
    cmbPtzSpeed.enabled = r->SpeedLower != r->SpeedUpper;

    Load_Preset_XML(send(Get_Preset_XML(kPtzUserData, ch)), tables_.strPreset);
    selectedPreset = -1;
    txtPreset.text.clear();
    metToGridPresetList();
    bPresetFull = full();

    fisheyeMode.clear();
    fisheyePanes = 0;
    if (r->Mode4FishEye == kQuadMode) {
        fisheyeMode = GetFisheyeMode4XML(send(Get_FisheyeMode_XML(ch)));
        if (fisheyeMode != kQuadMode) {
            send(Set_FisheyeMode_XML(ch, kQuadMode));
            fisheyeMode = kQuadMode;
        }
        fisheyePanes = 4;
    }
    UpadtePTZButtonDisplay();
    return true;
}

bool PtzPanel::cmdPTZ_Click(int index) {
    const PtzMove move = PtzMoveOf(index);
    const int32_t ch = channel();
    if (ch <= 0 || move.direction < 0 || !cmdPTZ[static_cast<size_t>(index)]) return false;
    return sent(send(Get_PTZ_XML(move.id, ch, app::ToInt32(cmbLensSource.text()), move.direction, speed())));
}

bool PtzPanel::mnuEnabled(PtzMenu entry) const {
    return mnuOffered() && entry >= 0 && entry < kPtzMenuEntries && cmdPTZ[static_cast<size_t>(entry)];
}

bool PtzPanel::mnu_Click(PtzMenu entry) { return mnuEnabled(entry) && cmdPTZ_Click(static_cast<int>(entry)); }

void PtzPanel::UpadtePTZButtonDisplay() {
    cmdPTZ.fill(false);
    const ChannelRecord* r = record();
    if (!r || !r->PTZEnable) return;
    const bool diagonal = (r->Move & 8) != 0;
    const bool straight = (r->Move & (8 | 4)) != 0;
    for (int i : {0, 2, 5, 7}) cmdPTZ[static_cast<size_t>(i)] = diagonal;
    for (int i : {1, 3, 4, 6}) cmdPTZ[static_cast<size_t>(i)] = straight;
    cmdPTZ[8] = true;
    for (int i : {9, 10, 11}) cmdPTZ[static_cast<size_t>(i)] = r->Zoom > 0;
    for (int i : {12, 13, 14}) cmdPTZ[static_cast<size_t>(i)] = r->Focus > 0;
    for (int i : {15, 16}) cmdPTZ[static_cast<size_t>(i)] = r->Iris > 0;
    cmdPTZ[17] = r->AutoPan > 0;
}

bool PtzPanel::cmbPtzSpeed_Click(int item) {
    if (!cmbPtzSpeed.enabled || item < 0 || static_cast<size_t>(item) >= cmbPtzSpeed.items.size()) return false;
    cmbPtzSpeed.index = item;
    return true;
}

bool PtzPanel::cmbLensSource_Click(int item) {
    if (item < 0 || static_cast<size_t>(item) >= cmbLensSource.items.size()) return false;
    cmbLensSource.index = item;
    return true;
}

int32_t PtzPanel::speed() const {
    if (!cmbPtzSpeed.text().empty()) return app::ToInt32(cmbPtzSpeed.text());
    const ChannelRecord* r = record();
    return r ? r->SpeedLower : 0;
}

bool PtzPanel::full() const {
    return !NoPresets(tables_.strPreset) && tables_.strPreset.size() >= kPresetLimit;
}

int16_t PtzPanel::freePresetId() const {
    for (int16_t id = 1;; ++id) {
        const bool used = std::any_of(tables_.strPreset.begin(), tables_.strPreset.end(),
                                      [id](const PresetRecord& p) { return p.ID == id; });
        if (!used) return id;
    }
}

bool PtzPanel::nameUsed(const std::string& name, int except) const {
    for (size_t i = 0; i < tables_.strPreset.size(); ++i)
        if (static_cast<int>(i) != except && tables_.strPreset[i].ID >= 0 && tables_.strPreset[i].Name == name)
            return true;
    return false;
}

bool PtzPanel::cmdPreset_Click(int index) {
    const int32_t ch = channel();
    const ChannelRecord* r = record();
    if (ch <= 0 || !r) return false;
    PresetList& list = tables_.strPreset;
    const bool selected = selectedPreset >= 0 && static_cast<size_t>(selectedPreset) < list.size() &&
                          list[static_cast<size_t>(selectedPreset)].ID >= 0;
    switch (index) {
        case kPresetRemove: return selected && PresetADD(selectedPreset);
        case kPresetGoto:
        case kPresetSelect: {
            if (!selected) return false;
            const PresetRecord& p = list[static_cast<size_t>(selectedPreset)];
            const std::string answer =
                send(index == kPresetGoto ? Get_GotoPreset_XML(kPtzUserData, ch, p.ID, speed())
                                          : Get_SeletePresetPoint_XML(kPtzUserData, ch, p.ID, p.Name));
            metToGridPresetList();
            return sent(answer);
        }
        case kPresetNew: {
            if (full()) return false;
            const int16_t id = freePresetId();
            std::string name = base::Trim(txtPreset.text);
            if (name.empty() || nameUsed(name, -1)) name = "Preset " + std::to_string(id);
            PresetRecord p;
            p.ID = id;
            p.Name = name;
            p.PTZABS = r->PTZABS;
            if (NoPresets(list)) list.clear();
            list.push_back(p);
            selectedPreset = static_cast<int>(list.size() - 1);
            txtPreset.text = name;
            metToGridPresetList();
            bPresetFull = full();
            changed();
            return true;
        }
        case kPresetTake: {
            const std::string name = base::Trim(txtPreset.text);
            if (name.empty()) {
                showMessage(kEmptyField);
                return false;
            }
            if (nameUsed(name, selected ? selectedPreset : -1)) return false;
            if (!selected) {
                if (full()) return false;
                PresetRecord p;
                p.ID = freePresetId();
                if (NoPresets(list)) list.clear();
                list.push_back(p);
                selectedPreset = static_cast<int>(list.size() - 1);
            }
            PresetRecord& p = list[static_cast<size_t>(selectedPreset)];
            p.Name = name;
            p.PTZABS = r->PTZABS;
            bool ok = true;
            if (!p.PTZABS) {
                ok = sent(send(Get_StorePreset_XML(kPtzUserData, ch, p.ID, p.Name)));
            } else {
                ok = Load_PTZABS_Pos_XML(send(Get_PTZABS_Pos_XML(kPtzUserData, ch)), p);
            }
            metToGridPresetList();
            changed();
            return ok;
        }
        case kPresetReadPositions: {
            const bool ok = Load_PresetABS_XML(send(Get_PresetABS_XML(kPtzUserData, ch)), list);
            selectedPreset = -1;
            metToGridPresetList();
            bPresetFull = full();
            return ok;
        }
        default: return false;
    }
}

bool PtzPanel::img_Preset_Btn_Click(int index) {
    const int32_t ch = channel();
    if (ch <= 0) return false;
    const int n = static_cast<int>(tables_.strPreset.size());
    switch (index) {
        case kPresetSave:
            if (!SavePresetList_Setting(link_, ch, tables_.strPreset, &lastAnswer)) {
                showMessage(kSaveFailed);
                return false;
            }
            setDirty(false);
            if (onSaved) onSaved();
            return true;
        case kPresetUp:
            if (selectedPreset < 1 || selectedPreset >= n) return false;
            --selectedPreset;
            return ChangePresetArr(selectedPreset + 1, selectedPreset);
        case kPresetDown:
            if (selectedPreset < 0 || selectedPreset + 1 >= n || NoPresets(tables_.strPreset)) return false;
            ++selectedPreset;
            return ChangePresetArr(selectedPreset - 1, selectedPreset);
        default: return false;
    }
}

bool PtzPanel::gridPresetList_Click(int row) {
    if (row < 0 || static_cast<size_t>(row) >= gridPresetList.size()) return false;
    selectedPreset = row;
    txtPreset.text = tables_.strPreset[static_cast<size_t>(row)].Name;
    return true;
}

bool PtzPanel::txtPreset_Change(const std::string& value) {
    if (!std::all_of(value.begin(), value.end(), txtPreset_KeyPress)) return false;
    txtPreset.text = value;
    return true;
}

bool PtzPanel::PresetADD(int index) {
    PresetList& list = tables_.strPreset;
    if (index < 0 || static_cast<size_t>(index) >= list.size() || list[static_cast<size_t>(index)].ID < 0) return false;
    PresetList kept;
    for (size_t i = 0; i < list.size(); ++i)
        if (static_cast<int>(i) != index) kept.push_back(list[i]);
    list = kept.empty() ? EmptyPresetList() : std::move(kept);
    selectedPreset = -1;
    txtPreset.text.clear();
    metToGridPresetList();
    bPresetFull = full();
    changed();
    return SaveSetting();
}

bool PtzPanel::ChangePresetArr(int a, int b) {
    PresetList& list = tables_.strPreset;
    const int n = static_cast<int>(list.size());
    if (a < 0 || b < 0 || a >= n || b >= n) return false;
    std::swap(list[static_cast<size_t>(a)], list[static_cast<size_t>(b)]);
    metToGridPresetList();
    changed();
    return SaveSetting();
}

void PtzPanel::metToGridPresetList() {
    gridPresetList.clear();
    for (const PresetRecord& p : tables_.strPreset)
        if (p.ID >= 0) gridPresetList.push_back({std::to_string(p.ID), p.Name});
}

void PtzPanel::changed() { setDirty(true); }

void PtzPanel::setDirty(bool dirty) {
    const bool was = bDirty_;
    bDirty_ = dirty;
    if (was != dirty && onDirtyChanged) onDirtyChanged(dirty);
}

std::string PtzPanel::send(const std::string& command, bool wait) {
    lastAnswer = link_.SendCommand(0, wait, command);
    return lastAnswer;
}

void PtzPanel::showMessage(int32_t textId) {
    prompter_.box(app::BoxKind::Notice, lang_.GetText(textId), title_);
}

}  // namespace kv::channels
