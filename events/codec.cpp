// The destination lists and action groups on the wire, concatenated byte for byte, and the
// readers of their replies and of the event action table.
#include "events/codec.h"

#include <pugixml.hpp>

#include "app/commands.h"
#include "app/protocol.h"
#include "app/wire.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::events {
namespace {

using app::wire::Attr;

// What a group with OSD on shows, whatever the language, and how long its sound plays.
constexpr const char* kOsdText = "Event Trigger";
constexpr int kSoundDuration = 10;

int bit(bool on) { return on ? 1 : 0; }

// The whole list as one write: the records with an ID and no removal mark, in list order.
template <class List, class Element>
std::string listCommand(int32_t id, std::string_view listName, const List& list, Element element) {
    std::string body;
    for (const auto& r : list)
        if (r.ID > 0 && !r.Removed) body += element(r);
    return app::CommandA(id, app::wire::Elem(listName, body));
}

// The RESPONSE of a reply whose return code (by the attribute's base name) is 0.
pugi::xml_node acceptedResponse(const pugi::xml_document& doc) {
    const pugi::xml_node response = app::ResponseOf(doc);
    for (const pugi::xml_attribute a : response.attributes())
        if (app::BaseName(a.name()) == "RET") return app::ToInt32(a.value()) == 0 ? response : pugi::xml_node{};
    return {};
}

// Received text: the parser has undone the entities once, and the service's own escaping is
// undone once more on top, so "&amp;lt;" on the wire reads as "<".
std::string received(std::string_view value) { return base::XMLFilter(value, false); }

std::string text(pugi::xml_node e, const char* name) { return received(e.attribute(name).value()); }
int16_t num16(pugi::xml_node e, const char* name) { return app::ToInt16(e.attribute(name).value()); }
int32_t num32(pugi::xml_node e, const char* name) { return app::ToInt32(e.attribute(name).value()); }
// Flags are numbers on the wire, as in every other reply: anything but 0 is on.
bool flag(pugi::xml_node e, const char* name) { return num32(e, name) != 0; }

// The element's own text, as received.
std::string ownText(pugi::xml_node e) {
    std::string out;
    for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) out += c.value();
    return received(out);
}

// Resets the list to its blank record, then reads one record per element child of the list
// element found anywhere under an accepted RESPONSE; `fill` also gets the record's number from 1.
template <class List, class Fill>
bool readList(const pugi::xml_document& reply, const char* listName, List& list, Fill fill) {
    list = List(1);
    try {
        const pugi::xml_node l = app::FindDeep(acceptedResponse(reply), listName);
        if (!l) return false;
        List read;
        for (pugi::xml_node e = l.first_child(); e; e = e.next_sibling()) {
            if (e.type() != pugi::node_element) continue;
            auto& r = read.emplace_back();
            fill(e, r, read.size());
        }
        if (!read.empty()) list = std::move(read);
        return true;
    } catch (...) {
        list = List(1);
        return false;
    }
}

}  // namespace

std::string Get_EventMailInfo_XML() { return app::CommandA(app::cmd::kGetMailServers, ""); }
std::string Get_EventFTPInfo_XML() { return app::CommandA(app::cmd::kGetFtpServers, ""); }
std::string Get_EventHTTPInfo_XML() { return app::CommandA(app::cmd::kGetHttpServers, ""); }
std::string Get_EventTCPInfo_XML() { return app::CommandA(app::cmd::kGetTcpServers, ""); }
std::string Get_EventSoundInfo_XML() { return app::CommandA(app::cmd::kGetSoundFiles, ""); }
std::string Get_EventSOPInfo_XML() { return app::CommandA(app::cmd::kGetSopList, ""); }
std::string Get_EventGroupInfo_XML() { return app::CommandA(app::cmd::kGetActionGroups, ""); }
std::string Get_EventActionInfo_XML() { return app::CommandA(app::cmd::kGetEventActions, ""); }

std::string Set_EventMailServer_XML(const MailServerList& list) {
    return listCommand(app::cmd::kSetMailServers, "MailList", list, [](const MailServerRecord& r) {
        return "<Mail" + Attr("ID", r.ID) + Attr("SenderName", r.SenderName) + Attr("SenderMail", r.SenderMail) +
               Attr("Server", r.Server) + Attr("Port", r.Port) + Attr("UserName", r.UserName) +
               Attr("Password", r.Password) + Attr("ReceiverName", r.ReceiverName) +
               Attr("ReceiverMail", r.ReceiverMail) + Attr("Subject", r.Subject) + Attr("Content", r.Content) +
               Attr("AttachPic", bit(r.AttachPic != 0)) + Attr("AttachAvi", bit(r.AttachAvi != 0)) + " />";
    });
}

