// The channel page in-process over the answering link: what a click or an edit calls on the
// models, and what the page shows after the model changed. The page's rules are in the channel
// suites.
#include <QContextMenuEvent>
#include <QMenu>
#include <QTabWidget>

#include "channels/channel_page.h"
#include "channels/ptz_panel.h"
#include "channels/subject.h"
#include "sim/seed_channels.h"
#include "tests/ui/page_fixture.h"
#include "ui/channel_page.h"
#include "ui/search_dialog.h"

namespace kv::test {
namespace {

bool HasCommand(const std::vector<std::string>& sent, int id, const std::string& part = "") {
    for (const std::string& s : sent)
        if (s.rfind("<CMD ID=\"" + std::to_string(id) + "\"", 0) == 0 && s.find(part) != std::string::npos) return true;
    return false;
}

struct ChannelPageGui : PageTest {
    void SetUp() override {
        PageTest::SetUp();
        openMenu(app::menu::kChannel);
    }
    channels::ChannelPage& model() { return session.subject<channels::ChannelSubject>()->page(); }
    QTableWidget* grid() { return find<QTableWidget>("gridCH"); }
    QLineEdit* field(int i) { return find<QLineEdit>(QString("txtNetwork_%1").arg(i)); }
};

TEST_F(ChannelPageGui, TheGridChoosesTheChannelAndTheFieldsShowItsRecord) {
    EXPECT_EQ(model().iSelCH, 1);
    EXPECT_EQ(field(channels::kNetName)->text(), "Entrance");
    EXPECT_EQ(field(channels::kNetPassword)->echoMode(), QLineEdit::Password);
    EXPECT_EQ(find<QComboBox>("CmbBrand")->currentText(), "Corvid Optics");
    EXPECT_FALSE(grid()->item(0, 0)->icon().isNull()) << "the shown channel is checked";
    EXPECT_FALSE(find("frameLensMode")->isVisible()) << "brand 1 has no lens modes";
    // The camera's values are shown, never typed: the audio format too.
    auto* info = find<QTableWidget>("Grid_Videoinfo");
    for (int r = 0; r < info->rowCount(); ++r)
        EXPECT_FALSE(info->item(r, 1)->flags() & Qt::ItemIsEditable) << "row " << r;
    // Channel 12, the demo's dual-lens fisheye, shows its lens frame; the lens combo goes to the model.
    ClickCell(grid(), 1, 3);
    ASSERT_EQ(model().iSelCH, 12);
    EXPECT_TRUE(grid()->item(0, 0)->icon().isNull());
    EXPECT_TRUE(find("frameLensMode")->isVisible());
    Choose(find<QComboBox>("cmbLensMode"), "left");
    EXPECT_FALSE(find<QComboBox>("cmbDisplayMode_1")->isEnabled());
    EXPECT_TRUE(find<QPushButton>("cmdComit_0")->property("dirty").toBool());
    EXPECT_TRUE(shell->bDirty[app::area::kChannel]) << "the page's dirty flag reaches the shell";
    click("cmdComit_2");
    EXPECT_FALSE(shell->bDirty[app::area::kChannel]) << "cancel goes to the model";
    // The status grid paints what the status answer says (channel 10 of the demo never connects).
    auto* status = find<QTableWidget>("gridCHStatus");
    EXPECT_EQ(status->item(0, 0)->background().color(), QColor(0xB1, 0xB1, 0xFF));
    EXPECT_NE(status->item(1, 1)->background().color(), QColor(0xB1, 0xB1, 0xFF));
    // A free channel is grey and its fields are empty.
    ClickCell(grid(), 2, 0);
    ASSERT_EQ(model().iSelCH, 17);
    EXPECT_EQ(grid()->item(2, 0)->background().color(), QColor(0xDD, 0xDD, 0xDD));
    EXPECT_EQ(field(channels::kNetIP)->text(), "");
}

TEST_F(ChannelPageGui, DetectAndSaveGoToTheModelAndTheGridFollows) {
    ClickCell(grid(), 2, 0);
    ASSERT_EQ(model().iSelCH, 17);
    Type(field(channels::kNetName), "Gate West");
    Type(field(channels::kNetIP), "192.168.20.21");
    Type(field(channels::kNetUserName), "admin");
    EXPECT_EQ(model().txtNetwork[channels::kNetName].text, "Gate West");
    // A refused detection shows the model's message and frees the button.
    link.replies[8193] = "<RESPONSE RET=\"-6\" ID=\"8193\" RetCode=\"-6\"></RESPONSE>";
    sent();
    click("cmdDetect");
    EXPECT_TRUE(HasCommand(sent(), 8193, "<IP>192.168.20.21</IP>"));
    ASSERT_EQ(prompter.boxes.size(), 1u);
    EXPECT_TRUE(find<QPushButton>("cmdDetect")->isEnabled());
    // Detected: the brand shows; the save sends the channel and the grid paints it configured.
    link.replies[8193] =
        "<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"0\"><System><Manufacturer>Corvid Optics</Manufacturer>"
                         "<BrandCode>1</BrandCode><NumberVideo>1</NumberVideo><VideoNumber>1</VideoNumber></System>"
                         "<Video><FMT>h264</FMT><Size>1280x720</Size><FMTList><FMT>h264</FMT></FMTList>"
                         "<SizeList FMT=\"h264\" QualityLower=\"1\" QualityUpper=\"10\" RateControl=\"1\">"
                         "<Size FPSLower=\"0\" FPSUpper=\"5\" BitrateLower=\"2\" BitrateUpper=\"8\">1280x720</Size>"
                         "</SizeList></Video></RESPONSE>";
    click("cmdDetect");
    EXPECT_EQ(find<QComboBox>("CmbBrand")->currentText(), "Corvid Optics");
    EXPECT_EQ(field(channels::kNetName)->text(), "Gate West") << "the typed name stays";
    auto* save = find<QPushButton>("cmdComit_0");
    ASSERT_TRUE(save->isEnabled());
    sent();
    QTest::mouseClick(save, Qt::LeftButton);
    const auto out = sent();
    EXPECT_TRUE(HasCommand(out, 24581, "<CH>17</CH><Name>Gate West</Name>"));
    EXPECT_TRUE(HasCommand(out, 24582)) << "the subject reads the channel table again";
    EXPECT_EQ(grid()->item(2, 0)->background().color(), QColor(Qt::white)) << "configured now";
    EXPECT_FALSE(save->property("dirty").toBool());
}

TEST_F(ChannelPageGui, PtzTabSteersTheChannelBeingEditedAndRefusesMarkupInNames) {
    ClickCell(grid(), 0, 2);
    ASSERT_EQ(model().iSelCH, 3);
    find<QTabWidget>("tabChannel")->setCurrentIndex(ui::ChannelPageWidget::kTabPtz);
    EXPECT_EQ(find<QComboBox>("cmdPtesetCH")->currentText(), "Parking North [3]") << "the channel being edited";
    auto* presets = find<QTableWidget>("gridPresetList");
    ASSERT_EQ(presets->rowCount(), 2);
    EXPECT_EQ(presets->item(1, 1)->text(), "Car park");
    sent();
    click("cmdPTZ_1");
    EXPECT_TRUE(HasCommand(sent(), 12289, "<CH>3</CH><Target>0</Target><Direction>3</Direction>"));
    auto* name = find<QLineEdit>("txtPreset");
    Type(name, "Do<ck>");
    EXPECT_EQ(name->text(), "Dock") << "a refused character puts the field back to the model's text";
    click("cmdPreset_3");
    EXPECT_EQ(presets->rowCount(), 3);
    EXPECT_TRUE(shell->bDirty[app::area::kPresets]);
}

TEST_F(ChannelPageGui, ARightClickOnTheCameraViewOffersThePadsMoves) {
    ClickCell(grid(), 0, 2);
    find<QTabWidget>("tabChannel")->setCurrentIndex(ui::ChannelPageWidget::kTabPtz);
    session.config.strCH[2].Move = 4;  // straight moves only
    session.subject<channels::ChannelSubject>()->ptz().UpadtePTZButtonDisplay();
    auto* view = find<QWidget>("frameVideo");
    const QPoint at = view->rect().center();
    QContextMenuEvent press(QContextMenuEvent::Mouse, at, view->mapToGlobal(at));
    QApplication::sendEvent(view, &press);
    auto* menu = find<QMenu>("mnuPTZ");
    ASSERT_TRUE(WaitFor([&] { return menu->isVisible(); }, 2000));
    const auto entry = [&](const char* name) { return menu->findChild<QAction*>(name); };
    ASSERT_NE(entry("mnu_Direct"), nullptr);
    EXPECT_EQ(entry("mnu_Top")->text().toStdString(), text(492));
    EXPECT_EQ(entry("mnu_Direct")->text().toStdString(), text(918));
    EXPECT_FALSE(entry("mnu_LeftTop")->isEnabled()) << "as the diagonal button of the pad";
    EXPECT_TRUE(entry("mnu_Down")->isEnabled());
    sent();
    entry("mnu_Down")->trigger();
    menu->close();
    EXPECT_TRUE(HasCommand(sent(), 12289, "<CH>3</CH><Target>0</Target><Direction>4</Direction>"));
}

TEST_F(ChannelPageGui, TheSearchDialogListsTheAnswerAndADoubleClickHandsTheCameraOver) {
    click("cmdComit_2");  // no channel chosen: the first free one takes the camera
    sent();
    click("cmdSearch");
    EXPECT_EQ(sent(), std::vector<std::string>{"<CMD ID=\"8194\" />"});
    ui::SearchDialog* dialog = window->findChild<ui::SearchDialog*>();
    ASSERT_NE(dialog, nullptr);
    session.dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"8194\">" + sim::seed::searchReplyBody() +
                                             "</RESPONSE>");
    auto* cameras = Find<QTableWidget>(dialog, "CameraList");
    ASSERT_TRUE(WaitFor([&] { return cameras->rowCount() > 0; })) << "the dialog's poll shows the answer";
    int row = 0;
    while (row < cameras->rowCount() && cameras->item(row, 0)->text() != "192.168.20.23") ++row;
    ASSERT_LT(row, cameras->rowCount());
    ClickCell(cameras, row, 0, true);
    EXPECT_TRUE(WaitFor([&] { return !window->findChild<ui::SearchDialog*>() || !dialog->isVisible(); }));
    EXPECT_EQ(model().iSelCH, 17);
    EXPECT_EQ(field(channels::kNetIP)->text(), "192.168.20.23");
}

}  // namespace
}  // namespace kv::test
