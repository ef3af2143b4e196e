// The events subject: the readers of the destination lists, the action groups, the event actions,
// the event schedule and the POS trigger events the actions name; the Event Handling page and its
// place in the shell (menu entry 3; areas 3 destinations, 4 groups, 5 schedule, 6 actions), the
// reactions to a removed channel, the destination test, and its kelvarra-ctl sections.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "app/subject.h"
#include "base/app_tables.h"
#include "channels/records.h"
#include "events/destination_test.h"
#include "events/page.h"
#include "events/records.h"
#include "pos/records.h"

namespace kv::events {

class SoundPlayer;

class EventsSubject final : public app::Subject {
public:
    /// The subject keeps its tables; the login reads them without waiting.
    /// `channels` are read only: the action and schedule tabs offer the configured channels.
    EventsSubject(const channels::ChannelTables& channels, const app::SubjectServices& services);
    ~EventsSubject() override;

    std::string name() const override { return "events"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void registerRemoval(app::ChannelRemoval& removal) override;
    void resetBeforeLoad() override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    EventTables& tables() { return tables_; }
    /// The start-up table's event types in the language of the session.
    std::span<const base::EventTypeName> eventTypes() const { return appTables_.eventTypes; }
    /// The POS trigger events, read at login: event sources of the action table.
    const pos::POSTriggerEventList& posTriggers() const { return posTriggers_; }
    /// The page model; null before the configuration opens.
    EventPage* page() const { return page_.get(); }

    /// The menu entry.
    void open();
    /// Runs an action of the page; the shell's two areas follow the tabs afterwards, and a list
    /// that reached the service marks the configuration changed.
    bool act(const std::function<bool()>& action);
    /// The saves of areas 3, 4, 5 and 6 (their buttons' procedures).
    bool saveServers();
    bool saveGroups();
    bool saveSchedule();
    bool saveActions();
    /// The desktop client's sound player (none: the sound test says so).
    void setSoundPlayer(SoundPlayer* player);
    /// The test of a destination of a kind from this machine, to run on any thread: it works on a
    /// copy of the lists taken now, since they may be saved or reloaded meanwhile. Nothing goes
    /// to the service.
    std::function<ProbeReport()> destinationTest(int kind, int16_t id,
                                                 std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    /// After any action of the page: the shell's areas follow the tabs.
    void syncShell();

private:
    void arrived();

    EventTables tables_;
    const channels::ChannelTables& channels_;
    app::SubjectServices services_;
    base::AppTables appTables_;
    pos::POSTriggerEventList posTriggers_ = pos::POSTriggerEventList(1);
    app::ShellPort* shell_ = nullptr;
    std::unique_ptr<EventPage> page_;
    SoundPlayer* player_ = nullptr;
};

}  // namespace kv::events
