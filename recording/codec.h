// Reading and writing the recording settings (32783/32784), the week schedules (32808/32782),
// storage (32785/32786), the service's disks (32815) and its folders (32816).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/records.h"

namespace pugi {
class xml_document;
}

namespace kv::recording {

/// 32783. `count` 0: the login's empty `Param`; else a `CHList` of channels 1..count, as the
/// channel detail asks (the reload after a save).
std::string Get_RecSetting_XML(int32_t count = 0);
/// 32784 for one entry: `CH`, the four mode blocks, then the channel-level `PreAlarmLength`,
/// `DualMode`, `FMT`, `Size`, `FPS`, `Quality`, `RateControl`, `BitRate`, `GOP`. Flags go out 1/0.
std::string Set_RecSet_XML(const RecSetRecord& r);
/// 32808 with an empty `Param`.
std::string Get_RecSCDLSetting_XML();
/// 32782 for one week: `CH`, then `EnableList` with `<Enable Day="d">` for d 0..6 rising.
std::string Set_RecSCDL_XML(const RecSCDLRecord& r);
/// 32785 with an empty `Param`.
std::string Get_RECPathInfo_XML();
/// 32786: `RetainTime` in hours, `ReservedSpace` in megabytes, then one `FilePath` for each row
/// that is sent (an `ID` of 0 or more and no "REMOVE" mark), each with its closing "\".
std::string Set_Storage_XML(const StorageList& rows, int32_t retainDays, int32_t reservedGB);
/// 32815 with an empty `Param`.
std::string Get_HDPathSetting_XML();
/// 32816: `ParentPath` with the caller's `UserData`.
std::string Get_DirList_XML(std::string_view userData, std::string_view path);

/// Hours to days and megabytes to gigabytes, halves to even (36 h and 60 h are 2 days).
int32_t HoursToDays(int64_t hours);
int32_t MegabytesToGB(int64_t megabytes);
/// A folder path with its closing "\" (an empty path stays empty).
std::string WithClosingBackslash(std::string_view path);

/// Fills the entries of the channels a 32783 reply holds (by `CH`, 1..64). `Active` other than 0
/// reads -1; the bit rate is read from `Bitrate`; `GOP` is not read and keeps what the entry had.
/// False when the reply does not read or its RET is not 0 (the table stays as it was).
bool Load_RecSetting_XML(const pugi::xml_document& reply, RecSetTable& table);
bool Load_RecSetting_XML(std::string_view xml, RecSetTable& table);
/// Fills the day strings of a 32808 reply. RET must be 0. Each `Enable` of `EnableList` is read
/// attribute by attribute in document order: `CH` selects the entry, `Day` sets that day from the
/// element's text (so a `Day` before any `CH` lands in the entry the previous element selected).
bool Load_RecSCDL_XML(const pugi::xml_document& reply, RecSCDLTable& table);
bool Load_RecSCDL_XML(std::string_view xml, RecSCDLTable& table);
/// Reads a 32785 reply: retention (hours to days), reserve (MB to GB) and one row a `FilePath`
/// (`ID` its position). What the reply lacks stays as it was.
bool Load_RecPath_XML(const pugi::xml_document& reply, StorageList& rows, int32_t& retainDays, int32_t& reservedGB);
bool Load_RecPath_XML(std::string_view xml, StorageList& rows, int32_t& retainDays, int32_t& reservedGB);
/// Resets the disk list to its blank entry, then one row a disk of a 32815 reply.
bool Load_GetHDPath_XML(const pugi::xml_document& reply, HDPathList& disks);
bool Load_GetHDPath_XML(std::string_view xml, HDPathList& disks);
/// Appends the folders of a 32816 reply to `list` (modification times to seconds since 1970/1/1)
/// and gives its `UserData`. False on RET other than 0 or a reply without `DirectoryList`.
bool Load_DirList_XML(const pugi::xml_document& reply, HDPathList& list, std::string* userData = nullptr);
bool Load_DirList_XML(std::string_view xml, HDPathList& list, std::string* userData = nullptr);
/// Drops the entries that repeat `parent` (with or without the closing "\", letters case-blind).
void FilterExitParentPath(HDPathList& list, std::string_view parent);
/// The disk row of a path by its drive letter (case-blind); -1 when no disk has it.
int32_t GetHDPathID(const HDPathList& disks, std::string_view path);

}  // namespace kv::recording
