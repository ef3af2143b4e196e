// How the write commands change the stored documents: one update per kind of write, named in the
// command table. Each takes the row (its key and element names), the Param element and the current
// documents, and gives the changed documents; nothing when the service refuses the write.
#pragma once

#include "sim/commands.h"

namespace kv::sim::update {

using Documents = SimStore::Documents;

/// The Param elements named by the row, in the order written; the first one must be there.
Documents wholeDocument(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// A destination list or the action groups (the row's elements: the list's name), stored in the
/// form the client writes them; refused with more than ten entries, or an ID that is no number
/// 1..32767 or stands twice.
Documents eventList(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// The written fields of the server information over the stored ones.
Documents serverInfo(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's entry of the recording settings.
Documents recSettings(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's seven days of a schedule.
Documents schedule(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's recording week: refused unless it has the days 0..6 once each, every one 96 slots
/// of "0" or "1".
Documents recSchedule(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// The storage setting, whole: refused unless `RetainTime` and `ReservedSpace` are whole numbers
/// 0..2147483647 and every `FilePath` closes with "\".
Documents storage(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's entry in each analytics list written.
Documents analytics(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's motion or face-counting mask.
Documents mask(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's rectangles, all of them kept.
Documents rectangles(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// One channel's lines and polygon; the all-zero element that stands for "no line" is dropped.
Documents lines(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// The map's groups and cameras, as two documents.
Documents emap(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);

/// A channel added, changed, or removed (CH alone: only its slot is cleared).
Documents commitChannel(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents presetList(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents storePreset(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// A PTZ move along the axis of the row's id.
Documents move(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents gotoPreset(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents fisheyeMode(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);

/// Lists of entries with an `<ID>` child (the row's elements: list and entry name): an added entry
/// gets the next free id, a change replaces the entry of its ID, a removal drops it.
Documents addEntry(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents changeEntry(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents removeEntry(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
/// POS filter profiles: the list entry (ID, Name) and the profile's own document "32833.<id>".
Documents addProfile(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents changeProfile(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);
Documents removeProfile(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);

/// The largest `<ID>` of the entries of a list document; 0 when there are none.
int largestId(const std::optional<std::string>& body, const char* list);

}  // namespace kv::sim::update
