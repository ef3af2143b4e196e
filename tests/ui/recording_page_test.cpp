// The recording page in-process over the answering link: what a choice, a drag on the week or a
// key press reaches in the recording models, what the shell's areas show afterwards, and the
// dialogs the models open. The recording rules are in the recording suites.
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPaintEvent>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTreeWidget>

#include "recording/page.h"
#include "recording/subject.h"
#include "tests/ui/page_fixture.h"
#include "ui/folder_pickers.h"
#include "ui/rec_detail_dialog.h"
#include "ui/recording_page.h"
#include "ui/week_grid_widget.h"

namespace kv::test {
namespace {

bool HasCommand(const std::vector<std::string>& sent, int id, const std::string& part = "") {
    for (const std::string& s : sent)
        if (s.rfind("<CMD ID=\"" + std::to_string(id) + "\"", 0) == 0 && s.find(part) != std::string::npos) return true;
    return false;
}

// The demo's channel 3 records on its schedule: Sunday off, weekdays 07:00 to 19:00.
constexpr int32_t kScheduled = 3;

struct RecordingPageGui : PageTest {
    void SetUp() override {
        PageTest::SetUp();
        openMenu(app::menu::kRecording);
    }
    recording::RecordingSubject& subject() { return *session.subject<recording::RecordingSubject>(); }
    recording::RecordingPage& model() { return *subject().page(); }
    ui::RecordingPage* page() { return dynamic_cast<ui::RecordingPage*>(window->page(app::menu::kRecording)); }
    void clickTab(int index) {
        QTabBar* bar = find<QTabWidget>("tabREC")->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
        ASSERT_EQ(model().tabREC, index);
    }
    ui::WeekGridWidget* week() { return find<ui::WeekGridWidget>("gridRec_4"); }
    // A drag on the week from one cell's centre to another's, as the mouse does it.
    void drag(Qt::MouseButton button, int row1, int slot1, int row2, int slot2) {
        ui::WeekGridWidget* w = week();
        const QPoint from = w->cellRect(row1, slot1).center(), to = w->cellRect(row2, slot2).center();
        QTest::mousePress(w, button, {}, from);
        QTest::mouseMove(w, to);
        QTest::mouseRelease(w, button, {}, to);
    }
    // The colour the widget shows at a cell's centre.
    QColor shownAt(int row, int slot) {
        const QImage image = week()->grab().toImage();
        const QPoint at = week()->cellRect(row, slot).center() * week()->devicePixelRatioF();
        return image.pixelColor(at);
    }
    void showChannel(int32_t ch) {
        subject().act([&] { return model().SelectChannel(ch); });
        refresh();
        ASSERT_EQ(model().schedule.channel(), ch);
    }
};

TEST_F(RecordingPageGui, EveryControlCarriesItsModelName) {
    const char* settings[] = {"cmbRecSetting_CH", "cmbRecSettingFPS_0", "cmbRecSettingFPS_3", "cmbRecSettingIFrame",
                              "cmbRecSettingPreAlarm", "cmbRecSettingPostAlarm", "chkRecSetting_0", "chkRecSetting_1",
                              "optRecordingVideo_0", "optRecordingVideo_1", "lbDualStream", "imgDualModify",
                              "gridRecSetTmp", "gridRec_2", "imgRecsetbtn_0", "imgRecsetbtn_1"};
    const char* schedule[] = {"gridRec_3", "gridRec_4", "imgRecSCDLbtn_0", "imgRecSCDLbtn_1", "cmdCopyDay",
                              "cmdCopyWeek"};
    const char* storage[] = {"gridStorage", "txtStorage", "txtReserveSize", "lstHDPath", "imgStoragebtn_0"};
    for (const auto& names : {std::vector<const char*>(std::begin(settings), std::end(settings)),
                              std::vector<const char*>(std::begin(schedule), std::end(schedule)),
                              std::vector<const char*>(std::begin(storage), std::end(storage))})
        for (const char* name : names) EXPECT_NE(window->findChild<QWidget*>(name), nullptr) << name;
    // The overviews are views over the models' rows, not item grids.
    EXPECT_EQ(find<QTableView>("gridRec_2")->model()->rowCount(), 16) << "the demo's configured channels";
    EXPECT_EQ(find<QTableView>("gridRec_3")->model()->columnCount(), 8) << "the channel and seven days";
    EXPECT_EQ(find<QComboBox>("cmbRecSetting_CH")->currentText(), "CH 1 [Entrance]");
    EXPECT_EQ(find<QLineEdit>("txtStorage")->text(), "30") << "720 hours";
}

TEST_F(RecordingPageGui, SettingsChoicesReachTheWorkingEntryAndTheShellsArea) {
    const recording::RecSetRecord& entry = model().settings.strRecSetTmp[0];
    EXPECT_FALSE(find<QPushButton>("imgRecsetbtn_0")->isEnabled()) << "nothing to save yet";
    Choose(find<QComboBox>("cmbRecSettingPostAlarm"), "30");
    EXPECT_EQ(entry.Event.PostAlarmLength, 30);
    EXPECT_EQ(entry.Manual.PostAlarmLength, 10);
    EXPECT_TRUE(entry.Edited);
    EXPECT_TRUE(shell->bDirty[app::area::kRecSettings]);
    EXPECT_TRUE(find<QPushButton>("imgRecsetbtn_0")->isEnabled());
    EXPECT_TRUE(find<QPushButton>("imgRecsetbtn_0")->property("dirty").toBool());
    EXPECT_FALSE(find<QTabWidget>("tabREC")->tabIcon(0).isNull()) << "the tab shows that its area waits";
    // Unticking continuous recording shows in the overview at once.
    QTest::mouseClick(find<QCheckBox>("chkRecSetting_0"), Qt::LeftButton);
    const QAbstractItemModel* overview = find<QTableView>("gridRec_2")->model();
    EXPECT_EQ(overview->index(0, 1).data().toString(), "X");
    EXPECT_EQ(overview->index(0, 3).data().toString(), "O") << "event recording stays on";
    sent();
    click("imgRecsetbtn_0");
    const auto out = sent();
    EXPECT_TRUE(HasCommand(out, 32784, "<CH>1</CH>")) << (out.empty() ? "" : out[0]);
    EXPECT_FALSE(shell->bDirty[app::area::kRecSettings]);
    EXPECT_TRUE(find<QTabWidget>("tabREC")->tabIcon(0).isNull());
}

TEST_F(RecordingPageGui, TheOverviewsMoveBothTabsToAChannel) {
    // A right click on the mode overview's row of channel 3.
    QTableView* modes = find<QTableView>("gridRec_2");
    const QPoint at = modes->visualRect(modes->model()->index(2, 0)).center();
    QContextMenuEvent right(QContextMenuEvent::Mouse, at, modes->viewport()->mapToGlobal(at));
    QCoreApplication::sendEvent(modes->viewport(), &right);
    EXPECT_EQ(model().settings.channel(), kScheduled);
    EXPECT_EQ(model().schedule.channel(), kScheduled);
    EXPECT_EQ(find<QComboBox>("cmbRecSetting_CH")->currentText(), "CH 3 [Parking North]");
    // A click on the week overview's row of channel 5.
    clickTab(recording::kTabSchedule);
    QTableView* weeks = find<QTableView>("gridRec_3");
    QTest::mouseClick(weeks->viewport(), Qt::LeftButton, {}, weeks->visualRect(weeks->model()->index(4, 0)).center());
    EXPECT_EQ(model().schedule.channel(), 5);
    EXPECT_EQ(model().settings.channel(), 5);
    EXPECT_EQ(find<QLabel>("lbRecSCDL_CH")->text(), "CH 5 [Loading Bay]");
}

TEST_F(RecordingPageGui, DragsOnTheWeekPaintTheCellsUnderTheMouse) {
    showChannel(kScheduled);
    clickTab(recording::kTabSchedule);
    const recording::WeekGrid& grid = model().schedule.gridRec4;
    ASSERT_FALSE(grid.on(1, 10));
    // The cells tile the widget in whole pixels: neighbours abut and all have one width.
    const QRect first = week()->cellRect(1, 1), next = week()->cellRect(1, 2), last = week()->cellRect(7, 96);
    EXPECT_EQ(next.left(), first.right() + 1);
    EXPECT_EQ(next.width(), first.width());
    EXPECT_LE(last.right(), week()->width() - 1);
    EXPECT_EQ(week()->toUnits(first.topLeft()), QPoint(grid.slotLeft(1), grid.rowTop(1)));
    EXPECT_EQ(week()->toPixels({grid.slotLeft(96), grid.rowTop(7)}), last.topLeft());

    // Left, from Sunday 02:15 down to Monday 02:45: six cells, in the model and on screen.
    ui::WeekGridWidget* w = week();
    QTest::mousePress(w, Qt::LeftButton, {}, w->cellRect(1, 10).center());
    QTest::mouseMove(w, w->cellRect(2, 12).center());
    EXPECT_EQ(w->bandRect(), w->cellRect(1, 10).united(w->cellRect(2, 12))) << "the band covers whole cells";
    EXPECT_FALSE(grid.on(1, 10)) << "the cells change only at the release";
    QTest::mouseRelease(w, Qt::LeftButton, {}, w->cellRect(2, 12).center());
    for (int row : {1, 2})
        for (int slot : {10, 11, 12}) EXPECT_TRUE(grid.on(row, slot)) << row << "/" << slot;
    EXPECT_FALSE(grid.on(1, 9));
    EXPECT_FALSE(grid.on(1, 13));
    EXPECT_FALSE(grid.on(3, 10));
    EXPECT_TRUE(w->bandRect().isEmpty());
    EXPECT_EQ(model().schedule.working[kScheduled - 1].Day[0].substr(8, 5), "01110");
    EXPECT_EQ(shownAt(1, 11), QColor(0, 255, 0));
    EXPECT_EQ(shownAt(1, 13), QColor(255, 255, 255));
    EXPECT_TRUE(shell->bDirty[app::area::kRecSchedule]);
    EXPECT_TRUE(find<QPushButton>("imgRecSCDLbtn_0")->isEnabled());

    // Right, backwards across Monday's recording hours: cleared, and the stripes stay.
    drag(Qt::RightButton, 2, 45, 2, 40);
    for (int slot = 40; slot <= 45; ++slot) EXPECT_FALSE(grid.on(2, slot)) << slot;
    EXPECT_TRUE(grid.on(2, 39));
    EXPECT_TRUE(grid.on(2, 46));
    EXPECT_EQ(shownAt(2, 42), QColor(0xEE, 0xEE, 0xEE));
    // A press on the day names is no drag.
    QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(4, w->cellRect(3, 1).center().y()));
    EXPECT_FALSE(grid.dragging());
    EXPECT_FALSE(grid.on(3, 1));
}

TEST_F(RecordingPageGui, TheSchedulesSaveSendsThePaintedWeek) {
    showChannel(kScheduled);
    clickTab(recording::kTabSchedule);
    drag(Qt::LeftButton, 1, 1, 1, 4);
    sent();
    click("imgRecSCDLbtn_0");
    const auto out = sent();
    EXPECT_TRUE(HasCommand(out, 32782, "<CH>3</CH>")) << (out.empty() ? "" : out[0]);
    EXPECT_TRUE(HasCommand(out, 32782, "<Enable Day=\"0\">1111" + std::string(92, '0') + "</Enable>"));
    EXPECT_FALSE(shell->bDirty[app::area::kRecSchedule]);
    EXPECT_FALSE(find<QPushButton>("imgRecSCDLbtn_0")->isEnabled());
    // The saved week shows in its overview row.
    const QAbstractItemModel* weeks = find<QTableView>("gridRec_3")->model();
    EXPECT_TRUE(weeks->index(2, 1).data().toString().startsWith("1111")) << "channel 3, Sunday";
}

TEST_F(RecordingPageGui, CopiesGoThroughTheirDialogsToTheModel) {
    showChannel(kScheduled);
    clickTab(recording::kTabSchedule);
    click("cmdCopyDay");
    auto* dialog = page()->findChild<QDialog*>("dlgCopyDay");
    ASSERT_NE(dialog, nullptr);
    Choose(Find<QComboBox>(dialog, "cmbCopyFrom"), QString::fromStdString(text(394)));  // Monday
    auto* to = Find<QListWidget>(dialog, "lstCopyTo");
    EXPECT_FALSE(to->item(1)->flags() & Qt::ItemIsEnabled) << "the source is no target";
    to->item(0)->setCheckState(Qt::Checked);
    QTest::mouseClick(Find<QPushButton>(dialog, "cmdCopyOk"), Qt::LeftButton);
    EXPECT_EQ(model().schedule.working[kScheduled - 1].Day[0], model().schedule.working[kScheduled - 1].Day[1]);
    EXPECT_TRUE(model().schedule.gridRec4.on(1, 40)) << "Sunday shows Monday's hours";
    EXPECT_TRUE(shell->bDirty[app::area::kRecSchedule]);

    click("cmdCopyWeek");
    dialog = page()->findChild<QDialog*>("dlgCopyWeek");
    ASSERT_NE(dialog, nullptr);
    to = Find<QListWidget>(dialog, "lstCopyTo");
    EXPECT_EQ(to->count(), 15) << "every configured channel but the shown one";
    to->item(3)->setCheckState(Qt::Checked);  // channel 5
    QTest::mouseClick(Find<QPushButton>(dialog, "cmdCopyOk"), Qt::LeftButton);
    EXPECT_TRUE(model().schedule.changed(5));
    EXPECT_EQ(model().schedule.working[4].Day, model().schedule.working[kScheduled - 1].Day);
}

TEST_F(RecordingPageGui, TheStorageFieldsDropWhatTheirFiltersRefuse) {
    clickTab(recording::kTabStorage);
    QLineEdit* days = find<QLineEdit>("txtStorage");
    days->selectAll();
    QTest::keyClicks(days, "4a5");
    EXPECT_EQ(days->text(), "45");
    EXPECT_EQ(model().storage.txtStorage.text, "45");
    QTest::keyClick(days, Qt::Key_Backspace);
    EXPECT_EQ(days->text(), "4") << "digits and Backspace reach the retention";
    EXPECT_TRUE(shell->bDirty[app::area::kStorage]);
    QLineEdit* reserve = find<QLineEdit>("txtReserveSize");
    reserve->selectAll();
    QTest::keyClicks(reserve, "2x0");
    QTest::keyClick(reserve, Qt::Key_Backspace);
    EXPECT_EQ(reserve->text(), "2") << "the reserve takes digits and Backspace";
    EXPECT_EQ(model().storage.gridStorage[0].reserve, "2");
    // A click on the mark column marks the row.
    QTableView* grid = find<QTableView>("gridStorage");
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(grid->model()->index(1, 1)).center());
    EXPECT_EQ(grid->model()->index(1, 1).data().toString(), "REMOVE");
    EXPECT_EQ(grid->model()->rowCount(), 3) << "two folders and the row that adds one";
}

