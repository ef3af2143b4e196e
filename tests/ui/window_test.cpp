// The configuration window and the server page in-process over the answering link: the widgets
// carry the models' control names, the menu follows the shell, and the page forwards its edits
// and its save to the model. The rules themselves are the model suites' business.
#include <QCheckBox>
#include <QLabel>
#include <QStackedWidget>

#include "tests/ui/page_fixture.h"

namespace kv::test {
namespace {

using Window = PageTest;

TEST_F(Window, EveryPageCarriesTheControlNamesOfItsModel) {
    struct Row {
        int menu;
        std::vector<const char*> names;
    };
    // One row per page: the names the models' procedures are known by (and the tests find).
    const Row rows[] = {
        {app::menu::kServer, {"frameSystem", "txt_System_Service_0", "Text1_0", "Text1_1", "txtDDNS_0", "txtDDNS_1",
                              "lbSystem_PortCheck_0", "imgCmbLanguage", "cmd_System_0", "cmd_System_1", "chkDDNS",
                              "lbDDNS", "gridSystemChannel"}},
        {app::menu::kChannel, {"frameChannel", "gridCH", "gridCHStatus", "tabChannel", "txtNetwork_0", "txtNetwork_4",
                               "CmbBrand", "cmbVideoID", "chkPTZ", "chkCameraSetting", "cmdDetect", "cmb_CamDetail_0",
                               "cmb_CamDetail_6", "Grid_Videoinfo", "frameLensMode", "cmbLensMode", "cmbDisplayMode_0",
                               "cmbDisplayMode_1", "cmdComit_0", "cmdComit_3", "cmdSearch", "Grid_SearchResult",
                               "gridCHList", "cmdPtesetCH", "cmbPtzSpeed", "cmbLensSource", "cmdPTZ_0", "cmdPTZ_17",
                               "gridPresetList", "txtPreset", "cmdPreset_0", "cmdPreset_5", "img_Preset_Btn_0",
                               "img_Preset_Btn_2"}},
        {app::menu::kUser, {"frameUser", "tabUser", "gridUser_0", "txtUser_0", "txtUser_7", "cmbUserGroup",
                            "chkUserPSWD", "imgUserbtn_0", "imgUserbtn_3", "lbUserSendNote", "gridUser_1",
                            "txtUserGroup_0", "txtUserGroup_1", "gridCHList_0", "gridCHList_2", "imgUserGroupbtn_0",
                            "imgUserGroupbtn_3"}},
    };
    for (const Row& r : rows) {
        QWidget* page = window->page(r.menu);
        ASSERT_NE(page, nullptr) << r.menu;
        for (const char* name : r.names)
            EXPECT_TRUE(page->objectName() == name || page->findChild<QWidget*>(name)) << r.menu << ": " << name;
    }
}

TEST_F(Window, MenuFollowsTheShellAndEntriesWithoutAPageStayShut) {
    auto* pages = find<QStackedWidget>("framePages");
    EXPECT_EQ(pages->currentWidget()->objectName(), "frameSystem");
    for (int i = 0; i < 13; ++i) {
        auto* b = find<QToolButton>(QString("lbMenu_%1").arg(i));
        const bool page = window->page(i) != nullptr;
        if (i == app::menu::kSave || i == app::menu::kExit) continue;
        EXPECT_EQ(b->isEnabled(), page) << i;
        if (!page) EXPECT_EQ(b->toolTip().toStdString(), text(app::kTextNotBuilt)) << i;
    }
    openMenu(app::menu::kUser);
    EXPECT_EQ(pages->currentWidget()->objectName(), "frameUser");
    // A page whose answers have not all arrived waits behind the loading frame.
    session.dispatcher.bDataReady.fill(false);
    shell->iPageReady.fill(0);
    openMenu(app::menu::kChannel);
    EXPECT_EQ(pages->currentWidget()->objectName(), "frameLoading");
}

struct PlacedWindow : PageTest {
    void SetUp() override {
        cmdLine.bCmdOnTop = true;
        cmdLine.iCmdTop = 40;
        cmdLine.iCmdLeft = 30;
        PageTest::SetUp();
    }
};

TEST_F(PlacedWindow, TheCommandLinePlacesTheWindowAndKeepsItOnTop) {
    EXPECT_EQ(window->pos(), QPoint(30, 40));
    EXPECT_TRUE(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(Window, ServerPageForwardsItsEditsAndItsSave) {
    auto* name = find<QLineEdit>("txt_System_Service_0");
    EXPECT_EQ(name->text(), "Kelvarra Demo");
    EXPECT_EQ(find<QTableWidget>("gridSystemChannel")->rowCount(), 64);
    auto* save = find<QPushButton>("cmd_System_0");
    EXPECT_FALSE(save->isEnabled()) << "nothing to save";
    Type(name, "Gate <7>");
    EXPECT_TRUE(shell->bDirty[app::area::kServer]);
    EXPECT_TRUE(save->isEnabled());
    EXPECT_TRUE(save->property("dirty").toBool()) << "the frame that says there is something to save";
    sent();
    QTest::mouseClick(save, Qt::LeftButton);
    const auto out = sent();
    ASSERT_FALSE(out.empty());
    EXPECT_NE(out.front().find("Gate &lt;7>"), std::string::npos) << out.front();
    EXPECT_FALSE(save->property("dirty").toBool());
    EXPECT_FALSE(shell->bDirty[app::area::kServer]);
}

}  // namespace
}  // namespace kv::test
