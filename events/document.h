// The event sections of kelvarra-ctl's documents: the six destination lists ("strMailServer",
// "strFTPServer", "strHTTPServer", "strTCPServer", "strSoundFile", "strSOPContact") and the
// action groups ("strEventGroup").
#pragma once

#include <memory>

#include "app/document.h"
#include "events/records.h"

namespace kv::events {

struct EventRun;

class EventDocument final : public app::DocumentPart {
public:
    explicit EventDocument(EventTables& tables);
    ~EventDocument() override;

    std::vector<std::string> names() const override;
    void dump(app::Json& doc, const app::DumpForm& form) const override;
    void stage(const app::Json& doc, app::Stage& stage) override;
    std::vector<std::string> plan() const override;
    /// The changed destination lists in kind order, then the groups; the groups go before a list
    /// that drops a destination a loaded group names, so the service never holds a reference to
    /// a destination it no longer has.
    void saves(app::Stage& stage, std::vector<app::PendingSave>& out) override;

    /// The loaded tables (kelvarra-ctl's test-destination reads them).
    const EventTables& tables() const { return tables_; }

private:
    EventTables& tables_;
    std::unique_ptr<EventRun> run_;
};

}  // namespace kv::events
