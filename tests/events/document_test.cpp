// The event sections of kelvarra-ctl's documents in-process: the order of the writes when
// destinations, groups and event actions depend on each other, the page's refusals, and what the
// page makes of a value.
#include <gtest/gtest.h>

#include <functional>

#include "base/app_tables.h"
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

Json& actionOf(Json& list, int ch, const std::string& event) {
    for (Json& a : list)
        if (a["CH"] == ch && a["Event"] == event) return a;
    throw std::runtime_error("no action of CH " + std::to_string(ch) + " " + event);
}

void dropAction(Json& list, int ch, const std::string& event) {
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i]["CH"] == ch && list[i]["Event"] == event) return list.erase(i);
}

Json& weekOf(Json& list, int ch) {
    for (Json& w : list)
        if (w["CH"] == ch) return w;
    throw std::runtime_error("no week of CH " + std::to_string(ch));
}

// An edit that appends an action.
std::function<void(Json&)> add(Json action) {
    return [action](Json& d) { d["strEventAction"].push_back(action); };
}

const std::string kOn(96, '1'), kOff(96, '0');
const Json kWeekendOff = Json::array({kOff, kOn, kOn, kOn, kOn, kOn, kOff});

// Channel 1 a camera with an input and an output, 2 with an input only, 3 a PTZ camera with an
// output, 4 with neither; channel 9 has no camera.
channels::ChannelTables fourChannels() {
    channels::ChannelTables c;
    const struct {
        int ch;
        const char* name;
        int16_t di, dOut;
    } cams[] = {{1, "Gate", 1, 1}, {2, "Hall", 1, 0}, {3, "Yard PTZ", 0, 1}, {4, "Store", 0, 0}};
    for (const auto& k : cams) {
        channels::ChannelRecord& r = c.strCH[static_cast<size_t>(k.ch - 1)];
        r.IP = "10.0.0." + std::to_string(k.ch);
        r.Name = k.name;
        r.NumberDI = k.di;
        r.NumberDO = k.dOut;
        r.DILow = r.DIHigh = k.di > 0;
    }
    return c;
}