TEST_F(RecordingPageGui, TheRemotePickerFollowsTheListingAnsweredThroughTheDispatcher) {
    session.dispatcher.ControlCOM_OnResponse(
        "<RESPONSE RET=\"0\" ID=\"32815\" RetCode=\"0\"><HDPathList><HDPath ID=\"1\" Path=\"D:\\\">"
        "<FreeSpaceGB>900</FreeSpaceGB><TotalSpaceGB>1863</TotalSpaceGB></HDPath></HDPathList></RESPONSE>");
    clickTab(recording::kTabStorage);
    QTableView* grid = find<QTableView>("gridStorage");
    const QPoint at = grid->visualRect(grid->model()->index(2, 0)).center();  // the empty row: a new folder
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
    ui::RemoteFolderDialog* picker = page()->remoteDialog();
    ASSERT_NE(picker, nullptr) << "a service elsewhere: the remote picker";
    EXPECT_TRUE(picker->isVisible());
    auto* tree = Find<QTreeWidget>(picker, "treeRemoteFolder");
    ASSERT_EQ(tree->topLevelItemCount(), 1);
    sent();
    tree->topLevelItem(0)->setExpanded(true);
    EXPECT_TRUE(HasCommand(sent(), 32816, "D:\\"));
    // The bar moves on the model's one-second timer while the listing is out.
    auto* bar = Find<QProgressBar>(picker, "progressLoadDriveList");
    EXPECT_TRUE(WaitFor([&] { return bar->value() > 0; }, 3000));
    session.dispatcher.ControlCOM_OnResponse(
        "<RESPONSE RET=\"0\" ID=\"32816\" RetCode=\"0\"><UserData>FormRemoteDriveList</UserData><DirectoryList>"
        "<Directory ModifyTime=\"2026/11/23 10:15:07\">D:\\Video</Directory></DirectoryList></RESPONSE>");
    refresh();
    EXPECT_EQ(bar->value(), 100);
    ASSERT_EQ(tree->topLevelItem(0)->childCount(), 1);
    QTreeWidgetItem* video = tree->topLevelItem(0)->child(0);
    EXPECT_EQ(video->text(0), "Video");
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(video).center());
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_TRUE(prompter.boxes.empty()) << prompter.boxes.front();
    EXPECT_EQ(model().storage.gridStorage.back().path, "D:\\Video\\");
    EXPECT_TRUE(WaitFor([&] { return page()->remoteDialog() == nullptr; }, 2000)) << "the model closed the picker";
}

