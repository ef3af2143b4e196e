// The recording page in-process over the answering link: a click, a drag or a key press reaches the
// recording models, the widgets and the shell's areas show the models afterwards, and the dialogs
// the models open are shown. The rules themselves are proven in the recording suites.
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QListWidget>
#include <QPaintEvent>
#include <QProgressBar>
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
    }
    // Channel 3's week on the schedule tab.
    void openScheduled() {
        subject().act([&] { return model().SelectChannel(kScheduled); });
        refresh();
        clickTab(recording::kTabSchedule);
        ASSERT_EQ(model().tabREC, recording::kTabSchedule);
    }
    ui::WeekGridWidget* week() { return find<ui::WeekGridWidget>("gridRec_4"); }
    void drag(Qt::MouseButton button, int row1, int slot1, int row2, int slot2) {
        const QPoint from = week()->cellRect(row1, slot1).center(), to = week()->cellRect(row2, slot2).center();
        QTest::mousePress(week(), button, {}, from);
        QTest::mouseMove(week(), to);
        QTest::mouseRelease(week(), button, {}, to);
    }
    QColor shownAt(int row, int slot) {
        const QImage image = week()->grab().toImage();
        return image.pixelColor(week()->cellRect(row, slot).center() * week()->devicePixelRatioF());
    }
    // Clicks, then double-clicks, the storage grid's cell.
    void openPicker(int row) {
        QTableView* grid = find<QTableView>("gridStorage");
        const QPoint at = grid->visualRect(grid->model()->index(row, 0)).center();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
    }
    void answer(const std::string& userData, const std::string& dirs) {
        session.dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32816\" RetCode=\"0\"><UserData>" +
                                                 userData + "</UserData><DirectoryList>" + dirs +
                                                 "</DirectoryList></RESPONSE>");
        refresh();
    }
    void disks(const std::string& list) {
        session.dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"32815\" RetCode=\"0\"><HDPathList>" + list +
                                                 "</HDPathList></RESPONSE>");
    }
};

TEST_F(RecordingPageGui, SettingsChoicesReachTheWorkingEntryAndTheShellsArea) {
    EXPECT_EQ(find<QComboBox>("cmbRecSetting_CH")->currentText(), "CH 1 [Entrance]");
    EXPECT_FALSE(find<QPushButton>("imgRecsetbtn_0")->isEnabled()) << "nothing to save yet";
    Choose(find<QComboBox>("cmbRecSettingPostAlarm"), "30");
    EXPECT_EQ(model().settings.strRecSetTmp[0].Event.PostAlarmLength, 30);
    EXPECT_TRUE(shell->bDirty[app::area::kRecSettings]);
    EXPECT_TRUE(find<QPushButton>("imgRecsetbtn_0")->isEnabled());
    QTest::mouseClick(find<QCheckBox>("chkRecSetting_0"), Qt::LeftButton);
    EXPECT_EQ(find<QTableView>("gridRec_2")->model()->index(0, 1).data().toString(), "X") << "the overview follows";
    sent();
    click("imgRecsetbtn_0");
    EXPECT_TRUE(HasCommand(sent(), 32784, "<CH>1</CH>"));
    EXPECT_FALSE(shell->bDirty[app::area::kRecSettings]);
}

TEST_F(RecordingPageGui, TheOverviewsMoveBothTabsToAChannel) {
    // A right click on the mode overview's row of channel 3.
    QTableView* modes = find<QTableView>("gridRec_2");
    const QPoint at = modes->visualRect(modes->model()->index(2, 0)).center();
    QContextMenuEvent right(QContextMenuEvent::Mouse, at, modes->viewport()->mapToGlobal(at));
    QCoreApplication::sendEvent(modes->viewport(), &right);
    EXPECT_EQ(model().schedule.channel(), kScheduled);
    EXPECT_EQ(find<QComboBox>("cmbRecSetting_CH")->currentText(), "CH 3 [Parking North]");
    // A click on the week overview's row of channel 5.
    clickTab(recording::kTabSchedule);
    QTableView* weeks = find<QTableView>("gridRec_3");
    QTest::mouseClick(weeks->viewport(), Qt::LeftButton, {}, weeks->visualRect(weeks->model()->index(4, 0)).center());
    EXPECT_EQ(model().settings.channel(), 5);
    EXPECT_EQ(find<QLabel>("lbRecSCDL_CH")->text(), "CH 5 [Loading Bay]");
}

