// The events subject: the readers of the destination lists, the action groups and the event
// actions, the Event Handling page and its place in the shell (menu entry 3; areas 3 for the
// destinations, 4 for the groups), the destination test, and its kelvarra-ctl sections.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "app/subject.h"
#include "events/destination_test.h"
#include "events/page.h"
#include "events/records.h"

namespace kv::events {

class SoundPlayer;

class EventsSubject final : public app::Subject {
public:
    /// The subject keeps its tables; the login reads them without waiting.
    explicit EventsSubject(const app::SubjectServices& services);
    ~EventsSubject() override;

    std::string name() const override { return "events"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    EventTables& tables() { return tables_; }
    /// The page model; null before the configuration opens.
    EventPage* page() const { return page_.get(); }

    /// The menu entry.
    void open();
    /// Runs an action of the page; the shell's two areas follow the tabs afterwards, and a list
    /// that reached the service marks the configuration changed.
    bool act(const std::function<bool()>& action);
    /// The saves of areas 3 and 4 (their buttons' procedures).
    bool saveServers();
    bool saveGroups();
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
    app::SubjectServices services_;
    app::ShellPort* shell_ = nullptr;
    std::unique_ptr<EventPage> page_;
    SoundPlayer* player_ = nullptr;
};

}  // namespace kv::events