TEST_F(RecordingPageGui, TheSecondStreamDialogStoresIntoTheWorkingEntry) {
    // The demo's channel 1 records a second stream: picture 18 offers the dialog.
    auto* modify = find<QPushButton>("imgDualModify");
    EXPECT_EQ(modify->property("picture").toInt(), 18);
    EXPECT_TRUE(find<QRadioButton>("optRecordingVideo_1")->isChecked());
    click("imgDualModify");
    ui::RecDetailDialog* dialog = page()->detailDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(Find<QLabel>(dialog, "lbCHInfo")->text().toStdString(), model().settings.dualDialog->lbCHInfo);
    auto* gridRows = Find<QTableWidget>(dialog, "gridVideoSetting");
    EXPECT_EQ(gridRows->rowCount(), 7);
    QComboBox* size = Find<QComboBox>(dialog, "cmbVideo_1");
    ASSERT_GE(size->count(), 2);
    const std::string chosen = size->itemText(size->count() - 1).toStdString();
    Choose(size, size->itemText(size->count() - 1));
    EXPECT_EQ(model().settings.dualDialog->cmbVideo.cmb_CamDetail[1].text(), chosen);
    QTest::mouseClick(Find<QPushButton>(dialog, "imgButton"), Qt::LeftButton);
    EXPECT_FALSE(model().settings.dualDialog.has_value());
    EXPECT_TRUE(model().settings.strRecSetTmp[0].Edited);
    EXPECT_TRUE(shell->bDirty[app::area::kRecSettings]);
    EXPECT_TRUE(WaitFor([&] { return page()->detailDialog() == nullptr; }, 2000));
    // One stream: picture 17, and no dialog.
    QTest::mouseClick(find<QRadioButton>("optRecordingVideo_0"), Qt::LeftButton);
    EXPECT_EQ(model().settings.strRecSetTmp[0].DualMode, 0);
    EXPECT_EQ(modify->property("picture").toInt(), 17);
    EXPECT_FALSE(modify->isEnabled());
}

