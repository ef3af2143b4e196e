// The removal's hook list and the prunes the subjects build on; the codec kit's builders and
// the result rule of every write.
#include <gtest/gtest.h>

#include "app/removal.h"
#include "app/wire.h"
#include "tests/support/fakes.h"

using namespace kv;

TEST(ChannelRemoval, PrunesAllThenReactsAllInTheFixedOrderWhateverTheRegistrationOrder) {
    app::ChannelRemoval removal;
    std::vector<std::string> calls;
    const auto part = [&](const char* name) {
        return std::pair{[&calls, name](int32_t ch) { calls.push_back(std::string("prune ") + name + " " + std::to_string(ch)); },
                         [&calls, name](int32_t) { calls.push_back(std::string("react ") + name); }};
    };
    // Registered in the order the subjects happen to come in the list, not the removal's order.
    for (auto [step, name] : {std::pair{app::RemovalStep::kUserGroups, "groups"},
                              std::pair{app::RemovalStep::kEMap, "map"},
                              std::pair{app::RemovalStep::kAnalytics, "analytics"}}) {
        auto [prune, react] = part(name);
        removal.add(step, prune, react);
    }
    removal.add(app::RemovalStep::kEventActions, nullptr, [&calls](int32_t) { calls.push_back("react actions"); });
    removal.run(7);
    EXPECT_EQ(calls, (std::vector<std::string>{"prune analytics 7", "prune map 7", "prune groups 7", "react analytics",
                                               "react actions", "react map", "react groups"}));
    EXPECT_EQ(removal.steps(), (std::vector<app::RemovalStep>{app::RemovalStep::kAnalytics, app::RemovalStep::kEventActions,
                                                              app::RemovalStep::kEMap, app::RemovalStep::kUserGroups}));
}

namespace {
struct Entry {
    int16_t ID = -1;
    int32_t CH = 0;
    bool operator==(const Entry&) const = default;
};
}  // namespace

TEST(PruneList, DropsTheChannelAndNonChannelsKeepsOrderAndLeavesTheSentinel) {
    const auto gone = [](int32_t ch) { return [ch](const Entry& e) { return e.CH == ch || e.CH <= 0; }; };
    struct Case {
        std::vector<Entry> list;
        int32_t ch;
        std::vector<Entry> want;
        bool changed;
        const char* why;
    };
    const Case cases[] = {
        {{{1, 3}, {2, 2}, {3, 3}, {4, 5}}, 3, {{2, 2}, {4, 5}}, true, "the others keep their order"},
        {{{1, 3}}, 3, {Entry{}}, true, "an emptied list keeps one blank record"},
        {{{1, 2}, {2, 0}}, 3, {{1, 2}}, true, "entries without a channel go in the same pass"},
        {{{1, 2}}, 3, {{1, 2}}, false, "nothing to take: unchanged"},
        {{Entry{}}, 3, {Entry{}}, false, "a list holding only its blank record has nothing to save"},
    };
    for (const Case& c : cases) {
        std::vector<Entry> list = c.list;
        EXPECT_EQ(app::PruneList(list, gone(c.ch)), c.changed) << c.why;
        EXPECT_EQ(list, c.want) << c.why;
    }
}

TEST(RemoveChannelFromList, KeepsTheOthersInOrder) {
    EXPECT_EQ(app::RemoveChannelFromList("3", 3), "");
    EXPECT_EQ(app::RemoveChannelFromList("1, 3,33,3", 3), "1,33") << "blanks around a number; 33 is not 3";
    EXPECT_EQ(app::RemoveChannelFromList("", 3), "");
}

TEST(Wire, TextAndAttributesAreEscapedNumbersAreNot) {
    EXPECT_EQ(app::wire::Text("Name", "a<b & \"c\""), "<Name>a&lt;b &amp; &quot;c&quot;</Name>");
    EXPECT_EQ(app::wire::Attr("Name", "x\"y"), " Name=\"x&quot;y\"");
    EXPECT_EQ(app::wire::Num("CH", -3), "<CH>-3</CH>");
    EXPECT_EQ(app::wire::Attr("ID", 12), " ID=\"12\"");
    EXPECT_EQ(app::wire::Elem("Video", "<FMT>h264</FMT>"), "<Video><FMT>h264</FMT></Video>") << "built inner text stays";
}

TEST(Wire, AWriteCountsWhenTheLinkAnsweredAndRetIsNotNegative) {
    struct Case {
        std::string reply;
        bool ok;
        const char* why;
    };
    const Case cases[] = {
        {"<RESPONSE RET=\"0\" ID=\"32804\"/>", true, "accepted"},
        {"<RESPONSE RET=\"1\" ID=\"32804\"/>", true, "a positive code is no failure"},
        {"<RESPONSE RET=\"-2\" ID=\"32804\"/>", false, "the service refused"},
        {"-1", false, "the link failed"},
        {"<RESPONSE ID=\"32804\"/>", false, "no RET: the answer says nothing"},
    };
    test::AnsweringLink link;
    for (const Case& c : cases) {
        link.replies[32804] = c.reply;
        std::string reply;
        EXPECT_EQ(app::SendWrite(link, "<CMD ID=\"32804\"/>", &reply), c.ok) << c.why;
        EXPECT_EQ(reply, c.reply) << "the caller sees the text";
        EXPECT_EQ(app::WriteAccepted(c.reply), c.ok) << c.why;
    }
}
