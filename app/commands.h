// Every command id the client knows, by the service's numbering (high part: 4096 query,
// 8192 device, 12288 preset, 24576 channel, 28672 export, 32768 setting, 36864 log,
// 40960 status, 45056 counting log), with the UserData values it sends.
#pragma once

#include <cstdint>
#include <string_view>

namespace kv::app::cmd {

inline constexpr int32_t kGetEMapNode = 4098;           // query e-map nodes of one kind (Type)
inline constexpr int32_t kGetServiceInfo = 4100;        // query server information
inline constexpr int32_t kGetPresets = 4101;            // read presets of a channel (form D)
inline constexpr int32_t kGetUserGroupOfUser = 4109;    // the group of a user name (UserName)
inline constexpr int32_t kDetectDevice = 8193;          // read a device's settings for adding it
inline constexpr int32_t kSearchCameras = 8194;         // start camera search (form C)
inline constexpr int32_t kGetPresetPositions = 8199;    // absolute preset positions of a channel (form D)
inline constexpr int32_t kPtzPanTilt = 12289;           // PTZ pan and tilt (CH, Target, Direction, Speed)
inline constexpr int32_t kPtzZoom = 12290;
inline constexpr int32_t kPtzFocus = 12291;
inline constexpr int32_t kPtzIris = 12292;
inline constexpr int32_t kGotoPreset = 12294;           // go to a preset (CH, Preset, Speed)
inline constexpr int32_t kGetPtzPosition = 12297;       // the camera's present absolute position (form D)
inline constexpr int32_t kStorePreset = 12298;          // store a preset (CH, ID, Name)
inline constexpr int32_t kSelectPresetPoint = 12300;    // select preset point (CH, ID, Name)
inline constexpr int32_t kGetFisheyeMode = 12302;       // read fisheye mode (CH)
inline constexpr int32_t kSetFisheyeMode = 12303;       // set fisheye mode (CH, Mode4FishEye)
inline constexpr int32_t kPreviewCamera = 22546;        // preview a camera that is not yet a channel
inline constexpr int32_t kGetChannelStatus = 24578;     // poll channel status (form C)
inline constexpr int32_t kCommitChannel = 24581;        // add, change (full body) or remove (CH alone) a channel
inline constexpr int32_t kGetChannelDetail = 24582;     // detail of channels (CHList)
inline constexpr int32_t kExportAvi = 28677;            // export AVI (WritePath, BeginTime, EndTime, CHList)
inline constexpr int32_t kSetMailServers = 32769;
inline constexpr int32_t kSetFtpServers = 32770;
inline constexpr int32_t kSetHttpServers = 32771;
inline constexpr int32_t kGetMailServers = 32772;
inline constexpr int32_t kGetFtpServers = 32773;
inline constexpr int32_t kGetHttpServers = 32774;
inline constexpr int32_t kSetEventActions = 32775;
inline constexpr int32_t kSetActionGroups = 32776;
inline constexpr int32_t kGetEventActions = 32777;
inline constexpr int32_t kGetActionGroups = 32778;
inline constexpr int32_t kSetSoundFiles = 32779;
inline constexpr int32_t kGetSoundFiles = 32780;
inline constexpr int32_t kSetRecSchedule = 32782;
inline constexpr int32_t kGetRecSettings = 32783;
inline constexpr int32_t kSetRecSettings = 32784;
inline constexpr int32_t kGetStorage = 32785;           // storage paths and retention
inline constexpr int32_t kSetStorage = 32786;
inline constexpr int32_t kGetAnalytics = 32787;
inline constexpr int32_t kSetAnalytics = 32789;
inline constexpr int32_t kServiceInfoPushed = 32790;    // response only: server information
inline constexpr int32_t kSaveServiceInfo = 32791;
inline constexpr int32_t kGetObjectLossRoi = 32792;
inline constexpr int32_t kSetObjectLossRoi = 32793;
inline constexpr int32_t kGetMotionRoi = 32794;
inline constexpr int32_t kSetMotionRoi = 32795;
inline constexpr int32_t kGetTripwireRoi = 32796;
inline constexpr int32_t kSetTripwireRoi = 32797;
inline constexpr int32_t kGetSopList = 32799;
inline constexpr int32_t kSetSopList = 32800;
inline constexpr int32_t kGetUsers = 32801;             // form C
inline constexpr int32_t kSetUsers = 32802;
inline constexpr int32_t kGetUserGroups = 32803;
inline constexpr int32_t kSetUserGroups = 32804;
inline constexpr int32_t kGetTcpServers = 32805;
inline constexpr int32_t kSetTcpServers = 32806;
inline constexpr int32_t kSetEMap = 32807;
inline constexpr int32_t kGetRecSchedule = 32808;
inline constexpr int32_t kGetEventSchedule = 32809;
inline constexpr int32_t kSetEventSchedule = 32810;
inline constexpr int32_t kGetObjectCountingRoi = 32811; // form C
inline constexpr int32_t kSetObjectCountingRoi = 32812;
inline constexpr int32_t kSettingsSaved = 32813;        // sent after settings were saved, at leaving (form C)
inline constexpr int32_t kSetPresets = 32814;
inline constexpr int32_t kGetDiskSizes = 32815;         // FreeSpaceGB, TotalSpaceGB
inline constexpr int32_t kListFolders = 32816;          // folders under ParentPath
inline constexpr int32_t kGetFaceCountingRoi = 32820;
inline constexpr int32_t kSetFaceCountingRoi = 32821;
inline constexpr int32_t kRunSimulator = 32822;         // analytics simulator (CH, Type, ...)
inline constexpr int32_t kGetPosDevices = 32824;        // form C
inline constexpr int32_t kAddPosDevice = 32825;
inline constexpr int32_t kChangePosDevice = 32826;
inline constexpr int32_t kRemovePosDevice = 32827;
inline constexpr int32_t kGetPosTriggers = 32828;       // form C
inline constexpr int32_t kAddPosTrigger = 32829;
inline constexpr int32_t kChangePosTrigger = 32830;
inline constexpr int32_t kRemovePosTrigger = 32831;
inline constexpr int32_t kGetPosProfiles = 32832;       // form C
inline constexpr int32_t kGetPosProfile = 32833;        // one profile; UserData "ID=" + id
inline constexpr int32_t kAddPosProfile = 32834;
inline constexpr int32_t kChangePosProfile = 32835;
inline constexpr int32_t kRemovePosProfile = 32836;
inline constexpr int32_t kGetDdns = 32837;              // form C
inline constexpr int32_t kSetDdns = 32838;
inline constexpr int32_t kOpenLogQuery = 36865;         // answer holds QueryID; form C'
inline constexpr int32_t kCloseLogQuery = 36866;
inline constexpr int32_t kLogSearchFirst = 36867;
inline constexpr int32_t kLogSearchNext = 36868;
inline constexpr int32_t kGetServiceStatus = 40961;     // form C
inline constexpr int32_t kChannelCommitted = 40963;     // sent after a channel was committed (form C)
inline constexpr int32_t kConfigEnding = 40964;         // sent last before logout (form C)
inline constexpr int32_t kStartPosCapture = 40992;
inline constexpr int32_t kStopPosCapture = 40993;
inline constexpr int32_t kGetComPorts = 40994;          // form C
inline constexpr int32_t kGetDdnsStatus = 40995;        // form C
inline constexpr int32_t kCheckDdns = 40996;
inline constexpr int32_t kOpenCountingQuery = 45057;    // answer holds QueryID; form C'
inline constexpr int32_t kCloseCountingQuery = 45058;
inline constexpr int32_t kCheckPort = 1183748;          // 0x121004: is a port free (Type, Port)

}  // namespace kv::app::cmd

namespace kv::app::userdata {
inline constexpr std::string_view kConfigAp = "CONFIG_AP";
inline constexpr std::string_view kFormMain = "Form_Main";
inline constexpr std::string_view kFormGetRemoteData = "formGetRemoteData";
inline constexpr std::string_view kMapSetting = "Map_Setting";
inline constexpr std::string_view kProfileIdPrefix = "ID=";
}  // namespace kv::app::userdata