TEST_F(RecordingPageGui, DragsOnTheWeekPaintTheCellsUnderTheMouse) {
    openScheduled();
    const recording::WeekGrid& grid = model().schedule.gridRec4;
    // Left, from Sunday 02:15 down to Monday 02:45: six cells, in the model and on screen.
    drag(Qt::LeftButton, 1, 10, 2, 12);
    EXPECT_EQ(model().schedule.working[kScheduled - 1].Day[0].substr(8, 5), "01110");
    EXPECT_TRUE(grid.on(2, 12) && !grid.on(3, 10));
    EXPECT_EQ(shownAt(1, 11), QColor(0, 255, 0));
    EXPECT_EQ(shownAt(1, 13), QColor(255, 255, 255));
    EXPECT_TRUE(shell->bDirty[app::area::kRecSchedule]);
    // Right, backwards across Monday's recording hours: cleared, the grey stripe shows.
    drag(Qt::RightButton, 2, 45, 2, 40);
    EXPECT_TRUE(!grid.on(2, 40) && !grid.on(2, 45) && grid.on(2, 39) && grid.on(2, 46));
    EXPECT_EQ(shownAt(2, 42), QColor(0xEE, 0xEE, 0xEE));
}

TEST_F(RecordingPageGui, TheScheduleButtonsSaveOrAskAndDrop) {
    openScheduled();
    drag(Qt::LeftButton, 1, 1, 1, 4);
    sent();
    click("imgRecSCDLbtn_0");
    EXPECT_TRUE(HasCommand(sent(), 32782, "<CH>3</CH>"));
    EXPECT_FALSE(find<QPushButton>("imgRecSCDLbtn_0")->isEnabled());
    EXPECT_TRUE(find<QTableView>("gridRec_3")->model()->index(2, 1).data().toString().startsWith("1111"))
        << "the saved week shows in its overview row";
    // Leaving a painted week asks; No drops it.
    drag(Qt::LeftButton, 1, 5, 1, 6);
    prompter.answer = app::Answer::No;
    clickTab(recording::kTabStorage);
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(recording::text::kSaveFirst)});
    EXPECT_EQ(find<QTabWidget>("tabREC")->currentIndex(), recording::kTabStorage);
    EXPECT_FALSE(model().schedule.gridRec4.on(1, 5));
    EXPECT_FALSE(shell->bDirty[app::area::kRecSchedule]);
}

TEST_F(RecordingPageGui, CopiesGoThroughTheirDialogsToTheModel) {
    openScheduled();
    click("cmdCopyDay");
    auto* dialog = page()->findChild<QDialog*>("dlgCopyDay");
    ASSERT_NE(dialog, nullptr);
    Choose(Find<QComboBox>(dialog, "cmbCopyFrom"), QString::fromStdString(text(394)));  // Monday
    auto* to = Find<QListWidget>(dialog, "lstCopyTo");
    EXPECT_FALSE(to->item(1)->flags() & Qt::ItemIsEnabled) << "the source is no target";
    to->item(0)->setCheckState(Qt::Checked);
    QTest::mouseClick(Find<QPushButton>(dialog, "cmdCopyOk"), Qt::LeftButton);
    EXPECT_TRUE(model().schedule.gridRec4.on(1, 40)) << "Sunday shows Monday's hours";

    click("cmdCopyWeek");
    dialog = page()->findChild<QDialog*>("dlgCopyWeek");
    ASSERT_NE(dialog, nullptr);
    to = Find<QListWidget>(dialog, "lstCopyTo");
    EXPECT_EQ(to->count(), 15) << "every configured channel but the shown one";
    to->item(3)->setCheckState(Qt::Checked);  // channel 5
    QTest::mouseClick(Find<QPushButton>(dialog, "cmdCopyOk"), Qt::LeftButton);
    EXPECT_EQ(model().schedule.working[4].Day, model().schedule.working[kScheduled - 1].Day);
}

TEST_F(RecordingPageGui, TheStorageFieldsAndTheMarkColumnReachTheModel) {
    clickTab(recording::kTabStorage);
    QLineEdit* days = find<QLineEdit>("txtStorage");
    EXPECT_EQ(days->text(), "30") << "720 hours";
    Type(days, "45");
    EXPECT_EQ(model().storage.txtStorage.text, "45");
    EXPECT_TRUE(shell->bDirty[app::area::kStorage]);
    // A click on the mark column marks the row.
    QTableView* grid = find<QTableView>("gridStorage");
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(grid->model()->index(1, 1)).center());
    EXPECT_EQ(grid->model()->index(1, 1).data().toString(), "REMOVE");
}

