// The event sections of kelvarra-ctl's documents in-process: the order of the writes when groups
// and destinations depend on each other, the page's refusals, and what the page makes of a value.
#include <gtest/gtest.h>

#include <functional>

#include "events/codec.h"
#include "events/document.h"
#include "tests/support/fakes.h"

namespace kv::events {
namespace {

using app::Json;
using Strings = std::vector<std::string>;

std::string reply(const std::string& list) { return "<RESPONSE RET=\"0\">" + list + "</RESPONSE>"; }

Json& withId(Json& list, int id) {
    for (Json& r : list)
        if (r["ID"] == id) return r;
    throw std::runtime_error("no ID " + std::to_string(id));
}

void drop(Json& list, int id) {
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i]["ID"] == id) return list.erase(i);
}

const Json kNewMail = {{"ID", 3},          {"SenderName", "S"},     {"SenderMail", "s@x"},
                       {"Server", "m3"},   {"ReceiverName", "R"},   {"ReceiverMail", "r@x"}};

// What one staged document comes to.
struct Outcome {
    Strings refusals, warnings, notes, plan, sections, commands;
};

class EventDocumentTest : public ::testing::Test {
protected:
    EventDocumentTest() {
        const std::string mail = R"( SenderName="NVR" SenderMail="n@x" Port="25" UserName="nvr" Password="m@il&amp;1" )"
                                 R"(ReceiverName="Desk" ReceiverMail="d@x" />)";
        Load_MailServerList_XML(reply("<MailList><Mail ID=\"1\" Server=\"mail.x.org\"" + mail +
                                      "<Mail ID=\"2\" Server=\"smtp.x.net\"" + mail + "</MailList>"),
                                t.strMailServer);
        Load_FTPServerList_XML(reply(R"(<FTPList><FTP ID="1" Server="ftp.x.org" Port="21" UserName="up" )"
                                     R"(UploadPath="/" FileName="a.txt" Content="c" /></FTPList>)"),
                               t.strFTPServer);
        Load_httpServerList_XML(reply(R"(<HTTPList><HTTP ID="1" Server="10.0.0.5" Port="80" UserName="hook" />)"
                                      "</HTTPList>"),
                                t.strHTTPServer);
        Load_TCPServerList_XML(reply(R"(<TCPList><TCP ID="1" Server="10.0.0.6" Port="5000" /></TCPList>)"),
                               t.strTCPServer);
        Load_SOPServerList_XML(reply(R"(<SOPList><SOP ID="1" Contact="Desk" /><SOP ID="2" Contact="Manager" />)"
                                     "</SOPList>"),
                               t.strSOPContact);
        // Group 1 was read with HTTPDest but its flag off; group 3 shows an OSD text.
        Load_EventActionGroup_XML(
            reply(R"(<ActionGroupList><ActionGroup ID="1" Record="1" HTTPDest="1">Record only</ActionGroup>)"
                  R"(<ActionGroup ID="2" Record="1" Mail="1" MailDest="1">Alarm mail</ActionGroup>)"
                  R"(<ActionGroup ID="3" Record="1" FTP="1" Mail="1" OSD="1" FtpDest="1" MailDest="2">)"
                  "Full</ActionGroup>"
                  R"(<ActionGroup ID="4" SOP="1" SOPDest="2">Night desk</ActionGroup></ActionGroupList>)"),
            t.strEventGroup);
        // Event actions run groups 1 and 3.
        Load_EventAction_XML(reply(R"(<ActionList><Action CH="1" Event="1" ActionGroup="1" />)"
                                   R"(<Action CH="2" Event="1" ActionGroup="3" /></ActionList>)"),
                             t.strEventAction);
    }

    Outcome stage(const std::function<void(Json&)>& edit) {
        Json doc = Json::object();
        EventDocument part(t);
        part.dump(doc, {});
        edit(doc);
        app::Stage s(link, test::English());
        part.stage(doc, s);
        Outcome o{s.refusals, s.warnings, s.notes, {}, {}, {}};
        if (s.refused()) return o;
        std::vector<app::PendingSave> saves;
        part.saves(s, saves);
        o.plan = part.plan();
        for (const app::PendingSave& p : saves) {
            o.sections.push_back(p.section);
            o.commands.push_back(p.command);
        }
        return o;
    }

    EventTables t;
    test::AnsweringLink link;
};

