// The Event Handling page's tabs working together.
#include "events/page.h"

namespace kv::events {

EventPage::EventPage(EventTables& tables, const channels::ChannelTables& channels,
                     std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers,
                     link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang, std::string title)
    : server(tables, link, prompter, lang, title),
      group(tables, link, prompter, lang, title),
      action(tables, channels, types, triggers, link, prompter, lang, title),
      schedule(tables.strEventSCDL, channels, link, prompter, lang, title) {
    // A saved destination list changes what the groups can choose; saved groups what the actions
    // can name.
    server.onListsChanged = [this] { group.EnActionCondition(); };
}

void EventPage::Open() {
    tabEvent = kTabServers;
    Refresh();
}

void EventPage::Refresh() {
    if (!server.dirty()) server.Refresh();
    if (!group.dirty()) group.Refresh();
    else group.EnActionCondition();
    action.Refresh();
    schedule.Refresh();
}

void EventPage::tabEvent_Click(int index) {
    if (index < 0 || index >= kTabCount) return;
    tabEvent = index;
    // The overview shows the table as saved; the action form's group list follows saved groups.
    if (index == kTabOverview) action.ShowEventInfo();
    if (index == kTabActions) action.Refresh();
}

}  // namespace kv::events
