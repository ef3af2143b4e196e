// Event codes and their names: the fixed event types of the start-up table, and the POS trigger
// events whose code is 4109 + the trigger's id.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/app_tables.h"
#include "base/lang.h"
#include "pos/records.h"

namespace kv::events {

/// The codes of a POS trigger event are 4109 + its id; the grid treats 4110..4138 as POS events.
inline constexpr int32_t kPOSEventBase = 4109;
/// The event of the table's last row (text 669): its trigger is a POS trigger too.
inline constexpr int32_t kPOSEvent = 4101;
inline constexpr int32_t kPOSTriggerText = 695;

/// True for 4101 and 4110..4138: the trigger combo lists POS triggers for them.
bool IsPOSEventCode(int32_t code);

/// What the grid shows for a code: the type's name, else text 695 ":" id "[" name "]" of the POS
/// trigger with id code - 4109, else "-1".
std::string GetEventName(std::string_view code, std::span<const base::EventTypeName> types,
                         const pos::POSTriggerEventList& triggers, const base::Language& lang);
/// The inverse: with no ":" the type whose name is exactly `name` (-1 when none); with ":" the
/// number in front of "[" in the second piece plus 4109. A name made in another language gives -1.
int32_t GetEventCode(std::string_view name, std::span<const base::EventTypeName> types);
/// The picture of an event: "E" + code, "E4110" for every code above 4109 and below 4200.
std::string EventIconKey(std::string_view code);

}  // namespace kv::events