TEST_F(RecordingPageGui, ARefreshSignalsOnlyTheOverviewRowsThatChanged) {
    const QAbstractItemModel* overview = find<QTableView>("gridRec_2")->model();
    QSignalSpy changed(overview, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(overview, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(overview, &QAbstractItemModel::rowsInserted);
    refresh();
    refresh();
    EXPECT_EQ(changed.count() + reset.count() + inserted.count(), 0) << "nothing changed: the view is left alone";
    QTest::mouseClick(find<QCheckBox>("chkRecSetting_1"), Qt::LeftButton);  // channel 1, schedule
    EXPECT_EQ(reset.count(), 0);
    ASSERT_GE(changed.count(), 1);
    for (const QList<QVariant>& signal : changed) {
        EXPECT_EQ(signal[0].toModelIndex().row(), 0) << "only channel 1's row";
        EXPECT_EQ(signal[1].toModelIndex().row(), 0);
    }
}

TEST_F(RecordingPageGui, LeavingAnUnsavedWeekAsksAndNoDropsIt) {
    showChannel(kScheduled);
    clickTab(recording::kTabSchedule);
    drag(Qt::LeftButton, 1, 1, 1, 2);
    prompter.answer = app::Answer::No;
    QTabBar* bar = find<QTabWidget>("tabREC")->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(recording::kTabStorage).center());
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(recording::text::kSaveFirst)});
    EXPECT_EQ(find<QTabWidget>("tabREC")->currentIndex(), recording::kTabStorage);
    EXPECT_FALSE(model().schedule.gridRec4.on(1, 1)) << "the week went back to the saved one";
    EXPECT_FALSE(shell->bDirty[app::area::kRecSchedule]);
}

