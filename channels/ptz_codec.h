// PTZ moves, presets and the fisheye mode: the commands and the readers of their replies.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "channels/records.h"

namespace kv::channels {

/// The UserData the channel page gives the commands whose answers it tells apart by it.
inline constexpr std::string_view kPtzUserData = "Form_Config_Main";

/// 12289 pan and tilt, 12290 zoom, 12291 focus, 12292 iris (no UserData).
std::string Get_PTZ_XML(int32_t id, int32_t ch, int32_t target, int32_t direction, int32_t speed);
/// 12294: go to a preset.
std::string Get_GotoPreset_XML(std::string_view userData, int32_t ch, int32_t preset, int32_t speed);
/// 12297: the camera's present absolute position.
std::string Get_PTZABS_Pos_XML(std::string_view userData, int32_t ch);
/// 12298: store the present position as a preset on the camera.
std::string Get_StorePreset_XML(std::string_view userData, int32_t ch, int32_t id, std::string_view name);
/// 12300: select a preset point.
std::string Get_SeletePresetPoint_XML(std::string_view userData, int32_t ch, int32_t id, std::string_view name);
/// 4101: the preset list of a channel.
std::string Get_Preset_XML(std::string_view userData, int32_t ch);
/// 8199: the absolute preset positions of a channel.
std::string Get_PresetABS_XML(std::string_view userData, int32_t ch);
/// 12302: the fisheye mode (no UserData).
std::string Get_FisheyeMode_XML(int32_t ch);
/// 12303: set the fisheye mode (no UserData).
std::string Set_FisheyeMode_XML(int32_t ch, std::string_view mode);
/// 32814: the whole preset list of a channel; blank entries are left out.
std::string Set_PresetList_XML(int32_t ch, const PresetList& list);

/// Reads a 4101 reply into `list` (reset to its blank entry first). A reply that says "ERROR",
/// has a negative return code or is no XML leaves the list empty and answers false.
bool Load_Preset_XML(std::string_view xml, PresetList& list);
/// Reads an 8199 reply: the same list with the positions the camera gave.
bool Load_PresetABS_XML(std::string_view xml, PresetList& list);
/// Takes `Pan`, `Tilt`, `Zoom`, `Focus` of a 12297 reply into `preset`; elements missing from the
/// reply leave the preset's values. False when the reply is no XML or refused.
bool Load_PTZABS_Pos_XML(std::string_view xml, PresetRecord& preset);
/// The mode of a 12302 reply; empty when it gives none.
std::string GetFisheyeMode4XML(std::string_view xml);

}  // namespace kv::channels