TEST_F(EventDocumentTest, WritesGoOutSoThatNoGroupNamesAMissingDestination) {
    struct Case {
        const char* why;
        std::function<void(Json&)> edit;
        Strings sections;
    };
    const std::vector<Case> cases = {
        {"an unchanged dump sends nothing", [](Json&) {}, {}},
        {"a new destination goes out before the group that names it",
         [](Json& d) {
             d["strMailServer"].push_back(kNewMail);
             d["strEventGroup"].push_back({{"Name", "New"}, {"Mail", true}, {"MailDest", 3}});
         },
         {"strMailServer", "strEventGroup"}},
        {"the group lets go of a destination before the list drops it",
         [](Json& d) {
             drop(d["strSOPContact"], 2);
             withId(d["strEventGroup"], 4)["SOP"] = false;
         },
         {"strEventGroup", "strSOPContact"}},
        {"a removed group lets go of its destination first",
         [](Json& d) {
             drop(d["strSOPContact"], 2);
             drop(d["strEventGroup"], 4);
         },
         {"strEventGroup", "strSOPContact"}},
        {"a destination no group names is removed in kind order, groups last",
         [](Json& d) {
             drop(d["strTCPServer"], 1);
             withId(d["strEventGroup"], 1)["Name"] = "Rec";
         },
         {"strTCPServer", "strEventGroup"}},
        {"the new mail the group moves to goes out first, the old one is dropped after the groups",
         [](Json& d) {
             drop(d["strMailServer"], 2);
             d["strMailServer"].push_back(kNewMail);
             withId(d["strEventGroup"], 3)["MailDest"] = 3;
         },
         {"strMailServer", "strEventGroup", "strMailServer"}},
    };
    for (const Case& c : cases) {
        const Outcome o = stage(c.edit);
        EXPECT_EQ(o.refusals, Strings{}) << c.why;
        EXPECT_EQ(o.sections, c.sections) << c.why;
    }
    // The first of the two mail lists still holds mail 2; the second does not.
    const Outcome o = stage(cases.back().edit);
    ASSERT_EQ(o.commands.size(), 3u);
    EXPECT_NE(o.commands[0].find("<Mail ID=\"2\""), std::string::npos);
    EXPECT_NE(o.commands[0].find("<Mail ID=\"3\""), std::string::npos);
    EXPECT_EQ(o.commands[2].find("<Mail ID=\"2\""), std::string::npos);
    EXPECT_EQ(o.plan, (Strings{"adds mail server \"m3\" as ID 3", "changes action group 3 \"Full\": MailDest, OSD",
                               "removes mail server 2 \"smtp.x.net\""}));
}

TEST_F(EventDocumentTest, ThePageRefusesAndNothingIsStaged) {
    const std::vector<std::pair<std::function<void(Json&)>, std::string>> cases = {
        // A group the document keeps names the contact (681).
        {[](Json& d) { drop(d["strSOPContact"], 2); },
         "strSOPContact (ID 2 \"Manager\", left out of the document): refused: This entry is used by an action group"},
        // The page compares the destination whatever the group's flag says (681).
        {[](Json& d) { drop(d["strHTTPServer"], 1); }, "strHTTPServer (ID 1 \"10.0.0.5\", left out of"},
        // An event action runs the group (475).
        {[](Json& d) { drop(d["strEventGroup"], 1); }, "refused: There are related event actions"},
        // Names are compared without blanks (295); a new group needs one.
        {[](Json& d) { withId(d["strEventGroup"], 2)["Name"] = " Full "; },
         "strEventGroup[1]: refused: There is an empty field or has been set !"},
        {[](Json& d) { d["strEventGroup"].push_back(Json::object()); }, "strEventGroup[4]: refused: There is an empty"},
        // A TCP server needs its address (490).
        {[](Json& d) { d["strTCPServer"].push_back({{"Port", 9000}}); },
         "strTCPServer[1]: refused: There is an empty field , Setting is cancel !"},
        // The port box takes digits only.
        {[](Json& d) { withId(d["strHTTPServer"], 1)["Port"] = -80; },
         "strHTTPServer[0]: refused: Port -80: the box takes digits only"},
        // The Add button is off at ten entries.
        {[](Json& d) {
             for (int i = 0; i < 9; ++i) d["strSOPContact"].push_back({{"Contact", "c" + std::to_string(i)}});
         },
         "strSOPContact[10]: refused: 10 entries a list at most"},
        // The combo offers only the list's entries; a kind without entries disables its box.
        {[](Json& d) { withId(d["strEventGroup"], 2)["MailDest"] = 9; },
         "strEventGroup[1]: refused: MailDest 9: there is no mail server 9 (offered: Mail # 1, Mail # 2)"},
        {[](Json& d) { withId(d["strEventGroup"], 1)["Sound"] = true; },
         "strEventGroup[0]: refused: Sound: there is no warning sound to choose"},
    };
    for (const auto& [edit, message] : cases) {
        const Outcome o = stage(edit);
        ASSERT_EQ(o.refusals.size(), 1u) << message;
        EXPECT_NE(o.refusals[0].find(message), std::string::npos) << o.refusals[0];
    }
    EXPECT_EQ(link.sent, Strings{}) << "staging never reaches the link";
}

