// The channel page, its PTZ tab and the camera search, driven like a user drives them against
// kelvarra-sim in its own process; what the service stored is read back by a second login and
// from the service's traffic log.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <deque>

#include "app/shell.h"
#include "base/lang.h"
#include "channels/channel_page.h"
#include "channels/ptz_panel.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"
#include "tests/support/sim_process.h"
#include "tests/ui/gui_support.h"
#include "ui/channel_page.h"
#include "ui/channel_preview.h"
#include "channels/subject.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/search_dialog.h"

using namespace kv;
using kv::test::SimProcess;
using kv::test::TempDir;
using kv::test::BoxAnswerer;
using kv::test::ClickCell;
using kv::test::Choose;
using kv::test::Find;
using kv::test::Type;
using kv::test::WaitFor;
using kv::ui::ClientApp;
namespace fs = std::filesystem;

namespace {

// The commands the service received, in order, as their texts.
std::vector<std::string> Traffic(const fs::path& log) {
    std::vector<std::string> out;
    std::istringstream in(kv::test::readFile(log));
    for (std::string line; std::getline(in, line);) out.push_back(sim::unescapeTrafficLine(line));
    return out;
}

bool IsCommand(const std::string& text, int id) {
    return text.rfind("<CMD ID=\"" + std::to_string(id) + "\"", 0) == 0;
}

// Index of the first command `id` at or after `from` whose text holds `part`; -1 when none.
int FindCommand(const std::vector<std::string>& traffic, int id, const std::string& part = "", size_t from = 0) {
    for (size_t i = from; i < traffic.size(); ++i)
        if (IsCommand(traffic[i], id) && traffic[i].find(part) != std::string::npos) return static_cast<int>(i);
    return -1;
}

// The first free channel of the demo (it has 16) in the 8-by-8 grid.
constexpr int kFreeChannel = 17;
constexpr int kFreeRow = (kFreeChannel - 1) / 8, kFreeCol = (kFreeChannel - 1) % 8;

struct ChannelGui : kv::test::GuiTest {
    void SetUp() override {
        GuiTest::SetUp();
        sim = std::make_unique<SimProcess>(KV_SIM_PROGRAM, dir / "data",
                                           std::vector<std::string>{"--discovery-port", "0", "--traffic-log",
                                                                    (dir / "traffic.log").string()});
        ASSERT_TRUE(sim->ok());
        app = makeClient(dir / "home");
        app->start();
        ASSERT_TRUE(entered(*app));
        app->tick();
        QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_1"), Qt::LeftButton);
        ASSERT_EQ(app->shell()->iCurMenu, app::menu::kChannel);
    }
    std::unique_ptr<ClientApp> makeClient(const fs::path& home) {
        return GuiTest::makeClient(commandLogin(sim->port()), home);
    }
    // A second client logs in and reads the channels the service now holds.
    channels::ChannelTable readBack() {
        TempDir other;
        auto reader = makeClient(other.path());
        reader->start();
        EXPECT_TRUE(entered(*reader));
        return reader->session()->config.strCH;
    }
    // The preset list of a channel as a second client reads it from the service.
    channels::PresetList presetsOf(int32_t ch) {
        TempDir other;
        auto reader = makeClient(other.path());
        reader->start();
        EXPECT_TRUE(entered(*reader));
        channels::PtzPanel& ptz = reader->channelSubject()->ptz();
        ptz.Refresh();
        for (size_t i = 0; i < ptz.cmdPtesetCH.items.size(); ++i)
            if (ptz.cmdPtesetCH.items[i].ends_with("[" + std::to_string(ch) + "]"))
                ptz.cmdPtesetCH_Click(static_cast<int>(i));
        return reader->session()->config.strPreset;
    }
    std::vector<std::string> traffic() const { return Traffic(dir / "traffic.log"); }
    QWidget* window() const { return app->configWindow(); }
    channels::ChannelPage& model() { return app->channelSubject()->page(); }
    QTableWidget* grid() { return Find<QTableWidget>(window(), "gridCH"); }
    QLineEdit* field(int i) { return Find<QLineEdit>(window(), QString("txtNetwork_%1").arg(i)); }
    QComboBox* camDetail(int i) { return Find<QComboBox>(window(), QString("cmb_CamDetail_%1").arg(i)); }
    void click(const char* name) { QTest::mouseClick(Find<QPushButton>(window(), name), Qt::LeftButton); }
    void fillNetwork(const QString& name, const QString& ip, const QString& user, const QString& password) {
        Type(field(channels::kNetName), name);
        Type(field(channels::kNetIP), ip);
        Type(field(channels::kNetHTTPPort), "80");
        Type(field(channels::kNetUserName), user);
        Type(field(channels::kNetPassword), password);
    }
};

}  // namespace