TEST_F(RecordingPageGui, TheLocalPickerRefusesASmallDiskAndTakesAFolderOfAnother) {
    session.dispatcher.ControlCOM_OnResponse(
        "<RESPONSE RET=\"0\" ID=\"32815\" RetCode=\"0\"><HDPathList>"
        "<HDPath ID=\"1\" Path=\"D:\\\"><FreeSpaceGB>9.5</FreeSpaceGB><TotalSpaceGB>100</TotalSpaceGB></HDPath>"
        "<HDPath ID=\"2\" Path=\"F:\\\"><FreeSpaceGB>500</FreeSpaceGB><TotalSpaceGB>1863</TotalSpaceGB></HDPath>"
        "</HDPathList></RESPONSE>");
    model().storage.localService = true;  // the service on this machine
    clickTab(recording::kTabStorage);
    QTableView* grid = find<QTableView>("gridStorage");
    const QPoint at = grid->visualRect(grid->model()->index(0, 0)).center();
    sent();
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
    ui::FolderPathDialog* picker = page()->pathDialog();
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->windowTitle().toStdString(), text(248));
    EXPECT_TRUE(HasCommand(sent(), 32816, "D:\\Record\\")) << "it opens on the row's folder";
    const auto listing = [&](const std::string& dirs) {
        session.dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32816\" RetCode=\"0\"><UserData>formPath"
                                                 "</UserData><DirectoryList>" + dirs + "</DirectoryList></RESPONSE>");
        refresh();
    };
    listing("<Directory>D:\\Record\\Cam01</Directory>");
    auto* dirs = Find<QListWidget>(picker, "Dir1");
    ASSERT_EQ(dirs->count(), 1);
    EXPECT_EQ(dirs->item(0)->text(), "Cam01");
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(499)}) << "9.5 GB free on D:";
    EXPECT_TRUE(picker->isVisible());
    Choose(Find<QComboBox>(picker, "Drive1"), "F:\\");
    listing("<Directory>F:\\Video</Directory>");
    const QPoint video = dirs->visualItemRect(dirs->item(0)).center();
    QTest::mouseClick(dirs->viewport(), Qt::LeftButton, {}, video);
    QTest::mouseDClick(dirs->viewport(), Qt::LeftButton, {}, video);
    EXPECT_EQ(Find<QLabel>(picker, "lbDir1Path")->text(), "F:\\Video\\");
    listing("");
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_EQ(model().storage.gridStorage[0].path, "F:\\Video\\");
    EXPECT_TRUE(shell->bDirty[app::area::kStorage]);
    EXPECT_TRUE(WaitFor([&] { return page()->pathDialog() == nullptr; }, 2000));
}

