// The event sections of kelvarra-ctl's documents: the six destination lists ("strMailServer",
// "strFTPServer", "strHTTPServer", "strTCPServer", "strSoundFile", "strSOPContact"), the action
// groups ("strEventGroup"), the event actions ("strEventAction", keyed by channel and event) and
// the event schedule ("strEventSCDL", one week a configured channel).
#pragma once

#include <memory>
#include <span>

#include "app/document.h"
#include "base/app_tables.h"
#include "channels/records.h"
#include "events/records.h"
#include "pos/records.h"

namespace kv::events {

struct EventRun;

class EventDocument final : public app::DocumentPart {
public:
    /// `channels` decides which channels the actions and the schedule offer; `types` and
    /// `triggers` name the events (the start-up table's types, the POS trigger events).
    EventDocument(EventTables& tables, const channels::ChannelTables& channels,
                  std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers);
    ~EventDocument() override;

    std::vector<std::string> names() const override;
    void dump(app::Json& doc, const app::DumpForm& form) const override;
    void stage(const app::Json& doc, app::Stage& stage) override;
    std::vector<std::string> plan() const override;
    /// As the shell's save of every area: the changed destination lists in kind order, the groups,
    /// each changed week, the event actions. The groups go before a list that drops a destination
    /// a loaded group names, and the actions before groups that drop a group a loaded action runs,
    /// so the service never holds a reference to something it no longer has.
    void saves(app::Stage& stage, std::vector<app::PendingSave>& out) override;

    /// The loaded tables (kelvarra-ctl's test-destination reads them).
    const EventTables& tables() const { return tables_; }

private:
    EventTables& tables_;
    const channels::ChannelTables& channels_;
    std::span<const base::EventTypeName> types_;
    const pos::POSTriggerEventList& triggers_;
    std::unique_ptr<EventRun> run_;
};

}  // namespace kv::events
