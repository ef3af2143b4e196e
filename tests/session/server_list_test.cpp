// The known-server dialog: checks in order, new/delete/save/close, search marks, ping.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <gtest/gtest.h>

#include "session/ping.h"
#include "session/server_list.h"
#include "base/lang.h"
#include "link/service_link.h"
#include "store/local_db.h"
#include "store/sqlite.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::app;
using namespace kv::session;
namespace fs = std::filesystem;

namespace {

using Boxes = kv::test::RecordingPrompter;

class SearchLink : public kv::test::NullLink {
public:
    int searches = 0;
    int32_t seconds = 0, type = 0;
    void SearchServers(int32_t s, int32_t t) override { ++searches, seconds = s, type = t; }
};

struct ServerList : ::testing::Test {
    kv::test::TempDir dir;
    std::vector<ServerRow> rows;
    Boxes boxes;
    base::Language lang{fs::path(KV_SOURCE_SHARE) / "Lang"};
    SearchLink link;
    std::unique_ptr<store::LocalDatabase> db;
    std::unique_ptr<ServerListModel> model;

    void SetUp() override {
        lang.LoadLanguage(base::LanguageFileName(1));
        fs::copy_file(fs::path(KV_BUILD_SHARE) / "Database" / "Database.db.ins", dir / "Database.db");
        db = std::make_unique<store::LocalDatabase>(dir / "Database.db");
        ServerRow local;
        local.bLocalService = true;
        local.ServiceIP = "127.0.0.1";
        local.ServiceName = "Local Server";
        ServerRow office;
        office.iID = 1;
        office.ServiceIP = "10.0.0.2";
        office.ServicePort = 9000;
        office.ServiceName = "Office";
        rows = {local, office};
        model = std::make_unique<ServerListModel>(rows, boxes, lang, link, *db, 1);
    }
    void fill(const std::string& ip, const std::string& port, const std::string& user = "") {
        model->txtNetwork[ServerListModel::kAddress] = ip;
        model->txtNetwork[ServerListModel::kPort] = port;
        model->txtNetwork[ServerListModel::kUser] = user;
    }
};

}  // namespace

TEST_F(ServerList, CheckInputOrder) {
    model->cmdSave_Click(0);
    EXPECT_EQ(model->txtID, "2") << "the lowest id that no row uses";
    struct Case { const char* ip; const char* port; bool save; const char* user; int32_t result; };
    const Case cases[] = {
        {"", "", true, "", -100},                 // the address first
        {"10.0.0.5", "", true, "", -101},         // then the port
        {"10.0.0.5", "9000", true, "", -102},     // then the saved account's user
        {"10.0.0.5", "9000", false, "", 1},       // no account to save: the user may stay empty
        {" 127.0.0.1 ", "9000", false, "", -104}, // the local server by hand
        {"10.0.0.2", "9000", false, "", -103},    // same address and port as another row
        {"10.0.0.2", "9001", false, "", 1},
    };
    for (const auto& c : cases) {
        fill(c.ip, c.port, c.user);
        model->chkAccountSave = c.save;
        EXPECT_EQ(model->CheckInput(), c.result) << c.ip << " " << c.port;
    }
}

TEST_F(ServerList, SaveShowsTheMessagesAndAppends) {
    model->cmdSave_Click(0);
    fill("127.0.0.1", "9877");
    model->cmdSave_Click(3);
    fill("10.0.0.2", "9000");
    model->cmdSave_Click(3);
    fill("", "");
    model->cmdSave_Click(3);
    ASSERT_EQ(boxes.boxes.size(), 3u);
    EXPECT_EQ(boxes.boxes[0], lang.GetText(697));
    EXPECT_EQ(boxes.boxes[1], lang.GetText(559));
    EXPECT_EQ(boxes.boxes[2], "There is an empty field or has been set !");
    fill("10.0.0.7", "9100");
    model->txtNetwork[ServerListModel::kName] = "Store";
    model->cmdSave_Click(3);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[2].iID, 2);
    EXPECT_EQ(model->grid.size(), 3u);
    EXPECT_EQ(model->grid[2][2], "10.0.0.7");
    EXPECT_FALSE(model->frameService);
    // Editing a row may keep its own address and port.
    model->gridServiceList_Click(1);
    model->txtNetwork[ServerListModel::kName] = "Head office";
    model->cmdSave_Click(3);
    EXPECT_EQ(rows[1].ServiceName, "Head office");
    EXPECT_EQ(rows.size(), 3u);
}