std::string Set_EventFTPServer_XML(const FTPServerList& list) {
    return listCommand(app::cmd::kSetFtpServers, "FTPList", list, [](const FTPServerRecord& r) {
        return "<FTP" + Attr("ID", r.ID) + Attr("Server", r.Server) + Attr("Port", r.Port) +
               Attr("UserName", r.UserName) + Attr("Password", r.Password) + Attr("UploadPath", r.UploadPath) +
               Attr("Passive", bit(r.Passive != 0)) + Attr("FileName", r.FileName) + Attr("Content", r.Content) +
               Attr("AttachPic", bit(r.AttachPic != 0)) + " />";
    });
}

std::string Set_EventHTTPServer_XML(const HTTPServerList& list) {
    return listCommand(app::cmd::kSetHttpServers, "HTTPList", list, [](const HTTPServerRecord& r) {
        return "<HTTP" + Attr("ID", r.ID) + Attr("Server", r.Server) + Attr("Port", r.Port) +
               Attr("UserName", r.UserName) + Attr("Password", r.Password) + Attr("Content", r.Content) + " />";
    });
}

std::string Set_EventTCPServer_XML(const TCPServerList& list) {
    return listCommand(app::cmd::kSetTcpServers, "TCPList", list, [](const TCPServerRecord& r) {
        return "<TCP" + Attr("ID", r.ID) + Attr("Server", r.Server) + Attr("Port", r.Port) + " />";
    });
}

std::string Set_EventSound_XML(const SoundFileList& list) {
    return listCommand(app::cmd::kSetSoundFiles, "FilePathList", list, [](const SoundFileRecord& r) {
        return "<FilePath" + Attr("ID", r.ID) + Attr("Description", r.Description) + ">" +
               base::XMLFilter(r.FilePath, true) + "</FilePath>";
    });
}

std::string Set_EventSOP_XML(const SOPContactList& list) {
    return listCommand(app::cmd::kSetSopList, "SOPList", list, [](const SOPContactRecord& r) {
        return "<SOP" + Attr("ID", r.ID) + Attr("Contact", r.Contact) + Attr("Phone", r.Phone) +
               Attr("Note", r.Note) + " />";
    });
}

std::string Set_EventGroup_XML(const EventGroupList& list) {
    return listCommand(app::cmd::kSetActionGroups, "ActionGroupList", list, [](const EventGroupRecord& g) {
        std::string e = "<ActionGroup" + Attr("ID", g.ID) + Attr("Record", bit(g.Record)) + Attr("FTP", bit(g.FTP)) +
                        Attr("Mail", bit(g.Mail)) + Attr("HTTP", bit(g.HTTP)) + Attr("TCP", bit(g.TCP)) +
                        Attr("Sound", bit(g.Sound)) + Attr("OSD", bit(g.OSD)) + Attr("SOP", bit(g.SOP));
        if (g.FTP) e += Attr("FtpDest", g.FtpDest);
        if (g.Mail) e += Attr("MailDest", g.MailDest);
        if (g.HTTP) e += Attr("HTTPDest", g.HTTPDest);
        if (g.TCP) e += Attr("TcpDest", g.TcpDest);
        // The service expects the contact before the sound, unlike the flags' order.
        if (g.SOP) e += Attr("SOPDest", g.SOPDest);
        if (g.Sound) e += Attr("SoundDest", g.SoundDest);
        if (g.OSD) e += Attr("OSDText", kOsdText);
        return e + Attr("SoundDuration", kSoundDuration) + " >" + base::XMLFilter(g.Name, true) + "</ActionGroup>";
    });
}

bool Load_MailServerList_XML(const pugi::xml_document& reply, MailServerList& list) {
    return readList(reply, "MailList", list, [](pugi::xml_node e, MailServerRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.SenderName = text(e, "SenderName");
        r.SenderMail = text(e, "SenderMail");
        r.Server = text(e, "Server");
        r.Port = num32(e, "Port");
        r.UserName = text(e, "UserName");
        r.Password = text(e, "Password");
        r.ReceiverName = text(e, "ReceiverName");
        r.ReceiverMail = text(e, "ReceiverMail");
        r.Subject = text(e, "Subject");
        r.Content = text(e, "Content");
        r.AttachPic = static_cast<int16_t>(bit(flag(e, "AttachPic")));
        r.AttachAvi = static_cast<int16_t>(bit(flag(e, "AttachAvi")));
    });
}

