// Event handling: destinations (32772, 32773, 32774, 32805, 32780, 32799), action groups (32778),
// event actions (32777) and the event schedule (32809).
#include "sim/seed_internal.h"

namespace kv::sim::seed {
namespace {

const char* const kMailContent =
    "Event Trigger Mail Time : [$EVT_DATE$] A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger "
    "ID=$EVT_TRGID$";
const char* const kFtpContent =
    "Time : [$EVT_DATE$] - A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger ID=$EVT_TRGID$ !";

std::string mailList() {
    struct Mail {
        int id;
        const char *senderName, *senderMail, *server;
        int port;
        const char *user, *password, *receiverName, *receiverMail, *subject;
        int pic, avi;
    };
    const Mail list[] = {
        {1, "Kelvarra Server", "nvr@example.com", "mail.example.com", 25, "nvr", "m@il&1", "Security Desk",
         "security@example.com", "Event $EVT_NAME$ on CH $EVT_CH$", 1, 0},
        {2, "Kelvarra Server", "nvr@example.com", "smtp.example.net", 587, "", "", "Facility Manager",
         "facility@example.net", "", 0, 1},
    };
    std::string out;
    for (const Mail& m : list) {
        out += "<Mail" + attr("ID", m.id) + attr("SenderName", m.senderName) + attr("SenderMail", m.senderMail) +
               attr("Server", m.server) + attr("Port", m.port) + attr("UserName", m.user) +
               attr("Password", m.password) + attr("ReceiverName", m.receiverName) +
               attr("ReceiverMail", m.receiverMail) + attr("Subject", m.subject) + attr("Content", kMailContent) +
               attr("AttachPic", m.pic) + attr("AttachAvi", m.avi) + " />";
    }
    return wrap("MailList", out);
}

std::string ftpList() {
    return wrap("FTPList", "<FTP" + attr("ID", 1) + attr("Server", "ftp.example.com") + attr("Port", 21) +
                               attr("UserName", "upload") + attr("Password", "ftp-pass") +
                               attr("UploadPath", "/events") + attr("Passive", 1) +
                               attr("FileName", "Kelvarra 64_Channel $EVT_CH$_$EVT_DATE1$_ID_$EVT_TRGID$.txt") +
                               attr("Content", kFtpContent) + attr("AttachPic", 1) + " />");
}

std::string httpList() {
    return wrap("HTTPList", "<HTTP" + attr("ID", 1) + attr("Server", "192.168.10.5") + attr("Port", 80) +
                                attr("UserName", "hook") + attr("Password", "h00k") +
                                attr("Content", "TEST MESSAGE !") + " />");
}

std::string tcpList() {
    return wrap("TCPList", "<TCP" + attr("ID", 1) + attr("Server", "192.168.10.6") + attr("Port", 5000) + " />");
}

std::string soundList() {
    return wrap("FilePathList", "<FilePath" + attr("ID", 1) + attr("Description", "Chime") + ">" +
                                    esc("C:\\Sounds\\chime.wav") + "</FilePath>" + "<FilePath" + attr("ID", 2) +
                                    attr("Description", "Siren") + ">" + esc("C:\\Sounds\\siren.wav") +
                                    "</FilePath>");
}

std::string sopList() {
    return wrap("SOPList", "<SOP" + attr("ID", 1) + attr("Contact", "Security Desk") +
                               attr("Phone", "+44 20 7946 0000") + attr("Note", "Staffed 24/7") + " />" + "<SOP" +
                               attr("ID", 2) + attr("Contact", "Facility Manager") +
                               attr("Phone", "+44 20 7946 0001") + attr("Note", "Call first, then mail") + " />");
}

// A group in the form the client writes it; a destination of 0 means the action is off.
struct Group {
    int id;
    const char* name;
    bool record;
    int ftp, mail, http, tcp, sound;
    bool osd;
    int sop;
};

std::string actionGroup(const Group& g) {
    std::string out = "<ActionGroup" + attr("ID", g.id) + attr("Record", g.record ? 1 : 0) + attr("FTP", g.ftp ? 1 : 0) +
                      attr("Mail", g.mail ? 1 : 0) + attr("HTTP", g.http ? 1 : 0) + attr("TCP", g.tcp ? 1 : 0) +
                      attr("Sound", g.sound ? 1 : 0) + attr("OSD", g.osd ? 1 : 0) + attr("SOP", g.sop ? 1 : 0);
    if (g.ftp) out += attr("FtpDest", g.ftp);
    if (g.mail) out += attr("MailDest", g.mail);
    if (g.http) out += attr("HTTPDest", g.http);
    if (g.tcp) out += attr("TcpDest", g.tcp);
    if (g.sop) out += attr("SOPDest", g.sop);
    if (g.sound) out += attr("SoundDest", g.sound);
    if (g.osd) out += attr("OSDText", "Event Trigger");
    return out + attr("SoundDuration", 10) + " >" + esc(g.name) + "</ActionGroup>";
}

std::string actionGroups() {
    const Group list[] = {
        {1, "Record only", true, 0, 0, 0, 0, 0, false, 0},
        {2, "Alarm mail", true, 0, 1, 0, 0, 1, false, 0},
        {3, "Full response", true, 1, 2, 1, 1, 2, true, 1},
        {4, "Night desk", false, 0, 1, 0, 0, 0, false, 2},
    };
    std::string out;
    for (const Group& g : list) out += actionGroup(g);
    return wrap("ActionGroupList", out);
}

std::string eventActions() {
    struct Action {
        int ch;
        const char* event;
        int group, trigger, digitalOut, preset, doId, doState, doDuration, presetDest;
    };
    // Digital outputs only on cameras that have them (1 and the encoder's 13), presets only on PTZ (3);
    // 4110 is the first POS trigger event (4109 + its id 1).
    const Action list[] = {
        {1, "1", 2, 0, 1, 0, 1, 1, 2, 0},  {1, "2001", 1, -1, 0, 0, 0, 0, 0, 0},
        {2, "2001", 1, -1, 0, 0, 0, 0, 0, 0}, {3, "2001", 3, -1, 0, 1, 0, 0, 0, 2},
        {5, "2", 2, 0, 0, 0, 0, 0, 0, 0},  {5, "2002", 3, -1, 0, 0, 0, 0, 0, 0},
        {6, "2001", 4, -1, 0, 0, 0, 0, 0, 0}, {8, "4001", 1, -1, 0, 0, 0, 0, 0, 0},
        {9, "4110", 4, 1, 0, 0, 0, 0, 0, 0}, {13, "1", 2, 2, 1, 0, 2, 0, 1, 0},
    };
    std::string out;
    for (const Action& a : list) {
        out += "<Action" + attr("CH", a.ch) + attr("Event", a.event) + attr("ActionGroup", a.group) +
               attr("TriggerID", a.trigger) + attr("DigitalOut", a.digitalOut) + attr("Preset", a.preset) +
               attr("DigitalOutID", a.doId) + attr("DigitalOutState", a.doState) + attr("DODuration", a.doDuration) +
               attr("PresetDest", a.presetDest) + " />";
    }
    return wrap("ActionList", out);
}

std::string eventSchedule() {
    // The indoor cameras raise events outside office hours only (weekdays 07:00 to 19:00 off).
    std::string night = dayString(0, 96);
    for (int i = 28; i < 76; ++i) night[static_cast<size_t>(i)] = '0';
    const std::string allDay = dayString(0, 96);
    std::string out;
    for (int ch = 1; ch <= 64; ++ch) {
        const bool office = ch >= 4 && ch <= 7;
        for (int day = 0; day < 7; ++day) {
            const bool weekday = day >= 1 && day <= 5;
            out += "<Enable" + attr("CH", ch) + attr("Day", day) + ">" + (office && weekday ? night : allDay) +
                   "</Enable>";
        }
    }
    return wrap("EnableList", out);
}

}  // namespace

void addEventDocuments(Documents& docs, bool demo) {
    docs.emplace_back("32772", demo ? mailList() : wrap("MailList", ""));
    docs.emplace_back("32773", demo ? ftpList() : wrap("FTPList", ""));
    docs.emplace_back("32774", demo ? httpList() : wrap("HTTPList", ""));
    docs.emplace_back("32805", demo ? tcpList() : wrap("TCPList", ""));
    docs.emplace_back("32780", demo ? soundList() : wrap("FilePathList", ""));
    docs.emplace_back("32799", demo ? sopList() : wrap("SOPList", ""));
    docs.emplace_back("32778", demo ? actionGroups() : wrap("ActionGroupList", ""));
    docs.emplace_back("32777", demo ? eventActions() : wrap("ActionList", ""));
    docs.emplace_back("32809", demo ? eventSchedule() : wrap("EnableList", ""));
}

}  // namespace kv::sim::seed