TEST_F(ServerList, LocalRowIsReadOnlyAndCannotBeDeleted) {
    model->gridServiceList_Click(0);
    EXPECT_FALSE(model->fieldsEnabled);
    EXPECT_FALSE(model->cmdSaveEnabled[1]);
    model->cmdSave_Click(1);
    EXPECT_EQ(rows.size(), 2u);
    model->gridServiceList_Click(1);
    model->cmdSave_Click(1);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(model->grid.size(), 1u);
}

TEST_F(ServerList, CloseStoresTheListWithoutTheLocalRow) {
    model->cmdSave_Click(4);
    EXPECT_TRUE(model->closed);
    std::vector<ServerRow> stored;
    ASSERT_TRUE(db->Get_Service(stored));
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(stored[0].ServiceName, "Office");
}

TEST_F(ServerList, SearchMarksAndTakesOverWithoutDuplicates) {
    model->cmdSave_Click(2);
    EXPECT_TRUE(model->frameSearch);
    EXPECT_EQ(link.searches, 1);
    EXPECT_EQ(link.seconds, 20);
    EXPECT_EQ(link.type, 8);
    EXPECT_FALSE(model->researchEnabled);
    model->Timer();
    EXPECT_TRUE(model->foundGrid.empty()) << "nothing shown before the result";
    model->OnSearchResult("<DeviceList><Device><IP>10.0.0.2</IP><Port>9000</Port><DeviceName>dup</DeviceName></Device>"
                          "<Device><IP>10.0.0.9</IP><Port>9877</Port><Manufacturer>Kelvarra</Manufacturer>"
                          "<Model>K64</Model><DeviceName>Lab</DeviceName></Device></DeviceList>");
    model->Timer();
    ASSERT_EQ(model->foundGrid.size(), 2u);
    EXPECT_EQ(model->foundGrid[1][1], "10.0.0.9");
    model->CameraList_Click(0);
    model->CameraList_Click(1);
    EXPECT_EQ(model->foundGrid[1][0], "V");
    model->cmdExitSearch_Click();
    ASSERT_EQ(rows.size(), 3u) << "a server already in the table takes no second entry";
    EXPECT_EQ(rows[2].ServiceIP, "10.0.0.9");
    EXPECT_EQ(rows[2].ServiceName, "Lab");
    EXPECT_FALSE(model->frameSearch);

    // A service on this machine answers from the loopback address: the local server's row stands
    // for it, so it is not taken over, and the dialog says how to reach it.
    model->cmdSave_Click(2);
    model->OnSearchResult("<DeviceList><Device><IP>127.0.0.1</IP><Port>40123</Port><DeviceName>Here</DeviceName>"
                          "</Device></DeviceList>");
    model->Timer();
    model->CameraList_Click(0);
    model->cmdExitSearch_Click();
    EXPECT_EQ(rows.size(), 3u);
    ASSERT_FALSE(boxes.boxes.empty());
    EXPECT_NE(boxes.boxes.back().find("-IP:127.0.0.1 -PORT:n"), std::string::npos);
    std::vector<FoundServer> keep(1);
    EXPECT_FALSE(ParseDeviceList("no root", keep));
    EXPECT_EQ(keep.size(), 1u);
}

TEST_F(ServerList, KeysAndOnMarks) {
    EXPECT_TRUE(ServerListModel::txtNetwork_KeyPress(0, '7'));
    EXPECT_TRUE(ServerListModel::txtNetwork_KeyPress(0, '.'));
    EXPECT_FALSE(ServerListModel::txtNetwork_KeyPress(0, 'a'));
    EXPECT_FALSE(ServerListModel::txtNetwork_KeyPress(1, '.'));
    EXPECT_TRUE(ServerListModel::txtNetwork_KeyPress(4, 'a'));
    rows[1].iLinkActive = 1;
    model->ShowONStatus();
    EXPECT_EQ(model->grid[1][1], "V");
    EXPECT_EQ(model->grid[0][1], "");
}

