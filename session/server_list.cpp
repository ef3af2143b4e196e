// The known-server dialog's rules.
#include "session/server_list.h"

#include <algorithm>

#include "app/xml_read.h"
#include "base/lang.h"
#include "base/text.h"
#include "link/service_link.h"
#include "store/local_db.h"

namespace kv::session {
namespace {

/// Text of the notice for a found server on this machine.
constexpr int32_t kTextOnThisMachine = 929;

bool isLocal(const ServerRow& r) { return r.bLocalService || base::Trim(r.ServiceIP) == store::kLocalServiceIP; }

}  // namespace

bool ParseDeviceList(const std::string& xml, std::vector<FoundServer>& found) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node list = app::FindDeep(doc, "DeviceList");
        if (!list) return false;
        std::vector<FoundServer> out;
        for (const pugi::xml_node d : list.children()) {
            if (d.type() != pugi::node_element) continue;
            FoundServer f;
            if (std::string_view(d.name()) == "Device") {
                f.IP = d.child("IP").text().get();
                f.Port = d.child("Port").text().get();
                f.Manufacturer = d.child("Manufacturer").text().get();
                f.Model = d.child("Model").text().get();
                f.DeviceType = d.child("DeviceType").text().get();
                f.DeviceName = d.child("DeviceName").text().get();
                f.MAC = d.child("MAC").text().get();
            }
            out.push_back(std::move(f));
        }
        found = std::move(out);
        return true;
    } catch (...) {
        return false;
    }
}

ServerListModel::ServerListModel(std::vector<ServerRow>& rows, app::Prompter& prompter, const base::Language& lang,
                                 link::ServiceLink& link, store::LocalDatabase& db, int16_t iLanguage)
    : rows_(rows), prompter_(prompter), lang_(lang), link_(link), db_(db), iLanguage_(iLanguage) {
    ShowServerList();
}

std::array<std::string, ServerListModel::kColumnCount> ServerListModel::headings() const {
    return {"ID", "ON", "IP", lang_.GetText(235), lang_.GetText(328), lang_.GetText(151), "bSaveAccount"};
}

std::array<std::string, 7> ServerListModel::foundHeadings() const {
    return {lang_.GetText(290), lang_.GetText(135), lang_.GetText(193), lang_.GetText(194),
            lang_.GetText(326), "MAC",             lang_.GetText(530)};
}

int32_t ServerListModel::NewServiceID() const {
    int32_t id = 1;  // 0 stands for the local row, even while the list has none
    while (std::any_of(rows_.begin(), rows_.end(), [id](const ServerRow& r) { return r.iID == id; })) ++id;
    return id;
}

int32_t ServerListModel::CheckInput() const {
    const std::string address = base::Trim(txtNetwork[kAddress]);
    if (txtNetwork[kAddress].empty()) return -100;
    if (txtNetwork[kPort].empty()) return -101;
    if (chkAccountSave && txtNetwork[kUser].empty()) return -102;
    if (address == store::kLocalServiceIP) return -104;
    const int32_t port = static_cast<int32_t>(base::LeadingNumber(txtNetwork[kPort]));
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (!editingNew_ && static_cast<int32_t>(i) == selectedRow) continue;
        if (base::Trim(rows_[i].ServiceIP) == address && rows_[i].ServicePort == port) return -103;
    }
    return 1;
}

void ServerListModel::ShowServerList() {
    grid.clear();
    for (const ServerRow& r : rows_) {
        grid.push_back({std::to_string(r.iID), r.iLinkActive == 1 ? "V" : "", r.ServiceIP,
                        std::to_string(r.ServicePort), r.ServiceName, r.Desciption, r.bSaveAccount ? "1" : "0"});
    }
    if (selectedRow >= static_cast<int32_t>(rows_.size())) selectedRow = -1;
    showUpDown();
}

void ServerListModel::ShowONStatus() {
    for (auto& cells : grid) {
        if (cells[0].empty()) continue;
        const int32_t id = static_cast<int32_t>(base::LeadingNumber(cells[0]));
        const auto it = std::find_if(rows_.begin(), rows_.end(), [id](const ServerRow& r) { return r.iID == id; });
        if (it != rows_.end()) cells[1] = it->iLinkActive == 1 ? "V" : "";
    }
}

void ServerListModel::CleanField() {
    txtNetwork = {};
    chkAccountSave = false;
    txtID.clear();
}

void ServerListModel::gridServiceList_Click(int32_t row) {
    if (row < 0 || row >= static_cast<int32_t>(rows_.size())) return;
    selectedRow = row;
    editingNew_ = false;
    const ServerRow& r = rows_[static_cast<size_t>(row)];
    txtNetwork = {r.ServiceIP, std::to_string(r.ServicePort), r.ServiceUserAccount, r.ServicePassword,
                  r.ServiceName, r.Desciption};
    chkAccountSave = r.bSaveAccount;
    txtID = std::to_string(r.iID);
    const bool local = isLocal(r);
    fieldsEnabled = !local;
    frameService = true;
    cmdSaveEnabled = {true, !local, true, !local, true};
    showUpDown();
}