TEST_F(EventDocumentTest, WhatThePageMakesOfTheValues) {
    // The FTP file name is stored as the page corrects it, and the plan says so.
    Outcome o = stage([](Json& d) { d["strFTPServer"][0]["FileName"] = "a$EVT_DATE$.log"; });
    ASSERT_EQ(o.commands.size(), 1u);
    EXPECT_NE(o.commands[0].find("FileName=\"a$EVT_DATE1$.log.txt\""), std::string::npos) << o.commands[0];
    EXPECT_EQ(o.plan, Strings{"changes FTP server 1 \"ftp.x.org\": FileName (FileName as the page stores it: "
                              "$EVT_DATE1$ for $EVT_DATE$, \".txt\" appended)"});

    // A masked password stands for the one the service holds.
    o = stage([](Json& d) { d["strMailServer"][0]["Port"] = 587; });
    ASSERT_EQ(o.commands.size(), 1u);
    EXPECT_NE(o.commands[0].find("Port=\"587\" UserName=\"nvr\" Password=\"m@il&amp;1\""), std::string::npos);

    // A new record's ID the page does not give is followed by the groups that name it.
    o = stage([](Json& d) {
        d["strTCPServer"].push_back({{"ID", 7}, {"Server", "10.0.0.7"}, {"Port", 7}});
        withId(d["strEventGroup"], 1)["TCP"] = true;
        withId(d["strEventGroup"], 1)["TcpDest"] = 7;
    });
    ASSERT_EQ(o.commands.size(), 2u);
    EXPECT_NE(o.commands[1].find("TcpDest=\"2\""), std::string::npos) << o.commands[1];
    ASSERT_EQ(o.notes.size(), 1u);
    EXPECT_NE(o.notes[0].find("ID 7 is new; the page gives it ID 2"), std::string::npos);

    // A destination without its flag is not kept: said, not staged.
    o = stage([](Json& d) { withId(d["strEventGroup"], 2)["FtpDest"] = 1; });
    EXPECT_EQ(o.commands, Strings{});
    EXPECT_EQ(o.warnings, Strings{"warning: strEventGroup[1]: FtpDest is ignored: FTP is off, and the page keeps no "
                                  "destination then"});

    // OSD has no control: asked for, it is only warned about; a save of the list clears it.
    o = stage([](Json& d) { withId(d["strEventGroup"], 1)["OSD"] = true; });
    EXPECT_EQ(o.commands, Strings{});
    EXPECT_EQ(o.warnings, Strings{"warning: strEventGroup[0]: OSD stays off: the page has no control for it"});
    o = stage([](Json& d) { withId(d["strEventGroup"], 1)["Name"] = "Rec"; });
    ASSERT_EQ(o.commands.size(), 1u);
    EXPECT_NE(o.commands[0].find("<ActionGroup ID=\"3\" Record=\"1\" FTP=\"1\" Mail=\"1\" HTTP=\"0\" TCP=\"0\" "
                                 "Sound=\"0\" OSD=\"0\" SOP=\"0\" FtpDest=\"1\" MailDest=\"2\" SoundDuration=\"10\" >"),
              std::string::npos)
        << o.commands[0];
    ASSERT_EQ(o.warnings.size(), 1u);
    EXPECT_NE(o.warnings[0].find("strEventGroup[2]: OSD stays off"), std::string::npos) << o.warnings[0];
}

TEST_F(EventDocumentTest, ValuesNotInDumpsFormAreDocumentErrors) {
    const std::vector<std::function<void(Json&)>> cases = {
        // A mask stands for a password the service holds; a new record has none.
        [](Json& d) { d["strHTTPServer"].push_back({{"Password", "********"}}); },
        [](Json& d) { d["strEventGroup"][0]["Emergency"] = true; },  // not in the document
        [](Json& d) { d["strFTPServer"][0]["Passive"] = 1; },        // a check box is true or false
        [](Json& d) { d["strSOPContact"][1]["ID"] = 1; },            // an ID twice
    };
    for (size_t i = 0; i < cases.size(); ++i) EXPECT_THROW(stage(cases[i]), app::DocumentError) << "case " << i;
}

}  // namespace
}  // namespace kv::events