TEST_F(ServerList, TheOnColumnFollowsTheLinkAtEachTick) {
    // The login marks its row while the dialog stays open; the form's timer shows it.
    rows[1].iLinkActive = 1;
    model->Timer();
    EXPECT_EQ(model->grid[1][1], "V");
    rows[1].iLinkActive = 0;
    model->Timer();
    EXPECT_EQ(model->grid[1][1], "");
}

TEST_F(ServerList, RowsMoveUpAndDownBelowTheLocalRow) {
    ServerRow lab = rows[1];
    lab.iID = 2;
    lab.ServiceIP = "10.0.0.3";
    lab.ServiceName = "Lab";
    rows.push_back(lab);
    model->ShowServerList();
    const auto names = [this] { return std::vector<std::string>{rows[1].ServiceName, rows[2].ServiceName}; };
    struct Case { int32_t select; std::array<bool, 2> enabled; };
    const Case cases[] = {
        {-1, {false, false}},  // nothing chosen
        {0, {false, false}},   // the local row stays first
        {1, {false, true}},    // the first remote row cannot pass above the local one
        {2, {true, false}},    // the last row cannot go further down
    };
    for (const Case& c : cases) {
        if (c.select >= 0) model->gridServiceList_Click(c.select);
        EXPECT_EQ(model->imgUpDownEnabled, c.enabled) << "row " << c.select;
    }
    model->imgUpDown_Click(0);
    EXPECT_EQ(names(), (std::vector<std::string>{"Lab", "Office"}));
    EXPECT_EQ(model->grid[1][4], "Lab");
    EXPECT_EQ(model->selectedRow, 1) << "the selection goes with the row";
    model->imgUpDown_Click(0);
    EXPECT_EQ(names(), (std::vector<std::string>{"Lab", "Office"})) << "not above the local row";
    // The open fields go with the row: a save after the move edits the moved row.
    model->txtNetwork[ServerListModel::kName] = "Lab 2";
    model->cmdSave_Click(3);
    EXPECT_EQ(rows[1].ServiceName, "Lab 2");
    model->imgUpDown_Click(1);
    EXPECT_EQ(names(), (std::vector<std::string>{"Office", "Lab 2"}));
    model->cmdSave_Click(0);
    EXPECT_EQ(model->imgUpDownEnabled, (std::array<bool, 2>{false, false})) << "not while a new row is typed";
    model->cmdSave_Click(4);
    std::vector<ServerRow> stored;
    ASSERT_TRUE(db->Get_Service(stored));
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored[1].ServiceName, "Lab 2") << "the list is stored in its new order";
}

TEST(Ping, AddressConversionAndFailures) {
    EXPECT_EQ(ConvertIPAddressToLong("192.168.0.1"), 0x0100A8C0u);
    EXPECT_EQ(ConvertIPAddressToLong("10.0.0.255"), 0xFF00000Au);
    EXPECT_EQ(ConvertIPAddressToLong("1.2.3"), 0u);
    EXPECT_EQ(ConvertIPAddressToLong("1.2.3.256"), 0u);
    EXPECT_EQ(ConvertIPAddressToLong("a.b.c.d"), 0u);
    EXPECT_FALSE(Ping("not an address").reached);
    EXPECT_FALSE(Ping("").reached);
}

TEST(Ping, LoopbackAnswers) {
    // Either an echo (when ICMP is allowed) or a connect to a listening port answers.
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
    ASSERT_EQ(::listen(fd, 1), 0);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    const PingResult r = Ping("127.0.0.1", ntohs(a.sin_port));
    ::close(fd);
    EXPECT_TRUE(r.reached);
    EXPECT_NE(r.way, PingWay::None);
}

TEST_F(ServerList, NewIdsLeaveZeroToTheLocalRow) {
    struct Case { std::vector<int32_t> ids; int32_t next; };
    const Case cases[] = {
        {{}, 1},         // no local service installed: 0 stays its all the same
        {{0}, 1},        // the local row alone
        {{0, 1, 3}, 2},  // the first gap above 0
    };
    for (const Case& c : cases) {
        rows.clear();
        for (int32_t id : c.ids) {
            ServerRow r;
            r.iID = id;
            rows.push_back(r);
        }
        EXPECT_EQ(model->NewServiceID(), c.next) << c.ids.size() << " rows";
    }
}
