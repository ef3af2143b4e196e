// The known-server dialog as a model: the grid, the edit fields with their checks, new, delete,
// save and close, and the search of the local network with its marked results.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "session/config.h"
#include "app/prompter.h"

namespace kv::base {
class Language;
}
namespace kv::link {
class ServiceLink;
}
namespace kv::store {
class LocalDatabase;
}

namespace kv::session {

/// A server found by the search of the local network.
struct FoundServer {
    std::string IP;
    std::string Port;
    std::string Manufacturer;
    std::string Model;
    std::string DeviceType;
    std::string DeviceName;
    std::string MAC;
    bool marked = false;  // the "V" of the list
};

/// Reads a DeviceList text into found servers; a text without a root leaves the list as it is
/// and answers false.
bool ParseDeviceList(const std::string& xml, std::vector<FoundServer>& found);

class ServerListModel {
public:
    /// Field indices of txtNetwork.
    enum Field { kAddress = 0, kPort = 1, kUser = 2, kPassword = 3, kName = 4, kDescription = 5, kFieldCount = 6 };
    /// Grid columns: "ID", "ON", "IP", port, name, description, the hidden "bSaveAccount".
    static constexpr int kColumnCount = 7;

    ServerListModel(std::vector<ServerRow>& rows, app::Prompter& prompter, const base::Language& lang,
                    link::ServiceLink& link, store::LocalDatabase& db, int16_t iLanguage);

    /// The grid, one row per server, cells as shown.
    std::vector<std::array<std::string, kColumnCount>> grid;
    std::array<std::string, kColumnCount> headings() const;
    std::array<std::string, kFieldCount> txtNetwork;
    bool chkAccountSave = false;
    std::string txtID;
    bool frameService = false;
    bool frameSearch = false;
    bool fieldsEnabled = true;    // false for the local row
    std::array<bool, 5> cmdSaveEnabled{true, false, true, false, true};
    /// imgUpDown: 0 moves the selected row up, 1 down.
    std::array<bool, 2> imgUpDownEnabled{};
    int32_t selectedRow = -1;
    bool closed = false;

    // The search.
    bool searchRunning = false;
    bool researchEnabled = true;
    std::string searchStatus;
    std::vector<FoundServer> found;
    /// gridTmpServerlist: the found rows as shown ("V", address, brand, model, port, MAC, name).
    std::vector<std::array<std::string, 7>> foundGrid;
    std::array<std::string, 7> foundHeadings() const;

    /// The smallest id from 1 that no row has; 0 is the local row's.
    int32_t NewServiceID() const;
    /// 1 when the fields can be saved, else -100, -101, -102, -104 or -103 (tested in that order).
    int32_t CheckInput() const;
    void ShowServerList();
    void ShowONStatus();
    void CleanField();
    void gridServiceList_Click(int32_t row);
    void cmdSave_Click(int32_t index);
    /// Whether a key typed into a field is taken.
    static bool txtNetwork_KeyPress(int32_t index, char key);
    /// Moves the selected row one place up (0) or down (1); the local row stays first.
    void imgUpDown_Click(int32_t index);

    void CmdResearch_Click();
    /// The link's search result (it arrives as an event; the form's timer shows it).
    void OnSearchResult(const std::string& xml);
    /// The form's timer: the ON column follows the link, and the search result shows once it came.
    void Timer();
    void CameraList_Click(int32_t row);
    void cmdExitSearch_Click();

private:
    bool editingNew_ = false;
    bool searchDone_ = false;
    void showFound();
    void showUpDown();

    std::vector<ServerRow>& rows_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    link::ServiceLink& link_;
    store::LocalDatabase& db_;
    int16_t iLanguage_;
};

}  // namespace kv::session
