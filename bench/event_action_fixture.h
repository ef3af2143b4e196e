// A full event action table for the benchmarks: 64 configured channels with inputs and outputs,
// every event kind on every channel (960 rows), eight action groups.
#pragma once

#include <string>

#include "base/app_tables.h"
#include "channels/records.h"
#include "events/records.h"
#include "pos/records.h"

namespace kv::bench {

struct FullActionTable {
    channels::ChannelTables channels;
    events::EventTables tables;
    pos::POSTriggerEventList triggers = pos::POSTriggerEventList(1);

    explicit FullActionTable(const base::AppTables& app) {
        for (int i = 0; i < 64; ++i) {
            channels::ChannelRecord& c = channels.strCH[static_cast<size_t>(i)];
            c.IP = "10.0.0." + std::to_string(i + 1);
            c.Name = "Camera " + std::to_string(i + 1);
            c.NumberDI = 2;
            c.NumberDO = 2;
            c.DILow = c.DIHigh = c.DIEdge = true;
        }
        tables.strEventGroup.clear();
        for (int16_t g = 1; g <= 8; ++g) {
            events::EventGroupRecord r;
            r.ID = g;
            r.Name = "Group " + std::to_string(g);
            r.Record = true;
            r.Mail = g % 2 == 0;
            tables.strEventGroup.push_back(r);
        }
        tables.strEventAction.clear();
        for (int16_t ch = 1; ch <= 64; ++ch) {
            for (const base::EventTypeName& t : app.eventTypes) {
                events::EventActionRecord a;
                a.ID = static_cast<int16_t>(tables.strEventAction.size() + 1);
                a.CH = ch;
                a.Event = std::to_string(t.code);
                a.ActionGroup = static_cast<int16_t>(1 + (ch + t.code) % 8);
                a.TriggerID = t.code <= 3 ? 0 : -1;
                a.DigitalOut = ch % 3 == 0;
                a.DigitalOutID = 1;
                tables.strEventAction.push_back(a);
            }
        }
    }
};

}  // namespace kv::bench
