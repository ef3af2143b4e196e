// The events subject's wiring.
#include "events/subject.h"

#include <pugixml.hpp>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "events/codec.h"
#include "events/document.h"
#include "pos/codec.h"

namespace kv::events {

EventsSubject::EventsSubject(const channels::ChannelTables& channels, const app::SubjectServices& services)
    : channels_(channels), services_(services), appTables_(base::APP_SPEC_INIT(services.lang)) {}

EventsSubject::~EventsSubject() = default;

void EventsSubject::registerReaders(app::Dispatcher& d) {
    using Doc = pugi::xml_document;
    d.registerParser(32772, [this](const Doc& r) { Load_MailServerList_XML(r, tables_.strMailServer); arrived(); });
    d.registerParser(32773, [this](const Doc& r) { Load_FTPServerList_XML(r, tables_.strFTPServer); arrived(); });
    d.registerParser(32774, [this](const Doc& r) { Load_httpServerList_XML(r, tables_.strHTTPServer); arrived(); });
    d.registerParser(32805, [this](const Doc& r) { Load_TCPServerList_XML(r, tables_.strTCPServer); arrived(); });
    d.registerParser(32780, [this](const Doc& r) { Load_SOUNDServerList_XML(r, tables_.strSoundFile); arrived(); });
    d.registerParser(32799, [this](const Doc& r) { Load_SOPServerList_XML(r, tables_.strSOPContact); arrived(); });
    d.registerParser(32778, [this](const Doc& r) { Load_EventActionGroup_XML(r, tables_.strEventGroup); });
    d.registerParser(32777, [this](const Doc& r) { Load_EventAction_XML(r, tables_.strEventAction); arrived(); });
    d.registerParser(32809, [this](const Doc& r) { Load_EventSCDL_XML(r, tables_.strEventSCDL); arrived(); });
    // The POS subject edits the trigger events; the action table names them as event sources.
    d.registerParser(32828, [this](const Doc& r) { pos::Load_POSDefineTriiggerEvent_XML(r, posTriggers_); arrived(); });
    // The groups' reader ends with EnActionCondition: the form's combos follow the lists.
    d.setFollowUp(app::FollowUp::EnActionCondition, [this] { arrived(); });
}

void EventsSubject::registerRemoval(app::ChannelRemoval& removal) {
    // The action table loses the channel's rows and is saved through its button; the schedule
    // keeps one entry per channel, which goes back to its blank week and is never sent.
    removal.add(
        app::RemovalStep::kEventActions,
        [this](int32_t ch) {
            app::PruneList(tables_.strEventAction, [ch](const EventActionRecord& r) { return r.CH == ch || r.CH <= 0; });
        },
        [this](int32_t ch) {
            if (page_) act([this, ch] { return page_->action.ChannelRemoved(ch); });
        });
    removal.add(
        app::RemovalStep::kEventSchedule,
        [this](int32_t ch) {
            if (ch >= 1 && ch <= static_cast<int32_t>(tables_.strEventSCDL.size()))
                tables_.strEventSCDL[static_cast<size_t>(ch - 1)] = EventSCDLRecord{static_cast<int16_t>(ch), {}};
        },
        [this](int32_t ch) {
            if (!page_) return;
            act([this, ch] {
                page_->schedule.ChannelRemoved(ch);
                return !page_->schedule.dirty() || page_->schedule.imgEventSCDLbtn_Click(EventScheduleTab::kSave);
            });
        });
}

void EventsSubject::resetBeforeLoad() {
    // Channels the schedule answer leaves out show all on, not a previous login's week.
    tables_.strEventSCDL = EmptyEventSCDLTable();
    posTriggers_ = pos::POSTriggerEventList(1);
}

void EventsSubject::attach(app::ShellPort& shell) {
    shell_ = &shell;
    page_ = std::make_unique<EventPage>(tables_, channels_, eventTypes(), posTriggers_, services_.link,
                                        services_.prompter, services_.lang, services_.title);
    page_->server.setSoundPlayer(player_);
    shell.registerPage(app::menu::kEvent, [this] { open(); });
    shell.registerSave(app::area::kEventServers, [this] { return saveServers(); });
    shell.registerSave(app::area::kActionGroups, [this] { return saveGroups(); });
    shell.registerSave(app::area::kEventSchedule, [this] { return saveSchedule(); });
    shell.registerSave(app::area::kEventActions, [this] { return saveActions(); });
}

std::unique_ptr<app::DocumentPart> EventsSubject::document() {
    return std::make_unique<EventDocument>(tables_, channels_, eventTypes(), posTriggers_);
}

void EventsSubject::open() {
    if (!page_) return;
    act([this] {
        page_->Open();
        return true;
    });
}

bool EventsSubject::act(const std::function<bool()>& action) {
    const EventTables before = tables_;
    const bool ok = action();
    // A list reached the service when the tables took it (they follow the service only).
    if (shell_ && !(tables_.strMailServer == before.strMailServer && tables_.strFTPServer == before.strFTPServer &&
                    tables_.strHTTPServer == before.strHTTPServer && tables_.strTCPServer == before.strTCPServer &&
                    tables_.strSoundFile == before.strSoundFile && tables_.strSOPContact == before.strSOPContact &&
                    tables_.strEventGroup == before.strEventGroup &&
                    tables_.strEventAction == before.strEventAction && tables_.strEventSCDL == before.strEventSCDL))
        shell_->configChanged();
    syncShell();
    return ok;
}

bool EventsSubject::saveServers() {
    return page_ && act([this] { return !page_->server.dirty() || page_->server.cmdEvent_Click(0); });
}

bool EventsSubject::saveGroups() {
    return page_ && act([this] { return !page_->group.dirty() || page_->group.imgEventGroupbtn_Click(0); });
}

bool EventsSubject::saveSchedule() {
    return page_ && act([this] {
               return !page_->schedule.dirty() || page_->schedule.imgEventSCDLbtn_Click(EventScheduleTab::kSave);
           });
}

bool EventsSubject::saveActions() {
    return page_ && act([this] {
               return !page_->action.dirty() || page_->action.imgEventActionbtn_Click(EventActionTab::kSave);
           });
}

void EventsSubject::setSoundPlayer(SoundPlayer* player) {
    player_ = player;
    if (page_) page_->server.setSoundPlayer(player);
}

std::function<ProbeReport()> EventsSubject::destinationTest(int kind, int16_t id,
                                                            std::chrono::milliseconds limit) const {
    return [tables = tables_, kind, id, limit] { return TestDestination(tables, kind, id, limit); };
}

void EventsSubject::syncShell() {
    if (!shell_ || !page_) return;
    shell_->setDirty(app::area::kEventServers, page_->server.dirty());
    shell_->setDirty(app::area::kActionGroups, page_->group.dirty());
    shell_->setDirty(app::area::kEventSchedule, page_->schedule.dirty());
    shell_->setDirty(app::area::kEventActions, page_->action.dirty());
}

void EventsSubject::arrived() {
    if (page_) act([this] {
            page_->Refresh();
            return true;
        });
}

}  // namespace kv::events