TEST_F(RecordingPageGui, TheRemotePickerFollowsTheListingAnsweredThroughTheDispatcher) {
    disks("<HDPath ID=\"1\" Path=\"D:\\\"><FreeSpaceGB>900</FreeSpaceGB><TotalSpaceGB>1863</TotalSpaceGB></HDPath>");
    clickTab(recording::kTabStorage);
    openPicker(2);  // the empty row: a new folder
    ui::RemoteFolderDialog* picker = page()->remoteDialog();
    ASSERT_NE(picker, nullptr) << "a service elsewhere: the remote picker";
    auto* tree = Find<QTreeWidget>(picker, "treeRemoteFolder");
    sent();
    tree->topLevelItem(0)->setExpanded(true);
    EXPECT_TRUE(HasCommand(sent(), 32816, "D:\\"));
    auto* bar = Find<QProgressBar>(picker, "progressLoadDriveList");
    EXPECT_TRUE(WaitFor([&] { return bar->value() > 0; }, 3000)) << "the model's one-second timer runs";
    answer("FormRemoteDriveList", "<Directory ModifyTime=\"2026/11/23 10:15:07\">D:\\Video</Directory>");
    ASSERT_EQ(tree->topLevelItem(0)->childCount(), 1);
    QTreeWidgetItem* video = tree->topLevelItem(0)->child(0);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(video).center());
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_EQ(model().storage.gridStorage.back().path, "D:\\Video\\");
    EXPECT_TRUE(WaitFor([&] { return page()->remoteDialog() == nullptr; }, 2000)) << "the model closed the picker";
}

TEST_F(RecordingPageGui, TheLocalPickerShowsARefusalAndTakesAFolderOfAnotherDisk) {
    disks("<HDPath ID=\"1\" Path=\"D:\\\"><FreeSpaceGB>9.5</FreeSpaceGB><TotalSpaceGB>100</TotalSpaceGB></HDPath>"
          "<HDPath ID=\"2\" Path=\"F:\\\"><FreeSpaceGB>500</FreeSpaceGB><TotalSpaceGB>1863</TotalSpaceGB></HDPath>");
    model().storage.localService = true;  // the service on this machine
    clickTab(recording::kTabStorage);
    openPicker(0);
    ui::FolderPathDialog* picker = page()->pathDialog();
    ASSERT_NE(picker, nullptr);
    answer("formPath", "<Directory>D:\\Record\\Cam01</Directory>");
    auto* dirs = Find<QListWidget>(picker, "Dir1");
    ASSERT_EQ(dirs->count(), 1);
    EXPECT_EQ(dirs->item(0)->text(), "Cam01") << "the folders of the row's folder";
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(499)}) << "9.5 GB free on D:";
    EXPECT_TRUE(picker->isVisible());
    Choose(Find<QComboBox>(picker, "Drive1"), "F:\\");
    answer("formPath", "<Directory>F:\\Video</Directory>");
    const QPoint video = dirs->visualItemRect(dirs->item(0)).center();
    QTest::mouseClick(dirs->viewport(), Qt::LeftButton, {}, video);
    QTest::mouseDClick(dirs->viewport(), Qt::LeftButton, {}, video);
    answer("formPath", "");
    QTest::mouseClick(Find<QPushButton>(picker, "cmdCommit"), Qt::LeftButton);
    EXPECT_EQ(model().storage.gridStorage[0].path, "F:\\Video\\");
    EXPECT_TRUE(WaitFor([&] { return page()->pathDialog() == nullptr; }, 2000));
}

TEST_F(RecordingPageGui, TheSecondStreamDialogStoresIntoTheWorkingEntry) {
    // The demo's channel 1 records a second stream: picture 18 offers the dialog.
    auto* modify = find<QPushButton>("imgDualModify");
    EXPECT_EQ(modify->property("picture").toInt(), 18);
    click("imgDualModify");
    ui::RecDetailDialog* dialog = page()->detailDialog();
    ASSERT_NE(dialog, nullptr);
    QComboBox* size = Find<QComboBox>(dialog, "cmbVideo_1");
    Choose(size, size->itemText(size->count() - 1));
    EXPECT_EQ(model().settings.dualDialog->cmbVideo.cmb_CamDetail[1].text(), size->currentText().toStdString());
    QTest::mouseClick(Find<QPushButton>(dialog, "imgButton"), Qt::LeftButton);
    EXPECT_TRUE(model().settings.strRecSetTmp[0].Edited);
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
    EXPECT_EQ(changed.count() + reset.count() + inserted.count(), 0) << "nothing changed: the view is left alone";
    QTest::mouseClick(find<QCheckBox>("chkRecSetting_1"), Qt::LeftButton);  // channel 1, schedule
    EXPECT_EQ(reset.count(), 0);
    ASSERT_GE(changed.count(), 1);
    for (const QList<QVariant>& signal : changed)
        EXPECT_EQ(std::pair(signal[0].toModelIndex().row(), signal[1].toModelIndex().row()), std::pair(0, 0));
}