bool Load_FTPServerList_XML(const pugi::xml_document& reply, FTPServerList& list) {
    return readList(reply, "FTPList", list, [](pugi::xml_node e, FTPServerRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.Server = text(e, "Server");
        r.Port = num32(e, "Port");
        r.UserName = text(e, "UserName");
        r.Password = text(e, "Password");
        r.UploadPath = text(e, "UploadPath");
        r.Passive = bit(flag(e, "Passive"));
        r.FileName = text(e, "FileName");
        r.Content = text(e, "Content");
        r.AttachPic = bit(flag(e, "AttachPic"));
    });
}

bool Load_httpServerList_XML(const pugi::xml_document& reply, HTTPServerList& list) {
    return readList(reply, "HTTPList", list, [](pugi::xml_node e, HTTPServerRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.Server = text(e, "Server");
        r.Port = num32(e, "Port");
        r.UserName = text(e, "UserName");
        r.Password = text(e, "Password");
        r.Content = text(e, "Content");
    });
}

bool Load_TCPServerList_XML(const pugi::xml_document& reply, TCPServerList& list) {
    return readList(reply, "TCPList", list, [](pugi::xml_node e, TCPServerRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.Server = text(e, "Server");
        r.Port = num32(e, "Port");
    });
}

bool Load_SOUNDServerList_XML(const pugi::xml_document& reply, SoundFileList& list) {
    return readList(reply, "FilePathList", list, [](pugi::xml_node e, SoundFileRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.Description = text(e, "Description");
        r.FilePath = ownText(e);
    });
}

bool Load_SOPServerList_XML(const pugi::xml_document& reply, SOPContactList& list) {
    return readList(reply, "SOPList", list, [](pugi::xml_node e, SOPContactRecord& r, size_t) {
        r.ID = num16(e, "ID");
        r.Contact = text(e, "Contact");
        r.Phone = text(e, "Phone");
        r.Note = text(e, "Note");
    });
}

bool Load_EventActionGroup_XML(const pugi::xml_document& reply, EventGroupList& list) {
    return readList(reply, "ActionGroupList", list, [](pugi::xml_node e, EventGroupRecord& g, size_t) {
        g.ID = num16(e, "ID");
        g.Name = ownText(e);
        g.OSDTextIn = text(e, "OSDText");
        g.Record = flag(e, "Record");
        g.FTP = flag(e, "FTP");
        g.Mail = flag(e, "Mail");
        g.HTTP = flag(e, "HTTP");
        g.TCP = flag(e, "TCP");
        g.Sound = flag(e, "Sound");
        g.OSD = flag(e, "OSD");
        g.SOP = flag(e, "SOP");
        // Destinations are taken whether or not their flag is on; an absent one stays 0.
        g.FtpDest = num16(e, "FtpDest");
        g.MailDest = num16(e, "MailDest");
        g.HTTPDest = num16(e, "HTTPDest");
        g.TcpDest = num16(e, "TcpDest");
        g.SoundDest = num16(e, "SoundDest");
        g.SOPDest = num16(e, "SOPDest");
    });
}

bool Load_EventAction_XML(const pugi::xml_document& reply, EventActionList& list) {
    return readList(reply, "ActionList", list, [](pugi::xml_node e, EventActionRecord& a, size_t number) {
        // The table has no id of its own on the wire: a record is numbered by its place.
        a.ID = static_cast<int16_t>(number);
        a.CH = num16(e, "CH");
        a.Event = text(e, "Event");
        a.ActionGroup = num16(e, "ActionGroup");
        a.TriggerID = num16(e, "TriggerID");
        a.DigitalOut = flag(e, "DigitalOut");
        a.Preset = flag(e, "Preset");
        a.DigitalOutID = num16(e, "DigitalOutID");
        a.DigitalOutState = num16(e, "DigitalOutState");
        a.DODuration = num16(e, "DODuration");
        a.PresetDest = num16(e, "PresetDest");
    });
}

