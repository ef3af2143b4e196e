// The Event Handling page as data: the Server Setting tab (the six destination lists), the Action
// Group tab, the Event Action tab with its overview, and the Schedule tab. The Qt page renders these
// models and forwards clicks and edits to them.
#pragma once

#include <span>
#include <string>

#include "app/prompter.h"
#include "base/app_tables.h"
#include "base/lang.h"
#include "channels/records.h"
#include "events/action_tab.h"
#include "events/group_tab.h"
#include "events/records.h"
#include "events/schedule_tab.h"
#include "events/server_tab.h"
#include "link/service_link.h"
#include "pos/records.h"

namespace kv::events {

/// The tabs of the page.
enum EventTab : int { kTabServers = 0, kTabGroups = 1, kTabActions = 2, kTabOverview = 3, kTabSchedule = 4,
                      kTabCount = 5 };

class EventPage {
public:
    EventPage(EventTables& tables, const channels::ChannelTables& channels, std::span<const base::EventTypeName> types,
              const pos::POSTriggerEventList& triggers, link::ServiceLink& link, app::Prompter& prompter,
              const base::Language& lang, std::string title);

    ServerSettingTab server;
    ActionGroupTab group;
    EventActionTab action;
    EventScheduleTab schedule;
    int tabEvent = kTabServers;

    /// The menu entry: every tab shows the tables unless edits wait on it.
    void Open();
    /// New lists arrived: tabs without edits show them; the forms' combos follow.
    void Refresh();
    void tabEvent_Click(int index);
};

}  // namespace kv::events