// The week widget alone over a grid, at sizes whose pixels do not divide evenly.
struct WeekWidget : ::testing::Test {
    recording::WeekGrid grid{recording::WeekGrid::EmptyDay::kAllOff};
    ui::WeekGridWidget widget{grid};
    // The cell the model takes a press at `at` for (the band of a press starts on it).
    std::pair<int, int> cellAt(QPoint at) {
        const QPoint u = widget.toUnits(at);
        if (!grid.MouseDown(recording::kButtonLeft, u.x(), u.y())) return {0, 0};
        const std::pair<int, int> cell{grid.band().firstRow, grid.band().firstSlot};
        grid.CancelDrag();
        return cell;
    }
};

TEST_F(WeekWidget, EveryCornerOfACellReachesTheModelAsThatCell) {
    for (const QSize size : {QSize(800, 220), QSize(1037, 263), QSize(1511, 401), QSize(300, 90)}) {
        widget.resize(size);
        for (int row = 1; row <= recording::kDays; ++row) {
            for (int slot : {1, 2, 47, 95, 96}) {
                const QRect r = widget.cellRect(row, slot);
                for (const QPoint at : {r.topLeft(), r.center(), r.bottomRight()})
                    EXPECT_EQ(cellAt(at), std::make_pair(row, slot)) << size.width() << "x" << size.height();
            }
        }
        EXPECT_EQ(cellAt(widget.cellRect(1, 1).topLeft() - QPoint(1, 0)), std::make_pair(0, 0)) << "the day names";
        EXPECT_EQ(cellAt(widget.cellRect(1, 1).topLeft() - QPoint(0, 1)), std::make_pair(0, 0)) << "the hours";
    }
}