TEST_F(ChannelGui, PageOpensOnTheFirstChannelWithItsValuesAndStatus) {
    EXPECT_EQ(model().iSelCH, 1);
    EXPECT_EQ(field(channels::kNetName)->text(), "Entrance");
    EXPECT_EQ(field(channels::kNetPassword)->echoMode(), QLineEdit::Password);
    EXPECT_EQ(Find<QComboBox>(window(), "CmbBrand")->currentText(), "Corvid Optics");
    EXPECT_EQ(camDetail(channels::kCmbFormat)->currentText(), "h264");
    EXPECT_EQ(camDetail(channels::kCmbSize)->currentText(), "1920x1080");
    EXPECT_FALSE(Find<QWidget>(window(), "frameLensMode")->isVisible()) << "brand 1 has no lens modes";
    EXPECT_FALSE(Find<QPushButton>(window(), "cmdComit_0")->isEnabled()) << "nothing to save yet";
    EXPECT_FALSE(grid()->item(0, 0)->icon().isNull()) << "the shown channel is checked";
    EXPECT_EQ(grid()->item(kFreeRow, kFreeCol)->background().color(), QColor(0xDD, 0xDD, 0xDD)) << "a free channel";

    // The dual-lens fisheye of brand 20 shows its lens frame with the service's modes.
    ClickCell(grid(), 1, 3);
    ASSERT_EQ(model().iSelCH, 12);
    EXPECT_TRUE(Find<QWidget>(window(), "frameLensMode")->isVisible());
    auto* lens = Find<QComboBox>(window(), "cmbLensMode");
    EXPECT_EQ(lens->currentText(), "both");
    Choose(lens, "left");
    EXPECT_TRUE(Find<QComboBox>(window(), "cmbDisplayMode_0")->isEnabled());
    EXPECT_FALSE(Find<QComboBox>(window(), "cmbDisplayMode_1")->isEnabled());
    EXPECT_TRUE(Find<QPushButton>(window(), "cmdComit_0")->property("dirty").toBool());
    click("cmdComit_2");
    EXPECT_FALSE(app->shell()->bDirty[app::area::kChannel]) << "cancel drops the edit";

    // The status poll (sent at the first tick) colours connected channels; channel 10 of the demo
    // never connects.
    ASSERT_GE(FindCommand(traffic(), 24578), 0);
    auto* status = Find<QTableWidget>(window(), "gridCHStatus");
    const QColor connected(0xB1, 0xB1, 0xFF);
    ASSERT_TRUE(WaitFor([&] {
        app->refreshAll();
        int lit = 0;
        for (int c = 0; c < 8; ++c) lit += status->item(0, c)->background().color() == connected;
        return lit > 0;
    })) << "some of channels 1..8 are connected at any time";
    EXPECT_NE(status->item(1, 1)->background().color(), connected) << "channel 10";

    // Preview: the service gets the unsaved settings and the client says it shows no video.
    ClickCell(grid(), 0, 1);
    click("cmdComit_3");
    const int preview = FindCommand(traffic(), 22546);
    ASSERT_GE(preview, 0);
    EXPECT_NE(traffic()[static_cast<size_t>(preview)].find("<IP>192.168.10.102</IP>"), std::string::npos);
    ASSERT_NE(app->channelPage()->previewWindow(), nullptr);
    EXPECT_TRUE(app->channelPage()->previewWindow()->isVisible());
    EXPECT_TRUE(boxes.texts.empty());
}