void ServerListModel::cmdSave_Click(int32_t index) {
    switch (index) {
        case 0:  // new
            CleanField();
            txtID = std::to_string(NewServiceID());
            editingNew_ = true;
            fieldsEnabled = true;
            frameService = true;
            cmdSaveEnabled = {true, false, true, true, true};
            break;
        case 1: {  // delete
            if (selectedRow < 0 || selectedRow >= static_cast<int32_t>(rows_.size())) return;
            const ServerRow& r = rows_[static_cast<size_t>(selectedRow)];
            if (isLocal(r)) return;
            rows_.erase(rows_.begin() + selectedRow);
            selectedRow = -1;
            frameService = false;
            CleanField();
            ShowServerList();
            cmdSaveEnabled = {true, false, true, false, true};
            break;
        }
        case 2:  // search
            frameSearch = true;
            CmdResearch_Click();
            break;
        case 3: {  // save
            if (!fieldsEnabled) return;
            const int32_t check = CheckInput();
            if (check < 1) {
                const int32_t id = check == -104 ? 697 : check == -103 ? 559 : 295;
                prompter_.box(app::BoxKind::Notice, lang_.GetText(id), lang_.GetText(149));
                return;
            }
            ServerRow r;
            if (!editingNew_ && selectedRow >= 0) r = rows_[static_cast<size_t>(selectedRow)];
            r.iID = static_cast<int32_t>(base::LeadingNumber(txtID));
            r.ServiceIP = base::Trim(txtNetwork[kAddress]);
            r.ServicePort = static_cast<int32_t>(base::LeadingNumber(txtNetwork[kPort]));
            r.ServiceUserAccount = txtNetwork[kUser];
            r.ServicePassword = txtNetwork[kPassword];
            r.ServiceName = txtNetwork[kName];
            r.Desciption = txtNetwork[kDescription];
            r.bSaveAccount = chkAccountSave;
            if (editingNew_ || selectedRow < 0) rows_.push_back(r);
            else rows_[static_cast<size_t>(selectedRow)] = r;
            editingNew_ = false;
            frameService = false;
            ShowServerList();
            cmdSaveEnabled = {true, false, true, false, true};
            break;
        }
        case 4:  // close
            if (!db_.Set_Service(rows_, iLanguage_))
                prompter_.box(app::BoxKind::Critical, lang_.GetText(512) + "\n" + db_.error(), lang_.GetText(149));
            closed = true;
            break;
        default: break;
    }
    showUpDown();
}

void ServerListModel::showUpDown() {
    const int32_t n = static_cast<int32_t>(rows_.size());
    const auto row = [this](int32_t i) -> const ServerRow& { return rows_[static_cast<size_t>(i)]; };
    const bool movable = !editingNew_ && selectedRow >= 0 && selectedRow < n && !isLocal(row(selectedRow));
    imgUpDownEnabled[0] = movable && selectedRow > 0 && !isLocal(row(selectedRow - 1));
    imgUpDownEnabled[1] = movable && selectedRow + 1 < n;
}

void ServerListModel::imgUpDown_Click(int32_t index) {
    if (index < 0 || index > 1 || !imgUpDownEnabled[static_cast<size_t>(index)]) return;
    const int32_t other = index == 0 ? selectedRow - 1 : selectedRow + 1;
    std::swap(rows_[static_cast<size_t>(selectedRow)], rows_[static_cast<size_t>(other)]);
    // The selection and the open fields go with the row.
    selectedRow = other;
    ShowServerList();
}

bool ServerListModel::txtNetwork_KeyPress(int32_t index, char key) {
    if (index == kAddress) return (key >= '0' && key <= '9') || key == '.';
    if (index == kPort) return key >= '0' && key <= '9';
    return true;
}

void ServerListModel::CmdResearch_Click() {
    searchRunning = true;
    searchDone_ = false;
    researchEnabled = false;
    searchStatus = lang_.GetText(537);
    found.clear();
    foundGrid.clear();
    link_.SearchServers(20, 8);
}

void ServerListModel::OnSearchResult(const std::string& xml) {
    ParseDeviceList(xml, found);
    searchDone_ = true;
}

void ServerListModel::Timer() {
    ShowONStatus();
    if (!searchRunning || !searchDone_) return;
    searchRunning = false;
    researchEnabled = true;
    searchStatus.clear();
    showFound();
}

void ServerListModel::showFound() {
    foundGrid.clear();
    for (const FoundServer& f : found)
        foundGrid.push_back({f.marked ? "V" : "", f.IP, f.Manufacturer, f.Model, f.Port, f.MAC, f.DeviceName});
}

void ServerListModel::CameraList_Click(int32_t row) {
    if (row < 0 || row >= static_cast<int32_t>(found.size())) return;
    found[static_cast<size_t>(row)].marked = !found[static_cast<size_t>(row)].marked;
    showFound();
}

void ServerListModel::cmdExitSearch_Click() {
    bool onThisMachine = false;
    for (const FoundServer& f : found) {
        if (!f.marked || f.IP.empty()) continue;
        // The loopback address is the local server's row; the list keeps no other (the
        // address may not be entered by hand either): the dialog says how to reach it.
        if (base::Trim(f.IP) == store::kLocalServiceIP) {
            onThisMachine = true;
            continue;
        }
        const int32_t port = f.Port.empty() ? 9877 : static_cast<int32_t>(base::LeadingNumber(f.Port));
        const bool known = std::any_of(rows_.begin(), rows_.end(), [&](const ServerRow& r) {
            return base::Trim(r.ServiceIP) == f.IP && r.ServicePort == port;
        });
        if (known) continue;
        ServerRow r;
        r.iID = NewServiceID();
        r.ServiceIP = f.IP;
        r.ServicePort = port;
        r.ServiceName = f.DeviceName;
        r.Desciption = f.Manufacturer.empty() ? f.Model : f.Manufacturer + " " + f.Model;
        rows_.push_back(r);
    }
    frameSearch = false;
    searchRunning = false;
    researchEnabled = true;
    ShowServerList();
    if (onThisMachine) prompter_.box(app::BoxKind::Notice, lang_.GetText(kTextOnThisMachine), lang_.GetText(149));
}

}  // namespace kv::session
