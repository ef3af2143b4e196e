// Event handling: the six kinds of notification destinations, the action groups that bundle
// them, and the event action table that names a group per channel and event.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kv::events {

// Destinations. Every list holds at most ten records; an empty list is one record with ID -1.
// `Removed` is set by Remove until the list is sent; `Changed` by a save of the entry.

struct MailServerRecord {
    int16_t ID = -1;
    std::string SenderName, SenderMail, Server;
    int32_t Port = 0;
    std::string UserName, Password, ReceiverName, ReceiverMail, Subject, Content;
    int16_t AttachPic = 0;  // 1 or 0
    int16_t AttachAvi = 0;
    bool Removed = false;
    bool Changed = false;
    bool operator==(const MailServerRecord&) const = default;
};

struct FTPServerRecord {
    int16_t ID = -1;
    std::string Server;
    int32_t Port = 0;
    std::string UserName, Password, UploadPath;
    int32_t Passive = 0;  // 1 or 0
    std::string FileName, Content;
    int32_t AttachPic = 0;  // 1 or 0
    bool Removed = false;
    bool Changed = false;
    bool operator==(const FTPServerRecord&) const = default;
};

struct HTTPServerRecord {
    int16_t ID = -1;
    std::string Server;
    int32_t Port = 0;
    std::string UserName, Password, Content;
    bool Removed = false;
    bool Changed = false;
    bool operator==(const HTTPServerRecord&) const = default;
};

struct TCPServerRecord {
    int16_t ID = -1;
    std::string Server;
    int32_t Port = 0;
    bool Removed = false;
    bool Changed = false;
    bool operator==(const TCPServerRecord&) const = default;
};

/// A warning sound; the path lies on the service's machine.
struct SoundFileRecord {
    int16_t ID = -1;
    std::string Description;
    std::string FilePath;
    bool Removed = false;
    bool Changed = false;
    bool operator==(const SoundFileRecord&) const = default;
};

struct SOPContactRecord {
    int16_t ID = -1;
    std::string Contact, Phone, Note;
    bool Removed = false;
    bool Changed = false;
    bool operator==(const SOPContactRecord&) const = default;
};

using MailServerList = std::vector<MailServerRecord>;
using FTPServerList = std::vector<FTPServerRecord>;
using HTTPServerList = std::vector<HTTPServerRecord>;
using TCPServerList = std::vector<TCPServerRecord>;
using SoundFileList = std::vector<SoundFileRecord>;
using SOPContactList = std::vector<SOPContactRecord>;

/// The kinds in their sub-tab order.
enum Kind : int { kMail = 0, kFTP, kHTTP, kTCP, kWarning, kSOP };
inline constexpr int kKindCount = 6;
/// At most this many entries a list.
inline constexpr size_t kMaxEntries = 10;

/// An action group: what the service does when an event action fires.
struct EventGroupRecord {
    int16_t ID = -1;  // -1: the blank record of an empty list
    std::string Name;
    std::string OSDTextIn;  // "OSDText" as read; never sent back
    bool Record = false;
    bool Emergency = false;  // neither read nor sent
    bool FTP = false, Mail = false, HTTP = false, TCP = false, Sound = false, OSD = false;
    bool SOP = false;
    int16_t FtpDest = 0, MailDest = 0, HTTPDest = 0, TcpDest = 0, SoundDest = 0, SOPDest = 0;
    bool Removed = false;
    bool operator==(const EventGroupRecord&) const = default;
};
using EventGroupList = std::vector<EventGroupRecord>;

struct EventActionRecord {
    int16_t ID = -1;  // position in the loaded list plus 1; -1: the blank record of an empty table
    int16_t CH = 0;   // 1-based
    std::string Event;  // the event code in decimal, kept as text
    int16_t ActionGroup = -1;
    int16_t TriggerID = -1;  // -1: N/A
    bool DigitalOut = false;
    bool Preset = false;
    int16_t DigitalOutID = 0;
    int16_t DigitalOutState = 0;  // 0 CLOSE, 1 OPEN
    int16_t DODuration = 0;
    int16_t PresetDest = 0;
    bool Removed = false;
    bool operator==(const EventActionRecord&) const = default;
};

/// One blank record when empty.
using EventActionList = std::vector<EventActionRecord>;

/// A channel's week of the event schedule: seven day strings, Sunday first. An empty day counts
/// as on all day.
struct EventSCDLRecord {
    int16_t CH = 0;
    std::array<std::string, 7> Day;
    bool operator==(const EventSCDLRecord&) const = default;
};
using EventSCDLTable = std::array<EventSCDLRecord, 64>;
/// Entry i holds channel i + 1 before anything is read.
inline EventSCDLTable EmptyEventSCDLTable() {
    EventSCDLTable t{};
    for (size_t i = 0; i < t.size(); ++i) t[i].CH = static_cast<int16_t>(i + 1);
    return t;
}

/// The events subject's tables in the session.
struct EventTables {
    MailServerList strMailServer = MailServerList(1);
    FTPServerList strFTPServer = FTPServerList(1);
    HTTPServerList strHTTPServer = HTTPServerList(1);
    TCPServerList strTCPServer = TCPServerList(1);
    SoundFileList strSoundFile = SoundFileList(1);
    SOPContactList strSOPContact = SOPContactList(1);
    EventGroupList strEventGroup = EventGroupList(1);
    EventActionList strEventAction = EventActionList(1);
    EventSCDLTable strEventSCDL = EmptyEventSCDLTable();
};

}  // namespace kv::events
