// The response table and its dispatch: parser first, then the row's flag or follow-up.
#include "app/dispatcher.h"

#include <pugixml.hpp>

#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::app {

const std::map<int32_t, ResponseRow>& ResponseTable() {
    static const std::map<int32_t, ResponseRow> table = [] {
        const ResponseRow rows[] = {
            {4098, "Load_EMapNode_XML", 14},
            {8194, "Load_SearchCamera_XML", -1, FollowUp::SearchDone},
            {24578, "GetChannelStatus", -1},
            {24582, "Load_ChannelDetailInfo_XML", 1},
            {32772, "Load_MailServerList_XML", 9},
            {32773, "Load_FTPServerList_XML", 10},
            {32774, "Load_httpServerList_XML", 11},
            {32777, "Load_EventAction_XML", 6},
            {32778, "Load_EventActionGroup_XML", 7, FollowUp::EnActionCondition},
            {32780, "Load_SOUNDServerList_XML", 12},
            {32783, "Load_RecSetting_XML", 18},
            {32785, "Load_RecPath_XML", 17},
            {32787, "Load_IntelligentInfo_XML", 2},
            {32790, "Load_ServiceInfo_XML", 0, FollowUp::ServiceInfo},
            {32792, "Load_OBLossROI_XML", 4},
            {32794, "Load_MDROI_XML", 3},
            {32796, "Load_TripWireROI_XML", 5},
            {32799, "Load_SOPServerList_XML", 13},
            {32801, "Load_UserList_XML", 16},
            {32803, "Load_UserGroup_XML", 15},
            {32805, "Load_TCPServerList_XML", 20},
            {32808, "Load_RecSCDL_XML", 19, FollowUp::ShowRecInfo},
            {32809, "Load_EventSCDL_XML", 8},
            {32811, "Load_ObjCountingROI_XML", 5},
            {32815, "Load_GetHDPath_XML", 21, FollowUp::ShowStorage},
            {32816, "Load_DirList_XML", -1},
            {32820, "Load_FaceCountingROI_XML", -1},
            {32824, "Load_POSSetting_XML", -1},
            {32828, "Load_POSDefineTriiggerEvent_XML", -1},
            {32832, "Load_POSProfileList_XML", -1, FollowUp::ProfileListArrived},
            {32833, "Load_POSProfile_XML", -1},
            {32837, "Load_DDNSSetting_XML", -1},
            {40961, "GetServiceStatus", -1, FollowUp::StatusArrived},
            {40994, "Load_COMPortList_XML", -1},
            {40995, "Load_DDNSStatus_XML", -1},
            {40996, "Load_DDNSCheck", -1},
            {cmd::kCheckPort, "Load_PortChecking_XML", -1},
        };
        std::map<int32_t, ResponseRow> m;
        for (const ResponseRow& r : rows) m.emplace(r.id, r);
        return m;
    }();
    return table;
}

PageReady DerivePageReady(const DataReady& f, const PageReady& previous) {
    PageReady p{};
    p[0] = f[0];
    p[1] = f[1];
    p[2] = f[2] || f[3] || f[4] || f[5];
    p[3] = f[6] || f[7] || f[8] || f[9] || f[10] || f[11] || f[12] || f[13];
    p[4] = f[14];
    p[5] = f[15] || f[16];
    p[6] = f[17] || f[18] || f[19];
    p[9] = previous[9];
    return p;
}

bool Dispatcher::registerParser(int32_t responseId, Parser parser) {
    if (!ResponseTable().count(responseId)) return false;
    parsers_[responseId] = std::move(parser);
    return true;
}

void Dispatcher::setFollowUp(FollowUp which, FollowUpHandler handler) { followUps_[which] = std::move(handler); }

int32_t Dispatcher::ControlCOM_OnResponse(const std::string& xml) {
    if (bAppEnding) return 0;
    // Parsed once: the id and the subject's reader share the document.
    const pugi::xml_document doc = ParseReply(xml);
    const int32_t id = Load_XML_RESPONSE(doc);
    const auto& table = ResponseTable();
    const auto row = table.find(id);
    if (row == table.end()) return 0;
    // A parser that fails ends quietly: the row's flag is set all the same.
    if (const auto p = parsers_.find(id); p != parsers_.end() && p->second) {
        try {
            p->second(doc);
        } catch (...) {
        }
    }
    switch (row->second.followUp) {
        case FollowUp::SearchDone: bSearchDone = true; break;
        case FollowUp::ProfileListArrived: iProfileListArrived = 1; break;
        case FollowUp::StatusArrived: bStatusArrived = true; break;
        default: break;
    }
    if (const auto f = followUps_.find(row->second.followUp); f != followUps_.end() && f->second) {
        try {
            f->second();
        } catch (...) {
        }
    }
    if (row->second.flag >= 0) bDataReady[static_cast<size_t>(row->second.flag)] = true;
    return id;
}

void Dispatcher::ServerNotify(const std::string& xml) {
    if (bAppEnding) return;
    try {
        pugi::xml_document doc;
        if (!doc.load_buffer(xml.data(), xml.size()) || !doc.document_element()) return;
        const pugi::xml_node n = doc.select_node("//NOTIFY").node();
        if (!n) return;
        for (const pugi::xml_node child : n.children()) {
            if (std::string_view(child.name()) != "Reboot") continue;
            if (base::LeadingNumber(child.text().get()) == 1) {
                bRebooting = true;
                if (onReboot_) onReboot_(true);
            }
        }
    } catch (...) {
    }
}

}  // namespace kv::app
