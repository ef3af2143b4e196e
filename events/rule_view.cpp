// The rule view's chains, from the loaded tables.
#include "events/rule_view.h"

#include <algorithm>

#include "events/event_names.h"
#include "events/group_tab.h"

namespace kv::events {
namespace {

// The box of the group form for a destination kind.
constexpr int kBoxOfKind[kKindCount] = {ActionGroupTab::kBoxMail, ActionGroupTab::kBoxFTP, ActionGroupTab::kBoxHTTP,
                                        ActionGroupTab::kBoxTCP,  ActionGroupTab::kBoxSound, ActionGroupTab::kBoxSOP};

template <class List>
bool listHas(const List& list, int16_t id) {
    return std::any_of(list.begin(), list.end(), [id](const auto& r) { return r.ID >= 0 && r.ID == id; });
}

bool destinationExists(const EventTables& t, int kind, int16_t id) {
    switch (kind) {
        case kMail: return listHas(t.strMailServer, id);
        case kFTP: return listHas(t.strFTPServer, id);
        case kHTTP: return listHas(t.strHTTPServer, id);
        case kTCP: return listHas(t.strTCPServer, id);
        case kWarning: return listHas(t.strSoundFile, id);
        default: return listHas(t.strSOPContact, id);
    }
}

RuleChain chainOf(const EventTables& t, const EventActionRecord& a, std::span<const base::EventTypeName> types,
                  const pos::POSTriggerEventList& triggers, const base::Language& lang) {
    RuleChain c;
    c.ch = a.CH;
    c.event = a.Event;
    c.eventName = GetEventName(a.Event, types, triggers, lang);
    c.group = a.ActionGroup;
    c.digitalOut = a.DigitalOut;
    c.preset = a.Preset;
    c.digitalOutID = a.DigitalOutID;
    c.presetDest = a.PresetDest;
    const auto g = std::find_if(t.strEventGroup.begin(), t.strEventGroup.end(),
                                [&](const EventGroupRecord& r) { return r.ID >= 0 && r.ID == a.ActionGroup; });
    if (g == t.strEventGroup.end()) return c;
    c.groupName = g->Name;
    c.record = g->Record;
    c.osd = g->OSD;
    for (int kind = 0; kind < kKindCount; ++kind) {
        const int box = kBoxOfKind[kind];
        if (!GroupHasBox(*g, box)) continue;
        RuleDestination d;
        d.kind = kind;
        d.id = GroupBoxDest(*g, box);
        d.text = GroupBoxItem(*g, box);
        d.missing = !destinationExists(t, kind, d.id);
        c.destinations.push_back(std::move(d));
    }
    return c;
}

}  // namespace

std::vector<RuleChain> RulesOf(const EventTables& tables, int32_t ch, std::string_view event,
                               std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers,
                               const base::Language& lang) {
    std::vector<RuleChain> out;
    for (const EventActionRecord& a : tables.strEventAction) {
        if (a.ID < 0 || a.Removed || (ch != 0 && a.CH != ch) || (!event.empty() && a.Event != event)) continue;
        out.push_back(chainOf(tables, a, types, triggers, lang));
    }
    return out;
}

std::vector<RuleChain> RulesReaching(const EventTables& tables, int kind, int16_t id,
                                     std::span<const base::EventTypeName> types,
                                     const pos::POSTriggerEventList& triggers, const base::Language& lang) {
    std::vector<RuleChain> out;
    for (RuleChain& c : RulesOf(tables, 0, {}, types, triggers, lang)) {
        const bool reaches = std::any_of(c.destinations.begin(), c.destinations.end(),
                                         [&](const RuleDestination& d) { return d.kind == kind && d.id == id; });
        if (reaches) out.push_back(std::move(c));
    }
    return out;
}

}  // namespace kv::events
