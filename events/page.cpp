// The Event Handling page's tabs working together.
#include "events/page.h"

namespace kv::events {

EventPage::EventPage(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                     const base::Language& lang, std::string title)
    : server(tables, link, prompter, lang, title), group(tables, link, prompter, lang, title) {
    // A saved destination list changes what the groups can choose.
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
}

void EventPage::tabEvent_Click(int index) {
    if (index == kTabServers || index == kTabGroups) tabEvent = index;
}

}  // namespace kv::events
