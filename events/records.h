// The event action table: per channel and event, the action group and the extras the service runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv::events {

struct EventActionRecord {
    int16_t ID = -1;  // position in the loaded list plus 1; -1: the blank record of an empty table
    int16_t CH = 0;   // 1-based
    std::string Event;  // the event code in decimal, kept as text
    int16_t ActionGroup = -1;
    int16_t TriggerID = -1;  // -1: N/A
    bool DigitalOut = false;
    bool Preset = false;
    int16_t DigitalOutID = 0;
    int16_t DigitalOutState = 0;  // 0 CLOSE, 1 OPEN
    int16_t DODuration = 0;
    int16_t PresetDest = 0;
    bool Removed = false;
    bool operator==(const EventActionRecord&) const = default;
};

/// One blank record when empty.
using EventActionList = std::vector<EventActionRecord>;

}  // namespace kv::events