TEST_F(ChannelGui, DetectAddChangeAndRemoveAChannel) {
    ClickCell(grid(), kFreeRow, kFreeCol);
    ASSERT_EQ(model().iSelCH, kFreeChannel);
    fillNetwork("Gate West", "192.168.20.21", "admin", "s3cret");
    click("cmdDetect");
    ASSERT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    EXPECT_EQ(Find<QComboBox>(window(), "CmbBrand")->currentText(), "Corvid Optics");
    EXPECT_EQ(field(channels::kNetName)->text(), "Gate West") << "the typed name stays";
    EXPECT_EQ(Find<QPushButton>(window(), "cmdDetect")->text().toStdString(), text(884)) << "busy no more";
    Choose(camDetail(channels::kCmbFormat), "h264");
    Choose(camDetail(channels::kCmbSize), "1280x720");
    Choose(camDetail(channels::kCmbFps), "10");
    Choose(camDetail(channels::kCmbRateControl), "CBR");
    Choose(camDetail(channels::kCmbBitrate), "512k");
    EXPECT_EQ(camDetail(channels::kCmbQuality)->currentText(), "N/A") << "CBR sets the bit rate, not the quality";
    EXPECT_TRUE(app->shell()->bDirty[app::area::kChannel]);
    click("cmdComit_0");
    ASSERT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    EXPECT_FALSE(app->shell()->bDirty[app::area::kChannel]);
    EXPECT_TRUE(app->shell()->bConfigChanged);

    // One write, the apply, then the client reads the channel list again.
    std::vector<std::string> sent = traffic();
    const int write = FindCommand(sent, 24581, "<CH>17</CH><Name>Gate West</Name>");
    ASSERT_GE(write, 0);
    const int apply = FindCommand(sent, 40963, "", static_cast<size_t>(write));
    ASSERT_GT(apply, write);
    EXPECT_GT(FindCommand(sent, 24582, "", static_cast<size_t>(apply)), apply);
    EXPECT_EQ(grid()->item(kFreeRow, kFreeCol)->background().color(), QColor(Qt::white)) << "configured now";
    auto* list = Find<QTableWidget>(window(), "Grid_SearchResult");
    EXPECT_EQ(list->item(kFreeChannel - 1, 1)->text(), "Gate West");

    channels::ChannelRecord stored = readBack()[kFreeChannel - 1];
    EXPECT_EQ(stored.IP, "192.168.20.21");
    EXPECT_EQ(stored.Password, "s3cret");
    EXPECT_EQ(stored.FMT, "h264");
    EXPECT_EQ(stored.Size, "1280x720");
    EXPECT_EQ(stored.FPS, 3) << "the index of \"10\"";
    EXPECT_EQ(stored.RateControl, 1);
    EXPECT_EQ(stored.Bitrate, 4) << "the index of \"512k\"";

    // A change of the name only: one more write with the new name.
    ClickCell(grid(), kFreeRow, kFreeCol);
    EXPECT_EQ(field(channels::kNetIP)->text(), "192.168.20.21");
    Type(field(channels::kNetName), "Gate West 2");
    click("cmdComit_0");
    ASSERT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    stored = readBack()[kFreeChannel - 1];
    EXPECT_EQ(stored.Name, "Gate West 2");
    EXPECT_EQ(stored.Size, "1280x720") << "the video settings stay";

    // Removal asks first; "No" keeps the channel, "Yes" removes it.
    ClickCell(grid(), kFreeRow, kFreeCol);
    boxes.script = {"cmdSubmit_1"};
    click("cmdComit_1");
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], text(419));
    EXPECT_EQ(FindCommand(traffic(), 24581, "<Param><CH>17</CH></Param>"), -1);
    click("cmdComit_1");
    ASSERT_EQ(boxes.texts.size(), 2u);
    EXPECT_GE(FindCommand(traffic(), 24581, "<Param><CH>17</CH></Param>"), 0);
    EXPECT_EQ(grid()->item(kFreeRow, kFreeCol)->background().color(), QColor(0xDD, 0xDD, 0xDD)) << "free again";
    EXPECT_FALSE(readBack()[kFreeChannel - 1].configured());
}

TEST_F(ChannelGui, DetectionRefusalsShowTheirMessages) {
    struct Case {
        const char* ip;
        int textId;
    };
    const Case cases[] = {
        {"192.168.20.90", 400},  // the camera refuses the account
        {"192.168.20.91", 404},  // no answer in time
        {"192.168.20.92", 402},  // a camera the service cannot drive
    };
    ClickCell(grid(), kFreeRow, kFreeCol);
    for (const Case& c : cases) {
        boxes.texts.clear();
        fillNetwork("Probe", c.ip, "admin", "x");
        click("cmdDetect");
        ASSERT_EQ(boxes.texts.size(), 1u) << c.ip;
        EXPECT_EQ(boxes.texts[0], text(c.textId)) << c.ip;
        EXPECT_TRUE(Find<QPushButton>(window(), "cmdDetect")->isEnabled()) << "the lock is freed";
        EXPECT_TRUE(field(channels::kNetIP)->isEnabled());
    }
    // An empty user name never reaches the service.
    const size_t before = traffic().size();
    boxes.texts.clear();
    Type(field(channels::kNetUserName), "");
    click("cmdDetect");
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], text(295));
    EXPECT_EQ(FindCommand(traffic(), 8193, "", before), -1);
}

