// The Event Handling page as data: the Server Setting tab (the six destination lists) and the
// Action Group tab. The Qt page renders these models and forwards clicks and edits to them.
#pragma once

#include <string>

#include "app/prompter.h"
#include "base/lang.h"
#include "events/group_tab.h"
#include "events/records.h"
#include "events/server_tab.h"
#include "link/service_link.h"

namespace kv::events {

/// The tabs of the page.
enum EventTab : int { kTabServers = 0, kTabGroups = 1 };

class EventPage {
public:
    EventPage(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang,
              std::string title);

    ServerSettingTab server;
    ActionGroupTab group;
    int tabEvent = kTabServers;

    /// The menu entry: both tabs show the tables unless edits wait on them.
    void Open();
    /// New lists arrived: tabs without edits show them; the group form's combos follow.
    void Refresh();
    void tabEvent_Click(int index);
};

}  // namespace kv::events