// The service: channel 3 has two presets, every other channel none.
class ServiceLink : public test::AnsweringLink {
public:
    std::string SendCommand(int32_t reserved, bool wait, const std::string& xml) override {
        const std::string answer = AnsweringLink::SendCommand(reserved, wait, xml);
        if (idOf(xml) != 4101) return answer;
        return "<RESPONSE RET=\"0\" ID=\"4101\"><PresetList>" +
               std::string(xml.find("<CH>3</CH>") == std::string::npos
                               ? ""
                               : "<Preset Name=\"Gate\">1</Preset><Preset Name=\"Car park\">2</Preset>") +
               "</PresetList></RESPONSE>";
    }
};

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
        // Event actions run groups 1, 3 and 2; channel 9 has no camera.
        const std::string rest = R"( DigitalOut="0" Preset="0" DigitalOutID="0" DigitalOutState="0" DODuration="0" )"
                                 R"(PresetDest="0" />)";
        Load_EventAction_XML(reply(R"(<ActionList><Action CH="1" Event="1" ActionGroup="1" TriggerID="0")" + rest +
                                   R"(<Action CH="2" Event="1" ActionGroup="3" TriggerID="0")" + rest +
                                   R"(<Action CH="9" Event="2001" ActionGroup="2" TriggerID="-1")" + rest +
                                   "</ActionList>"),
                             t.strEventAction);
    }

    Outcome stage(const std::function<void(Json&)>& edit) {
        Json doc = Json::object();
        EventDocument part(t, channels, app.eventTypes, triggers);
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
    channels::ChannelTables channels = fourChannels();
    base::AppTables app = base::APP_SPEC_INIT(test::English());
    pos::POSTriggerEventList triggers = pos::POSTriggerEventList(1);
    ServiceLink link;
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

TEST_F(EventDocumentTest, ActionsAndWeeksGoOutSoThatNoActionRunsAMissingGroup) {
    const Json night = {{"Name", "Night"}};  // the page gives it ID 5
    struct Case {
        const char* why;
        std::function<void(Json&)> edit;
        Strings sections;
    };
    const std::vector<Case> cases = {
        {"the actions in another order are the same table",
         [](Json& d) { std::reverse(d["strEventAction"].begin(), d["strEventAction"].end()); },
         {}},
        {"a new group goes out before the action that runs it",
         [&](Json& d) {
             d["strEventGroup"].push_back(night);
             d["strEventAction"].push_back({{"CH", 3}, {"Event", "2001"}, {"ActionGroup", 5}});
         },
         {"strEventGroup", "strEventAction"}},
        {"a week goes out before the actions, as the shell saves the schedule before them",
         [](Json& d) {
             actionOf(d["strEventAction"], 1, "1")["ActionGroup"] = 2;
             weekOf(d["strEventSCDL"], 2)["Day"] = kWeekendOff;
         },
         {"strEventSCDL (CH 2)", "strEventAction"}},
        {"three channels given one week: one write each, in channel order",
         [](Json& d) {
             for (int ch : {4, 1, 2}) weekOf(d["strEventSCDL"], ch)["Day"] = kWeekendOff;
         },
         {"strEventSCDL (CH 1)", "strEventSCDL (CH 2)", "strEventSCDL (CH 4)"}},
        {"a group removed with the actions that ran it: the actions first",
         [](Json& d) {
             drop(d["strEventGroup"], 3);
             dropAction(d["strEventAction"], 2, "1");
         },
         {"strEventAction", "strEventGroup"}},
        {"its action moved to a new group instead: the groups with both, the actions, the groups without the old",
         [&](Json& d) {
             drop(d["strEventGroup"], 3);
             d["strEventGroup"].push_back(night);
             actionOf(d["strEventAction"], 2, "1")["ActionGroup"] = 5;
         },
         {"strEventGroup", "strEventAction", "strEventGroup"}},
        {"a destination of the removed group goes after the groups, which go after the actions",
         [](Json& d) {
             drop(d["strMailServer"], 2);
             drop(d["strEventGroup"], 3);
             dropAction(d["strEventAction"], 2, "1");
         },
         {"strEventAction", "strEventGroup", "strMailServer"}},
        {"a group no action runs is removed in the groups' place",
         [](Json& d) {
             drop(d["strEventGroup"], 4);
             actionOf(d["strEventAction"], 1, "1")["ActionGroup"] = 2;
         },
         {"strEventGroup", "strEventAction"}},
    };
    for (const Case& c : cases) {
        const Outcome o = stage(c.edit);
        EXPECT_EQ(o.refusals, Strings{}) << c.why;
        EXPECT_EQ(o.sections, c.sections) << c.why;
    }
    // The first groups still hold group 3, the last do not; the plan names each step in its place.
    const Outcome o = stage(cases[5].edit);
    ASSERT_EQ(o.commands.size(), 3u);
    EXPECT_NE(o.commands[0].find(">Full</ActionGroup>"), std::string::npos);
    EXPECT_NE(o.commands[0].find(">Night</ActionGroup>"), std::string::npos);
    EXPECT_NE(o.commands[1].find("<Action CH=\"2\" Event=\"1\" ActionGroup=\"5\" TriggerID=\"0\""),
              std::string::npos)
        << o.commands[1];
    EXPECT_EQ(o.commands[2].find(">Full</ActionGroup>"), std::string::npos);
    EXPECT_EQ(o.plan, (Strings{"changes action group 3 \"Full\": OSD", "adds action group \"Night\" as ID 5",
                               "changes event action CH 2 DI Low To High: ActionGroup",
                               "removes action group 3 \"Full\""}));
}

TEST_F(EventDocumentTest, ThePageRefusesActionsAndWeeks) {
    struct Case {
        const char* why;
        std::function<void(Json&)> edit;
        std::string message;
        std::function<void(EventTables&, channels::ChannelTables&)> setup = nullptr;
    };
    const std::vector<Case> cases = {
        {"a pair twice: the page offers a channel each event once",
         add({{"CH", 1}, {"Event", "1"}, {"ActionGroup", 2}}),
         "strEventAction[3]: refused: CH 1 DI Low To High appears twice: a channel takes each event once"},
        {"a row of a channel without a camera cannot be opened (473)",
         [](Json& d) { actionOf(d["strEventAction"], 9, "2001")["ActionGroup"] = 1; },
         "strEventAction[2]: refused: This channel can not be set !"},
        {"nor offered for a new action", add({{"CH", 9}, {"Event", "2002"}, {"ActionGroup", 1}}),
         "strEventAction[3]: refused: CH 9: the page offers no channel 9"},
        {"a new action needs its group (295)", add({{"CH", 4}, {"Event", "2001"}}),
         "strEventAction[3]: refused: There is an empty field or has been set !"},
        {"the group combo lists the groups there are",
         [](Json& d) { actionOf(d["strEventAction"], 1, "1")["ActionGroup"] = 9; },
         "strEventAction[0]: refused: ActionGroup 9: there is no action group 9 (offered: Record only, Alarm mail, "
         "Full, Night desk)"},
        {"the kinds offered for a new action leave out the analytics",
         add({{"CH", 1}, {"Event", "2003"}, {"ActionGroup", 1}}),
         "refused: Event 2003: the page does not offer Object Loss for channel 1"},
        {"a DI trigger is one of the channel's inputs",
         add({{"CH", 1}, {"Event", "2"}, {"ActionGroup", 1}, {"TriggerID", 1}}),
         "refused: TriggerID 1: the page offers no such trigger for CH 1 DI High To Low (offered: 1)"},
        {"a pulse needs an output", add({{"CH", 4}, {"Event", "2001"}, {"ActionGroup", 1}, {"DigitalOut", true}}),
         "refused: DigitalOut true: channel 4 has no digital output"},
        {"a preset needs presets", add({{"CH", 1}, {"Event", "2001"}, {"ActionGroup", 1}, {"Preset", true}}),
         "refused: Preset true: the preset box is disabled: channel 1 shows no presets"},
        {"the preset combo holds the channel's presets (from the service's answer)",
         add({{"CH", 3}, {"Event", "2001"}, {"ActionGroup", 1}, {"Preset", true}, {"PresetDest", 9}}),
         "refused: PresetDest 9: channel 3 has no preset 9 (offered: 1-Gate, 2-Car park)"},
        {"Add wants a group to choose (386)", add({{"CH", 1}, {"Event", "2001"}}),
         "strEventAction[0]: refused: More than one action group is required!",
         [](EventTables& t, channels::ChannelTables&) {
             t.strEventGroup = EventGroupList(1);
             t.strEventAction = EventActionList(1);
         }},
        {"Add wants a channel with a kind left (474)", add({{"CH", 4}, {"Event", "2005"}, {"ActionGroup", 1}}),
         "refused: There is not channel can be setting !",
         [](EventTables& t, channels::ChannelTables& c) {
             for (int ch : {1, 2, 3}) c.strCH[static_cast<size_t>(ch - 1)].IP.clear();
             for (const char* code : {"2001", "4001", "2002"})
                 t.strEventAction.push_back({.ID = 9, .CH = 4, .Event = code, .ActionGroup = 1});
         }},
        {"a day is 96 quarter hours",
         [](Json& d) { weekOf(d["strEventSCDL"], 2)["Day"][3] = std::string(95, '1'); },
         "strEventSCDL[1]: refused: channel 2, day 3: 95 characters"},
        {"of 0 and 1", [](Json& d) { weekOf(d["strEventSCDL"], 2)["Day"][6] = kOn.substr(1) + "x"; },
         "strEventSCDL[1]: refused: channel 2, day 6: \"x\" at quarter hour 96"},
        {"the schedule lists the channels with a camera",
         [](Json& d) { d["strEventSCDL"].push_back({{"CH", 9}, {"Day", kWeekendOff}}); },
         "strEventSCDL[4]: refused: channel 9: the schedule lists only the channels that have a camera"},
    };
    const EventTables loaded = t;
    const channels::ChannelTables cameras = channels;
    for (const Case& c : cases) {
        t = loaded;
        channels = cameras;
        if (c.setup) c.setup(t, channels);
        const Outcome o = stage(c.edit);
        ASSERT_EQ(o.refusals.size(), 1u) << c.why;
        EXPECT_NE(o.refusals[0].find(c.message), std::string::npos) << c.why << "\n" << o.refusals[0];
    }
    for (int32_t id : link.ids()) EXPECT_EQ(id, 4101) << "staging only reads the presets";
}

TEST_F(EventDocumentTest, ActionsAndWeeksNotInDumpsFormAreDocumentErrors) {
    const std::vector<std::pair<const char*, std::function<void(Json&)>>> cases = {
        {"an action is known by its channel and event", [](Json& d) { d["strEventAction"].push_back({{"CH", 3}}); }},
        {"the event's code is a text", [](Json& d) { d["strEventAction"].push_back({{"CH", 3}, {"Event", 2001}}); }},
        {"the position is no field", [](Json& d) { d["strEventAction"][0]["ID"] = 1; }},
        {"a check box is true or false", [](Json& d) { d["strEventAction"][0]["DigitalOut"] = 1; }},
        {"channels count from 1", [](Json& d) { d["strEventAction"].push_back({{"CH", 0}, {"Event", "2001"}}); }},
        {"a week is seven days", [](Json& d) { d["strEventSCDL"][0]["Day"].erase(6); }},
        {"a channel has one week", [](Json& d) { d["strEventSCDL"][1]["CH"] = 1; }},
    };
    for (const auto& [why, edit] : cases) EXPECT_THROW(stage(edit), app::DocumentError) << why;
}

TEST_F(EventDocumentTest, WhatThePageMakesOfActionsAndWeeks) {
    // The dump: actions by channel and event, the service's DI count from 0; an empty day all on.
    Json doc;
    EventDocument(t, channels, app.eventTypes, triggers).dump(doc, {});
    EXPECT_EQ(doc["strEventAction"][0], (Json{{"CH", 1}, {"Event", "1"}, {"ActionGroup", 1}, {"TriggerID", 0},
                                              {"DigitalOut", false}, {"Preset", false}, {"DigitalOutID", 0},
                                              {"DigitalOutState", 0}, {"DODuration", 0}, {"PresetDest", 0}}));
    EXPECT_EQ(doc["strEventSCDL"].size(), 4u) << "the configured channels";
    EXPECT_EQ(doc["strEventSCDL"][0]["Day"][0], kOn);

    // A pulse and a preset: the preset is chosen from the service's answer, the pulse length by its
    // index; the read of the presets is all that reaches the service.
    Outcome o = stage(add({{"CH", 3}, {"Event", "2001"}, {"ActionGroup", 2}, {"DigitalOut", true},
                          {"DigitalOutID", 1}, {"DigitalOutState", 1}, {"DODuration", 4}, {"Preset", true},
                          {"PresetDest", 2}}));
    ASSERT_EQ(o.commands.size(), 1u) << (o.refusals.empty() ? "" : o.refusals[0]);
    EXPECT_NE(o.commands[0].find("<Action CH=\"3\" Event=\"2001\" ActionGroup=\"2\" TriggerID=\"-1\" DigitalOut=\"1\" "
                                 "Preset=\"1\" DigitalOutID=\"1\" DigitalOutState=\"1\" DODuration=\"4\" "
                                 "PresetDest=\"2\" /></ActionList>"),
              std::string::npos)
        << o.commands[0];
    EXPECT_EQ(o.plan, Strings{"adds event action CH 3 Motion Event"});
    ASSERT_FALSE(link.sent.empty());
    EXPECT_EQ(link.ids(), std::vector<int32_t>(link.sent.size(), 4101));

    // A DI trigger is chosen counted from 1 and goes out counted from 0.
    o = stage(add({{"CH", 1}, {"Event", "2"}, {"ActionGroup", 1}, {"TriggerID", 0}}));
    ASSERT_EQ(o.commands.size(), 1u) << (o.refusals.empty() ? "" : o.refusals[0]);
    EXPECT_NE(o.commands[0].find("<Action CH=\"1\" Event=\"2\" ActionGroup=\"1\" TriggerID=\"0\""), std::string::npos);

    // An action follows a new group to the ID the page gives it.
    o = stage([](Json& d) {
        d["strEventGroup"].push_back({{"ID", 7}, {"Name", "Night"}});
        actionOf(d["strEventAction"], 1, "1")["ActionGroup"] = 7;
    });
    ASSERT_EQ(o.commands.size(), 2u) << (o.refusals.empty() ? "" : o.refusals[0]);
    EXPECT_NE(o.commands[1].find("<Action CH=\"1\" Event=\"1\" ActionGroup=\"5\""), std::string::npos);
    ASSERT_EQ(o.notes.size(), 1u);
    EXPECT_NE(o.notes[0].find("ID 7 is new; the page gives it ID 5, and the event actions that run it follow"),
              std::string::npos);

    // A save rebuilds every row: a channel without outputs keeps none, and the warning says so.
    t.strEventAction[1].DigitalOutID = 2;
    o = stage([](Json& d) { actionOf(d["strEventAction"], 1, "1")["ActionGroup"] = 2; });
    EXPECT_EQ(o.warnings, Strings{"warning: strEventAction[1]: the page's save also changes CH 2 DI Low To High: "
                                  "DigitalOutID"});
    EXPECT_EQ(o.plan, (Strings{"changes event action CH 1 DI Low To High: ActionGroup",
                               "changes event action CH 2 DI Low To High: DigitalOutID"}));

    // A week painted on the grid goes out whole, each day closed as the service expects.
    o = stage([](Json& d) { weekOf(d["strEventSCDL"], 2)["Day"] = kWeekendOff; });
    std::string week = "<CH>2</CH><EnableList>";
    for (int day = 0; day < 7; ++day)
        week += "<Enable Day=\"" + std::to_string(day) + "\">" + (day % 6 ? kOn : kOff) + "< /Enable>";
    EXPECT_EQ(o.commands, Strings{"<CMD ID=\"32810\"><UserData>CONFIG_AP</UserData><Param>" + week +
                                  "</EnableList></Param></CMD>"});
    EXPECT_EQ(o.plan, Strings{"changes the event schedule of channel 2: days 0, 6"});
}

}  // namespace
}  // namespace kv::events