TEST_F(WeekWidget, DragsBeyondTheEdgesStopAtTheLastCells) {
    widget.resize(900, 240);
    QTest::mousePress(&widget, Qt::LeftButton, {}, widget.cellRect(6, 90).center());
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, QPoint(widget.width() + 40, widget.height() + 40));
    EXPECT_TRUE(grid.on(6, 90) && grid.on(7, 96) && grid.on(6, 96));
    EXPECT_FALSE(grid.on(5, 96));
    // Past the top left: the first row and slot, not a cell beyond them.
    QTest::mousePress(&widget, Qt::LeftButton, {}, widget.cellRect(2, 3).center());
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, QPoint(-30, -30));
    EXPECT_TRUE(grid.on(1, 1) && grid.on(2, 3));
    EXPECT_FALSE(grid.on(3, 1));
    EXPECT_EQ(grid.Days()[0].substr(0, 4), "1110");
}

// What the widget is asked to paint.
struct PaintRecorder : QObject {
    QRegion painted;
    int paints = 0;
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::Paint) {
            painted += static_cast<QPaintEvent*>(e)->region();
            ++paints;
        }
        return QObject::eventFilter(o, e);
    }
};

TEST_F(WeekWidget, ADragRepaintsTheBandsRectangleAndNothingElse) {
    widget.resize(1000, 260);
    widget.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
    PaintRecorder recorder;
    widget.installEventFilter(&recorder);
    const auto settle = [&] {
        QCoreApplication::processEvents();
        const QRegion painted = recorder.painted;
        recorder.painted = QRegion();
        return painted;
    };
    settle();
    QTest::mousePress(&widget, Qt::LeftButton, {}, widget.cellRect(2, 10).center());
    EXPECT_EQ(settle().boundingRect(), widget.cellRect(2, 10));
    QTest::mouseMove(&widget, widget.cellRect(3, 20).center());
    EXPECT_EQ(settle().boundingRect(), widget.cellRect(2, 10).united(widget.cellRect(3, 20)));
    // A move within the same cell changes nothing and paints nothing.
    recorder.paints = 0;
    QTest::mouseMove(&widget, widget.cellRect(3, 20).center() + QPoint(1, 1));
    settle();
    EXPECT_EQ(recorder.paints, 0);
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, widget.cellRect(3, 20).center());
    EXPECT_EQ(settle().boundingRect(), widget.cellRect(2, 10).united(widget.cellRect(3, 20)));
    // A day loaded behind the widget's back shows at the next sync, only its row.
    std::array<std::string, recording::kDays> days = grid.Days();
    days[5] = std::string(recording::kSlotsPerDay, '1');
    grid.Load(days);
    widget.sync();
    EXPECT_EQ(settle().boundingRect(), widget.cellRect(6, 1).united(widget.cellRect(6, 96)));
}

}  // namespace
}  // namespace kv::test