TEST_F(ChannelGui, SearchTakesAFoundCameraOverAndItIsSaved) {
    click("cmdComit_2");  // no channel chosen
    click("cmdSearch");
    kv::ui::SearchDialog* dialog = app->channelPage()->searchDialog();
    ASSERT_NE(dialog, nullptr);
    auto* cameras = Find<QTableWidget>(dialog, "CameraList");
    ASSERT_TRUE(WaitFor([&] { return cameras->rowCount() > 0; }));
    std::map<std::string, int> rowOf;
    for (int r = 0; r < cameras->rowCount(); ++r)
        rowOf[cameras->item(r, 0)->text().toStdString() + ":" + cameras->item(r, 3)->text().toStdString()] = r;
    EXPECT_FALSE(rowOf.contains("192.168.10.101:80")) << "channel 1 is in use";
    EXPECT_FALSE(rowOf.contains("192.168.10.103:80")) << "channel 3 is in use";
    EXPECT_TRUE(rowOf.contains("192.168.10.101:8080")) << "the same address with another port is another camera";
    ASSERT_TRUE(rowOf.contains("192.168.20.23:80"));

    // The hand-over: no channel was chosen, so the first free one takes the camera.
    ClickCell(cameras, rowOf["192.168.20.23:80"], 0, true);
    ASSERT_TRUE(WaitFor([&] {
        kv::ui::SearchDialog* d = app->channelPage()->searchDialog();
        return !d || !d->isVisible();
    })) << "the dialog closes";
    EXPECT_EQ(model().iSelCH, kFreeChannel);
    EXPECT_EQ(field(channels::kNetIP)->text(), "192.168.20.23");
    EXPECT_EQ(Find<QComboBox>(window(), "CmbBrand")->currentText(), "Helix Vision");

    Type(field(channels::kNetName), "Side Door");
    Type(field(channels::kNetUserName), "service");
    click("cmdDetect");
    click("cmdComit_0");
    ASSERT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    const channels::ChannelRecord stored = readBack()[kFreeChannel - 1];
    EXPECT_EQ(stored.IP, "192.168.20.23");
    EXPECT_EQ(stored.Name, "Side Door");
    EXPECT_EQ(stored.Size, "720x480||D1") << "the whole item with its alternative";
}

TEST_F(ChannelGui, PtzMovesAndANewPresetWithItsPosition) {
    ClickCell(grid(), 0, 2);
    ASSERT_EQ(model().iSelCH, 3);
    Find<QTabWidget>(window(), "tabChannel")->setCurrentIndex(kv::ui::ChannelPageWidget::kTabPtz);
    auto* channel = Find<QComboBox>(window(), "cmdPtesetCH");
    EXPECT_EQ(channel->currentText(), "Parking North [3]") << "the channel being edited";
    auto* presets = Find<QTableWidget>(window(), "gridPresetList");
    ASSERT_EQ(presets->rowCount(), 2);
    EXPECT_EQ(presets->item(1, 1)->text(), "Car park");

    // Up twice at speed 1, then one step right.
    click("cmdPTZ_1");
    click("cmdPTZ_1");
    click("cmdPTZ_4");
    const std::vector<std::string> sent = traffic();
    EXPECT_GE(FindCommand(sent, 12289, "<CH>3</CH><Target>0</Target><Direction>3</Direction><Speed>1</Speed>"), 0);
    EXPECT_GE(FindCommand(sent, 12289, "<Direction>2</Direction>"), 0);

    // The name field refuses markup characters as they are typed.
    auto* name = Find<QLineEdit>(window(), "txtPreset");
    Type(name, "Do<ck>");
    EXPECT_EQ(name->text(), "Dock");
    click("cmdPreset_3");
    ASSERT_EQ(presets->rowCount(), 3);
    EXPECT_TRUE(app->shell()->bDirty[app::area::kPresets]);
    click("cmdPreset_4");  // the camera takes absolute positions: the present one is read
    click("img_Preset_Btn_0");
    ASSERT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    EXPECT_FALSE(app->shell()->bDirty[app::area::kPresets]);
    EXPECT_GE(FindCommand(traffic(), 32814, "Name=\"Dock\""), 0);

    const channels::PresetList stored = presetsOf(3);
    ASSERT_EQ(stored.size(), 3u);
    EXPECT_EQ(stored[2].Name, "Dock");
    EXPECT_EQ(stored[2].ID, 3);
    EXPECT_EQ(stored[2].Tilt, "2") << "the position after the moves";
    EXPECT_EQ(stored[2].Pan, "1");

    // Removing a preset saves the list at once.
    ClickCell(presets, 0, 1);
    EXPECT_EQ(name->text(), "Gate");
    click("cmdPreset_0");
    ASSERT_EQ(presets->rowCount(), 2);
    const channels::PresetList after = presetsOf(3);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0].Name, "Car park");
}
