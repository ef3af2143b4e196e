// The rule view: an action's chain to its group's destinations (a missing entry marked), and the
// reverse from one destination.
#include <gtest/gtest.h>

#include "events/rule_view.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::events;

TEST(RuleView, ChainsBothWays) {
    EventTables t;
    t.strMailServer = {MailServerRecord{}};
    t.strMailServer[0].ID = 2;
    t.strEventGroup = {EventGroupRecord{}, EventGroupRecord{}};
    t.strEventGroup[0].ID = 1, t.strEventGroup[0].Name = "Lobby", t.strEventGroup[0].Record = true;
    t.strEventGroup[0].Mail = true, t.strEventGroup[0].MailDest = 2;
    t.strEventGroup[0].FTP = true, t.strEventGroup[0].FtpDest = 5;  // no FTP entry 5
    t.strEventGroup[1].ID = 2, t.strEventGroup[1].Name = "Quiet";
    t.strEventAction = {EventActionRecord{1, 1, "2001", 1}, EventActionRecord{2, 1, "1", 2},
                        EventActionRecord{3, 4, "2002", 1}, EventActionRecord{4, 4, "4001", 7}};
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    const pos::POSTriggerEventList none(1);

    const std::vector<RuleChain> motion = RulesOf(t, 1, "2001", app.eventTypes, none, test::English());
    ASSERT_EQ(motion.size(), 1u);
    EXPECT_EQ(motion[0].eventName, "Motion Event");
    EXPECT_EQ(motion[0].groupName, "Lobby");
    EXPECT_TRUE(motion[0].record);
    ASSERT_EQ(motion[0].destinations.size(), 2u);
    EXPECT_EQ(motion[0].destinations[0], (RuleDestination{kMail, 2, " Mail # 2", false}));
    EXPECT_TRUE(motion[0].destinations[1].missing) << "the group names FTP 5, which the list lacks";

    EXPECT_EQ(RulesOf(t, 1, "", app.eventTypes, none, test::English()).size(), 2u) << "every event of channel 1";
    const std::vector<RuleChain> gone = RulesOf(t, 4, "4001", app.eventTypes, none, test::English());
    ASSERT_EQ(gone.size(), 1u);
    EXPECT_TRUE(gone[0].groupName.empty() && gone[0].destinations.empty()) << "group 7 does not exist";

    const std::vector<RuleChain> mail = RulesReaching(t, kMail, 2, app.eventTypes, none, test::English());
    ASSERT_EQ(mail.size(), 2u);
    EXPECT_EQ(mail[1].ch, 4);
    EXPECT_TRUE(RulesReaching(t, kMail, 3, app.eventTypes, none, test::English()).empty());
}