// The week widget alone over a grid, at sizes whose pixels do not divide evenly.
struct WeekGridPixels : ::testing::Test {
    recording::WeekGrid grid{recording::WeekGrid::EmptyDay::kAllOff};
    ui::WeekGridWidget widget{grid};
    // The cell the model takes a press at `at` for.
    std::pair<int, int> cellAt(QPoint at) {
        const QPoint u = widget.toUnits(at);
        if (!grid.MouseDown(recording::kButtonLeft, u.x(), u.y())) return {0, 0};
        const std::pair<int, int> cell{grid.band().firstRow, grid.band().firstSlot};
        grid.CancelDrag();
        return cell;
    }
};

TEST_F(WeekGridPixels, EveryCornerOfACellReachesTheModelAsThatCell) {
    for (const QSize size : {QSize(800, 220), QSize(1037, 263), QSize(1511, 401), QSize(300, 90)}) {
        widget.resize(size);
        for (int row = 1; row <= recording::kDays; ++row)
            for (int slot : {1, 2, 47, 95, 96})
                for (const QPoint at : {widget.cellRect(row, slot).topLeft(), widget.cellRect(row, slot).center(),
                                        widget.cellRect(row, slot).bottomRight()})
                    EXPECT_EQ(cellAt(at), std::make_pair(row, slot)) << size.width() << "x" << size.height();
        // Just left of the first cell are the day names, just above it the hours.
        EXPECT_EQ(cellAt(widget.cellRect(1, 1).topLeft() - QPoint(1, 0)), std::make_pair(0, 0));
        EXPECT_EQ(cellAt(widget.cellRect(1, 1).topLeft() - QPoint(0, 1)), std::make_pair(0, 0));
    }
    // A release outside the widget still ends the drag, at the last row and slot.
    widget.resize(900, 240);
    QTest::mousePress(&widget, Qt::LeftButton, {}, widget.cellRect(6, 90).center());
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, QPoint(widget.width() + 40, widget.height() + 40));
    EXPECT_TRUE(grid.on(6, 90) && grid.on(7, 96) && !grid.on(5, 96));
}

// What the widget is asked to paint.
struct PaintRecorder : QObject {
    QRegion painted;
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::Paint) painted += static_cast<QPaintEvent*>(e)->region();
        return QObject::eventFilter(o, e);
    }
};

TEST_F(WeekGridPixels, ADragRepaintsTheBandsRectangleAndNothingElse) {
    widget.resize(1000, 260);
    widget.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
    PaintRecorder recorder;
    widget.installEventFilter(&recorder);
    const auto settle = [&] {
        QCoreApplication::processEvents();
        const QRect painted = recorder.painted.boundingRect();
        recorder.painted = QRegion();
        return painted;
    };
    settle();
    const QRect first = widget.cellRect(2, 10), band = first.united(widget.cellRect(3, 20));
    QTest::mousePress(&widget, Qt::LeftButton, {}, first.center());
    EXPECT_EQ(settle(), first);
    QTest::mouseMove(&widget, widget.cellRect(3, 20).center());
    EXPECT_EQ(settle(), band);
    QTest::mouseMove(&widget, widget.cellRect(3, 20).center() + QPoint(1, 1));
    EXPECT_TRUE(settle().isNull()) << "a move within the same cell paints nothing";
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, widget.cellRect(3, 20).center());
    EXPECT_EQ(settle(), band);
    // A day loaded behind the widget's back shows at the next sync, only its row.
    std::array<std::string, recording::kDays> days = grid.Days();
    days[5] = std::string(recording::kSlotsPerDay, '1');
    grid.Load(days);
    widget.sync();
    EXPECT_EQ(settle(), widget.cellRect(6, 1).united(widget.cellRect(6, 96)));
}

}  // namespace
}  // namespace kv::test
