// The rule view: what happens when an event of a channel fires (event -> action group -> each
// destination), and the reverse (which events end in a destination). Read-only, from the loaded
// tables.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/app_tables.h"
#include "base/lang.h"
#include "events/records.h"
#include "pos/records.h"

namespace kv::events {

/// One destination a group reaches.
struct RuleDestination {
    int kind = kMail;  // kMail .. kSOP
    int16_t id = -1;
    std::string text;   // as the group tab's combos show it (" Mail # 2" ...)
    bool missing = false;  // the group names an entry its list does not have
    bool operator==(const RuleDestination&) const = default;
};

/// The chain of one event action.
struct RuleChain {
    int32_t ch = 0;
    std::string event;      // the code as text
    std::string eventName;  // GetEventName
    int16_t group = -1;
    std::string groupName;  // empty when the group is gone
    bool record = false, osd = false;
    bool digitalOut = false, preset = false;
    int16_t digitalOutID = 0, presetDest = 0;
    std::vector<RuleDestination> destinations;
    bool operator==(const RuleChain&) const = default;
};

/// The chains of every action of channel `ch` (all channels for 0), in table order; with `event`
/// not empty only that event's. Records with a negative ID are not actions.
std::vector<RuleChain> RulesOf(const EventTables& tables, int32_t ch, std::string_view event,
                               std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers,
                               const base::Language& lang);
/// The chains that end in destination `id` of `kind`.
std::vector<RuleChain> RulesReaching(const EventTables& tables, int kind, int16_t id,
                                     std::span<const base::EventTypeName> types,
                                     const pos::POSTriggerEventList& triggers, const base::Language& lang);

}  // namespace kv::events
