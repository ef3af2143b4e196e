// The PTZ panel of the channel page as data: the channel choice, the direction pad and lens
// buttons, the speed, the fisheye mode and the preset list with its buttons.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "channels/records.h"
#include "app/controls.h"
#include "app/prompter.h"
#include "link/service_link.h"

namespace kv::base {
class Language;
}

namespace kv::channels {

inline constexpr int kPtzButtons = 18;
/// The fisheye mode the panel puts the camera in.
inline constexpr std::string_view kQuadMode = "quad";

/// The command of a `cmdPTZ` button and its `Direction`; -1 for a button without one.
struct PtzMove {
    int32_t id = 0;
    int32_t direction = -1;
};
/// The button table: 0..8 the direction pad (left-top, top, right-top, left, right, left-down,
/// down, right-down, centre), 9..11 zoom, 12..14 focus, 15 and 16 iris, 17 without a direction.
PtzMove PtzMoveOf(int index);

/// The entries of the video view's pop-up menu, which send the moves of pad buttons 0..8.
enum PtzMenu : int { mnu_LeftTop = 0, mnu_Top, mnu_RightTop, mnu_Left, mnu_Right, mnu_LeftDown, mnu_Down,
                     mnu_RightDown, mnu_Direct };
inline constexpr int kPtzMenuEntries = 9;

/// The buttons of the preset list.
enum PresetButton : int { kPresetRemove = 0, kPresetGoto, kPresetSelect, kPresetNew, kPresetTake,
                          kPresetReadPositions };
/// The buttons of `img_Preset_Btn`: save the list, move the selected row up or down.
enum PresetListButton : int { kPresetSave = 0, kPresetUp, kPresetDown };

/// True for the characters a preset name may hold (no markup characters, no control characters
/// other than backspace).
bool txtPreset_KeyPress(char c);

class PtzPanel {
public:
    PtzPanel(ChannelTables& tables, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
             std::string title);

    app::ComboBox cmdPtesetCH;    // "name [ch]" for each configured channel with PTZ
    app::ComboBox cmbPtzSpeed;
    app::ComboBox cmbLensSource;  // the Target of a move
    std::array<bool, kPtzButtons> cmdPTZ{};
    /// One row per preset: ID, Name.
    std::vector<std::array<std::string, 2>> gridPresetList;
    int selectedPreset = -1;  // index into strPreset
    app::TextField txtPreset;
    bool bPresetFull = false;
    std::string fisheyeMode;  // the mode the camera reported, for a channel in quad mode
    int fisheyePanes = 0;     // 4 while the camera shows quad panes
    /// The preset area's dirty flag (slot 10) changed.
    std::function<void(bool)> onDirtyChanged;
    /// The list reached the service (a save, or a remove or move that saves).
    std::function<void()> onSaved;

    bool dirty() const { return bDirty_; }
    /// The channel of `cmdPtesetCH`: the number behind "[", 0 when none is chosen.
    int32_t channel() const;
    /// What the buttons offer: a chosen channel; a selected preset; room for one more; a list to save.
    bool channelChosen() const { return channel() > 0; }
    bool presetChosen() const { return channel() > 0 && selectedPreset >= 0; }
    bool canAddPreset() const { return channel() > 0 && !bPresetFull; }
    bool canSavePresets() const { return channel() > 0 && dirty(); }

    /// Fills the channel combo from the table.
    void Refresh();
    /// Chooses a channel: speeds, its presets (4101) and, for a camera in quad mode, the fisheye branch.
    bool cmdPtesetCH_Click(int item);
    /// A move; button 17 sends nothing.
    bool cmdPTZ_Click(int index);
    /// The pop-up menu: offered while a channel is chosen; an entry is enabled and sends as its
    /// pad button does.
    bool mnuOffered() const { return channelChosen(); }
    bool mnuEnabled(PtzMenu entry) const;
    bool mnu_Click(PtzMenu entry);
    /// Enables the buttons by the channel's capabilities.
    void UpadtePTZButtonDisplay();
    bool cmbPtzSpeed_Click(int item);
    bool cmbLensSource_Click(int item);

    /// 0 remove, 1 go to, 2 select the point, 3 new, 4 take the name and the position, 5 read the
    /// absolute positions.
    bool cmdPreset_Click(int index);
    /// 0 save the list (the save procedure of slot 10), 1 move up, 2 move down.
    bool img_Preset_Btn_Click(int index);
    bool gridPresetList_Click(int row);
    bool txtPreset_Change(const std::string& text);
    /// The list without entry `index`, saved.
    bool PresetADD(int index);
    /// Swaps two entries and saves.
    bool ChangePresetArr(int a, int b);
    /// The save procedure of the preset area (dirty slot 10).
    bool SaveSetting() { return img_Preset_Btn_Click(kPresetSave); }

    /// The service's text for the last command the panel sent.
    std::string lastAnswer;

private:
    const ChannelRecord* record() const;
    void metToGridPresetList();
    bool full() const;
    int16_t freePresetId() const;
    bool nameUsed(const std::string& name, int except) const;
    int32_t speed() const;
    void setDirty(bool dirty);
    void changed();
    std::string send(const std::string& command, bool wait = true);
    void showMessage(int32_t textId);

    ChannelTables& tables_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    bool bDirty_ = false;
};

}  // namespace kv::channels