bool Load_MailServerList_XML(std::string_view xml, MailServerList& list) {
    return Load_MailServerList_XML(app::ParseReply(xml), list);
}
bool Load_FTPServerList_XML(std::string_view xml, FTPServerList& list) {
    return Load_FTPServerList_XML(app::ParseReply(xml), list);
}
bool Load_httpServerList_XML(std::string_view xml, HTTPServerList& list) {
    return Load_httpServerList_XML(app::ParseReply(xml), list);
}
bool Load_TCPServerList_XML(std::string_view xml, TCPServerList& list) {
    return Load_TCPServerList_XML(app::ParseReply(xml), list);
}
bool Load_SOUNDServerList_XML(std::string_view xml, SoundFileList& list) {
    return Load_SOUNDServerList_XML(app::ParseReply(xml), list);
}
bool Load_SOPServerList_XML(std::string_view xml, SOPContactList& list) {
    return Load_SOPServerList_XML(app::ParseReply(xml), list);
}
bool Load_EventActionGroup_XML(std::string_view xml, EventGroupList& list) {
    return Load_EventActionGroup_XML(app::ParseReply(xml), list);
}
bool Load_EventAction_XML(std::string_view xml, EventActionList& list) {
    return Load_EventAction_XML(app::ParseReply(xml), list);
}

std::string SetCommandOf(const EventTables& tables, int kind) {
    switch (kind) {
        case kMail: return Set_EventMailServer_XML(tables.strMailServer);
        case kFTP: return Set_EventFTPServer_XML(tables.strFTPServer);
        case kHTTP: return Set_EventHTTPServer_XML(tables.strHTTPServer);
        case kTCP: return Set_EventTCPServer_XML(tables.strTCPServer);
        case kWarning: return Set_EventSound_XML(tables.strSoundFile);
        case kSOP: return Set_EventSOP_XML(tables.strSOPContact);
        default: return {};
    }
}

std::string Set_EventAction_XML(const EventActionList& list) {
    std::string body;
    for (const EventActionRecord& r : list) {
        if (r.ID < 0) continue;
        body += "<Action" + Attr("CH", r.CH) + Attr("Event", r.Event) + Attr("ActionGroup", r.ActionGroup) +
                Attr("TriggerID", r.TriggerID) + Attr("DigitalOut", bit(r.DigitalOut)) +
                Attr("Preset", bit(r.Preset)) + Attr("DigitalOutID", r.DigitalOutID) +
                Attr("DigitalOutState", r.DigitalOutState) + Attr("DODuration", r.DODuration) +
                Attr("PresetDest", r.PresetDest) + " />";
    }
    return app::CommandA(app::cmd::kSetEventActions, app::wire::Elem("ActionList", body));
}

std::string Get_EventSCDLInfo_XML() { return app::CommandA(app::cmd::kGetEventSchedule, ""); }

std::string Set_EventSCDL_XML(const EventSCDLRecord& record) {
    std::string b = app::wire::Num("CH", record.CH) + "<EnableList>";
    for (size_t d = 0; d < record.Day.size(); ++d)
        b += "<Enable" + Attr("Day", static_cast<int64_t>(d)) + ">" + base::XMLFilter(record.Day[d], true) +
             "< /Enable>";
    b += "</EnableList>";
    return app::CommandA(app::cmd::kSetEventSchedule, b);
}

bool Load_EventSCDL_XML(const pugi::xml_document& reply, EventSCDLTable& table) {
    try {
        const pugi::xml_node response = acceptedResponse(reply);
        if (!response) return false;
        // The entry a CH attribute selected stays selected for the Day attributes after it, until
        // another CH selects again; a bad CH selects nothing.
        EventSCDLRecord* selected = nullptr;
        const pugi::xml_node list = app::FindDeep(response, "EnableList");
        for (pugi::xml_node e = list.first_child(); e; e = e.next_sibling()) {
            if (e.type() != pugi::node_element || std::string_view(e.name()) != "Enable") continue;
            for (const pugi::xml_attribute a : e.attributes()) {
                const std::string_view n = a.name();
                if (n == "CH") {
                    const int32_t ch = app::ToInt32(a.value());
                    selected = ch >= 1 && ch <= static_cast<int32_t>(table.size())
                                   ? &table[static_cast<size_t>(ch - 1)]
                                   : nullptr;
                    if (selected) selected->CH = static_cast<int16_t>(ch);
                } else if (n == "Day") {
                    const int32_t day = app::ToInt32(a.value());
                    if (selected && day >= 0 && day < static_cast<int32_t>(selected->Day.size()))
                        selected->Day[static_cast<size_t>(day)] = ownText(e);
                }
            }
        }
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_EventSCDL_XML(std::string_view xml, EventSCDLTable& table) {
    return Load_EventSCDL_XML(app::ParseReply(xml), table);
}

}  // namespace kv::events
