// The recording page's widgets, bound to the recording page model.
#include "ui/recording_page.h"

#include <QAbstractTableModel>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <array>
#include <map>
#include <memory>
#include <vector>

#include "app/shell.h"
#include "base/lang.h"
#include "recording/page.h"
#include "recording/subject.h"
#include "ui/folder_pickers.h"
#include "ui/look.h"
#include "ui/rec_detail_dialog.h"
#include "ui/rows_model.h"
#include "ui/week_grid_widget.h"

namespace kv::ui {
namespace {

using recording::kDays;
using recording::kModeCount;

// Texts of the language files the page uses.
constexpr int kTextTitle = 807, kTextSetting = 290, kTextSchedule = 143, kTextSave = 811, kTextCancel = 852,
              kTextOk = 850, kTextChannel = 898;
constexpr int kTextModes[kModeCount] = {142, 143, 91, 144};
constexpr int kTextFirstDay = 393;  // "Sun." .. "Sat."

// Texts of the page's own.
constexpr int kTextStorage = 961, kTextFrameRate = 962, kTextIFrame = 963, kTextPreAlarm = 964,
              kTextPostAlarm = 965, kTextRecordingModes = 966, kTextSecondStream = 967, kTextSingleStream = 968,
              kTextDualStream = 969, kTextRecord = 970, kTextCopyDay = 971, kTextCopyWeek = 972,
              kTextCopyDayTo = 973, kTextCopyWeekTo = 974, kTextFromDay = 975, kTextRetention = 976,
              kTextReserve = 977, kTextDisks = 978, kTextStorageHint = 979, kTextReserveColumn = 980,
              kTextOverviewHint = 981, kTextWeekHint = 983, kTextOverview = 984, kTextAlwaysOn = 985,
              kTextSavedWeeks = 986, kTextAlarm = 987, kTextDualSettings = 988;

constexpr int kRowHeight = 22;

QStringList qList(const std::vector<std::string>& v) {
    QStringList out;
    for (const std::string& s : v) out << Q(s);
    return out;
}

// ---- the week overview: one painted picture a day ----

// Paints the day columns of `gridRec_3` from the schedule model's slices: each slot a rectangle of
// the day's picture, scaled to the cell; neighbours of one colour are filled at once.
class SliceDelegate : public QStyledItemDelegate {
public:
    SliceDelegate(const recording::RecScheduleTab& tab, QObject* parent) : QStyledItemDelegate(parent), tab_(tab) {}

    void paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        if (index.column() == 0) {
            QStyledItemDelegate::paint(p, option, index);
            return;
        }
        const bool selected = option.state & QStyle::State_Selected;
        p->fillRect(option.rect, selected ? QColor("#dde7f5") : option.palette.base().color());
        const size_t row = static_cast<size_t>(index.row());
        const size_t day = static_cast<size_t>(index.column() - 1);
        if (row >= tab_.gridRec3.size() || day >= static_cast<size_t>(kDays)) return;
        const std::vector<recording::SliceRect>& slices = tab_.gridRec3[row].days[day];
        if (slices.empty()) return;  // a day the service never sent: nothing drawn
        const QRectF area = QRectF(option.rect).adjusted(3, 4, -3, -4);
        const double scale = area.width() / (recording::kSlotsPerDay * recording::kSliceWidth);
        size_t run = 0;
        for (size_t i = 1; i <= slices.size(); ++i) {
            if (i < slices.size() && slices[i].colour == slices[run].colour) continue;
            const double left = area.left() + (slices[run].left - recording::kSliceLeft) * scale;
            const double right =
                area.left() + (slices[i - 1].left + slices[i - 1].width - recording::kSliceLeft) * scale;
            p->fillRect(QRectF(left, area.top(), right - left, area.height()),
                        SystemColour(static_cast<uint32_t>(slices[run].colour)));
            run = i;
        }
        p->setPen(QColor("#b9c2cf"));
        p->drawRect(area);
    }

private:
    const recording::RecScheduleTab& tab_;
};

// ---- small pieces ----

QPushButton* pictureButton(const QString& name, const char* icon) {
    auto* b = new QPushButton;
    b->setObjectName(name);
    b->setIcon(Icon(icon));
    b->setMinimumWidth(100);
    return b;
}

// Save and cancel on the right of a tab.
QHBoxLayout* saveRow(QPushButton* save, QPushButton* cancel, QWidget* left = nullptr) {
    auto* row = new QHBoxLayout;
    if (left) row->addWidget(left, 1);
    row->addStretch();
    row->addWidget(cancel);
    row->addWidget(save);
    return row;
}

// Digits and the keys the model lets through reach the field; the rest is dropped as typed.
class KeyFilter : public QObject {
public:
    KeyFilter(QObject* parent, std::function<bool(int)> allow) : QObject(parent), allow_(std::move(allow)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
        // Only typed characters are asked about: keys without one (arrows, Delete, Home), focus
        // moves and commands pass. A pasted text meets the model's check of the field's text.
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString text = key->text();
        if (text.isEmpty() || key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab ||
            (key->modifiers() & Qt::ControlModifier))
            return false;
        return !allow_(text.at(0).unicode());
    }

private:
    std::function<bool(int)> allow_;
};

QHBoxLayout* labelled(QLabel* label, QWidget* w) {
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(w, 1);
    return row;
}

}  // namespace

std::string RecordingText(const base::Language& lang, int id) { return lang.GetText(id); }

RecordingPage::RecordingPage(recording::RecordingSubject& subject, const base::Language& lang)
    : subject_(subject),
      model_(*subject.page()),
      settings_(model_.settings),
      schedule_(model_.schedule),
      storage_(model_.storage),
      lang_(lang) {
    setObjectName("frameRecording");
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(16, 12, 16, 10);
    auto* title = CaptionLabel(kTextTitle);
    title->setObjectName("lbPageTitle");
    page->addWidget(title);

    tabs_ = new QTabWidget;
    tabs_->setObjectName("tabREC");
    tabs_->addTab(buildSettingsTab(), QString());
    tabs_->addTab(buildScheduleTab(), QString());
    tabs_->addTab(buildStorageTab(), QString());
    page->addWidget(tabs_, 1);

    binder_.afterAction = [this] { finished(); };
    // The strip asks the model: leaving an unsaved week asks first, and a refusal keeps the strip.
    QObject::connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        act([this, index] {
            model_.tabREC_Click(index);
            return true;
        });
    });
    binder_.custom([this] {
        const QSignalBlocker block(tabs_);
        const QString texts[3] = {Q(lang_.GetText(kTextSetting)), Q(lang_.GetText(kTextSchedule)),
                                  Q(RecordingText(lang_, kTextStorage))};
        // A tab with something to save carries the save picture of its area.
        const bool dirty[3] = {settings_.dirty(), schedule_.dirty(), storage_.dirty()};
        for (int i = 0; i < 3; ++i) {
            if (tabs_->tabText(i) != texts[i]) tabs_->setTabText(i, texts[i]);
            if (tabs_->tabIcon(i).isNull() == dirty[i]) tabs_->setTabIcon(i, dirty[i] ? Icon("save-dirty") : QIcon());
        }
        if (tabs_->currentIndex() != model_.tabREC) tabs_->setCurrentIndex(model_.tabREC);
    });
    // The page's own texts are in place before the first layout.
    binder_.refresh();
}

RecordingPage::~RecordingPage() = default;

void RecordingPage::act(const std::function<bool()>& action) {
    binder_.act([&] { subject_.act(action); });
}

void RecordingPage::finished() {
    // The owner refreshes what is shown, this page among it.
    if (afterAction) afterAction();
    else refresh();
}

void RecordingPage::refresh() {
    binder_.refresh();
    refreshDialogs();
}

void RecordingPage::refreshDialogs() {
    followDialogs();
    if (detail_) detail_->refresh();
    if (path_) path_->refresh();
    if (remote_) remote_->refresh();
}

RecDetailDialog* RecordingPage::detailDialog() const { return detail_; }
FolderPathDialog* RecordingPage::pathDialog() const { return path_; }
RemoteFolderDialog* RecordingPage::remoteDialog() const { return remote_; }

void RecordingPage::followDialogs() {
    // A dialog is on screen while its model is open; a model that closed (stored, committed, given
    // up) takes its dialog with it.
    const auto follow = [this](auto& dialog, bool open, auto make) {
        if (open && !dialog) {
            dialog = make();
            dialog->afterAction = [this] { finished(); };
            dialog->refresh();
            dialog->open();
        } else if (!open && dialog && dialog->isVisible()) {
            dialog->done(QDialog::Rejected);
        }
    };
    follow(detail_, settings_.dualDialog.has_value(), [this] { return new RecDetailDialog(this, subject_, lang_); });
    follow(path_, storage_.formPath() != nullptr, [this] { return new FolderPathDialog(this, subject_, lang_); });
    follow(remote_, storage_.formRemoteDriveList() != nullptr,
           [this] { return new RemoteFolderDialog(this, subject_, lang_); });
}

// ---- Settings ----

QWidget* RecordingPage::buildSettingsTab() {
    recording::RecSettingTab& m = settings_;
    auto* tab = new QWidget;
    tab->setObjectName("frameRecSetting");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(14);
    // The fields keep their width; the overview takes the rest.
    auto* leftPanel = new QWidget;
    leftPanel->setMinimumWidth(400);
    leftPanel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    auto* left = new QVBoxLayout(leftPanel);
    left->setContentsMargins(0, 0, 0, 0);

    auto* channel = new QComboBox;
    channel->setObjectName("cmbRecSetting_CH");
    channel->setMinimumWidth(220);
    left->addLayout(labelled(CaptionLabel(kTextChannel), channel));

    // The four modes: each its frame rate; the running two may be switched off.
    auto* modes = new QGroupBox;
    modes->setObjectName("frameRecModes");
    auto* ml = new QGridLayout(modes);
    ml->setHorizontalSpacing(12);
    auto* fpsHead = new QLabel;
    auto* recordHead = new QLabel;
    for (QLabel* h : {fpsHead, recordHead}) h->setStyleSheet("color: #5b6573;");
    ml->addWidget(fpsHead, 0, 1);
    ml->addWidget(recordHead, 0, 2);
    std::array<QComboBox*, kModeCount> fps{};
    std::array<QCheckBox*, 2> active{};
    for (int i = 0; i < kModeCount; ++i) {
        ml->addWidget(CaptionLabel(kTextModes[i]), i + 1, 0);
        fps[static_cast<size_t>(i)] = new QComboBox;
        fps[static_cast<size_t>(i)]->setObjectName(QString("cmbRecSettingFPS_%1").arg(i));
        fps[static_cast<size_t>(i)]->setMinimumWidth(90);
        ml->addWidget(fps[static_cast<size_t>(i)], i + 1, 1);
        if (i < 2) {
            active[static_cast<size_t>(i)] = new QCheckBox;
            active[static_cast<size_t>(i)]->setObjectName(QString("chkRecSetting_%1").arg(i));
            ml->addWidget(active[static_cast<size_t>(i)], i + 1, 2, Qt::AlignHCenter);
        }
    }
    auto* alwaysOn = new QLabel;
    alwaysOn->setStyleSheet("color: #5b6573;");
    alwaysOn->setWordWrap(true);
    ml->addWidget(alwaysOn, kModeCount + 1, 0, 1, 3);
    ml->setColumnStretch(3, 1);
    left->addWidget(modes);

    // Frames, pre-alarm (the running modes) and post-alarm (the triggered ones).
    auto* alarm = new QGroupBox;
    alarm->setObjectName("frameRecAlarm");
    auto* al = new QGridLayout(alarm);
    al->setHorizontalSpacing(12);
    auto* iframe = new QComboBox;
    iframe->setObjectName("cmbRecSettingIFrame");
    auto* pre = new QComboBox;
    pre->setObjectName("cmbRecSettingPreAlarm");
    auto* post = new QComboBox;
    post->setObjectName("cmbRecSettingPostAlarm");
    std::array<QLabel*, 3> alarmLabels{new QLabel, new QLabel, new QLabel};
    const std::array<QComboBox*, 3> alarmCombos{iframe, pre, post};
    for (int i = 0; i < 3; ++i) {
        al->addWidget(alarmLabels[static_cast<size_t>(i)], i, 0);
        alarmCombos[static_cast<size_t>(i)]->setMinimumWidth(90);
        al->addWidget(alarmCombos[static_cast<size_t>(i)], i, 1);
    }
    al->setColumnStretch(2, 1);
    left->addWidget(alarm);

    // The second stream: one or two, and the dialog for the second one's values.
    auto* dual = new QGroupBox;
    dual->setObjectName("frameDualStream");
    auto* dl = new QGridLayout(dual);
    auto* group = new QButtonGroup(dual);
    std::array<QRadioButton*, 2> opt{};
    for (int i = 0; i < 2; ++i) {
        opt[static_cast<size_t>(i)] = new QRadioButton;
        opt[static_cast<size_t>(i)]->setObjectName(QString("optRecordingVideo_%1").arg(i));
        group->addButton(opt[static_cast<size_t>(i)], i);
        dl->addWidget(opt[static_cast<size_t>(i)], 0, i);
    }
    auto* dualLabel = new QLabel;
    dualLabel->setObjectName("lbDualStream");
    dualLabel->setStyleSheet("font-weight: bold; color: #2f5d9e;");
    dl->addWidget(dualLabel, 1, 0);
    auto* modify = new QPushButton;
    modify->setObjectName("imgDualModify");
    dl->addWidget(modify, 1, 1);
    dl->setColumnStretch(2, 1);
    left->addWidget(dual);
    left->addStretch();
    columns->addWidget(leftPanel);

    // The overview: every configured channel's modes; a right click edits that channel.
    auto* overview = new QGroupBox;
    overview->setObjectName("frameRecOverview");
    auto* ol = new QVBoxLayout(overview);
    auto* overviewModel = new RowsModel(1 + kModeCount, this);
    overviewModel->look = [](int, int col, const QString& text, int role) -> QVariant {
        if (col == 0) return {};
        if (role == Qt::TextAlignmentRole) return int(Qt::AlignCenter);
        if (role == Qt::ForegroundRole) return QColor(text == "O" ? "#1d7a1d" : "#9aa3ad");
        return {};
    };
    auto* grid2 = ListView("gridRec_2", overviewModel);
    grid2->setContextMenuPolicy(Qt::CustomContextMenu);
    grid2->setMinimumWidth(380);
    ol->addWidget(grid2, 1);
    auto* overviewHint = new QLabel;
    overviewHint->setStyleSheet("color: #5b6573;");
    ol->addWidget(overviewHint);
    columns->addWidget(overview, 1);
    layout->addLayout(columns, 1);

    // The table the save checks the channels' modes in; it is the save's, not the user's.
    auto* checkedModel = new RowsModel(1 + 4 * kModeCount, this);
    auto* checked = ListView("gridRecSetTmp", checkedModel);
    checked->hide();
    layout->addWidget(checked);

    auto* save = pictureButton("imgRecsetbtn_0", "save-clean");
    auto* cancel = pictureButton("imgRecsetbtn_1", "btn-cancel");
    layout->addLayout(saveRow(save, cancel));

    // Bindings.
    binder_.combo(channel, m.cmbRecSetting_CH, [this](int item) {
        subject_.act([this, item] { return model_.cmbRecSetting_CH_Click(item); });
    });
    const auto hasChannel = [&m] { return m.channel() != 0; };
    for (int i = 0; i < kModeCount; ++i)
        binder_.combo(
            fps[static_cast<size_t>(i)], m.cmbRecSettingFPS[static_cast<size_t>(i)],
            [this, &m, i](int item) { subject_.act([&] { return m.cmbRecSettingFPS_Click(i, item); }); }, hasChannel);
    binder_.combo(
        iframe, m.cmbRecSettingIFrame,
        [this, &m](int item) { subject_.act([&] { return m.cmbRecSettingIFrame_Click(item); }); }, hasChannel);
    binder_.combo(
        pre, m.cmbRecSettingPreAlarm,
        [this, &m](int item) { subject_.act([&] { return m.cmbRecSettingPreAlarm_Click(item); }); }, hasChannel);
    binder_.combo(
        post, m.cmbRecSettingPostAlarm,
        [this, &m](int item) { subject_.act([&] { return m.cmbRecSettingPostAlarm_Click(item); }); }, hasChannel);
    for (int i = 0; i < 2; ++i) {
        binder_.check(
            active[static_cast<size_t>(i)], [&m, i] { return m.chkRecSetting[static_cast<size_t>(i)]; },
            [this, &m, i](bool on) { subject_.act([&] { return m.chkRecSetting_Click(i, on); }); }, hasChannel);
        // A choice is a button that became checked; a click on the checked one chooses nothing.
        QRadioButton* o = opt[static_cast<size_t>(i)];
        QObject::connect(o, &QRadioButton::toggled, this, [this, &m, i](bool on) {
            if (on) act([&] { return m.optRecordingVideo_Click(i); });
        });
        binder_.custom([o, &m, i, hasChannel] {
            const QSignalBlocker block(o);
            if (o->isChecked() != (m.optRecordingVideo == i)) o->setChecked(m.optRecordingVideo == i);
            o->setEnabled(hasChannel());
        });
    }
    binder_.label(dualLabel, [&m] { return m.lbDualStream; });
    // Picture 18 (two streams) offers the dialog; picture 17 (one) does not.
    binder_.button(
        modify, [this, &m] { subject_.act([&] { return m.imgDualModify_Click(); }); },
        [&m] { return m.imgDualModify == recording::kPictureTwoStreams; });
    binder_.custom([modify, &m] {
        if (modify->property("picture").toInt() == m.imgDualModify) return;
        modify->setProperty("picture", m.imgDualModify);
        modify->setIcon(Icon(m.imgDualModify == recording::kPictureTwoStreams ? "btn-preview" : "btn-close"));
    });
    binder_.custom([this, overviewModel, grid2, &m] {
        const auto& g = m.gridRec2;
        std::vector<QStringList> rows;
        for (size_t r = 1; r < g.size(); ++r) rows.push_back(qList(g[r]));
        overviewModel->show(g.empty() ? QStringList() : qList(g[0]), std::move(rows));
        int shown = -1;
        for (size_t r = 1; r < g.size(); ++r)
            if (!g[r].empty() && recording::ChannelOfItem(g[r][0]) == m.channel()) shown = static_cast<int>(r) - 1;
        ShowSelection(grid2, shown);
    });
    grid2->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    grid2->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Interactive);
    grid2->setColumnWidth(0, 190);
    QObject::connect(grid2, &QWidget::customContextMenuRequested, this, [this, grid2](const QPoint& at) {
        const int row = grid2->indexAt(at).row();
        if (row < 0) return;
        act([this, row] {
            // The overview's rows count from 1 below its title row; both tabs follow the channel.
            return model_.gridRec2_RightClick(row + 1);
        });
    });
    binder_.custom([checkedModel, &m] {
        QStringList heads{"CH"};
        for (int mode = 0; mode < kModeCount; ++mode)
            for (const char* f : {"FPS", "I", "Pre", "Post"}) heads << QString("%1 %2").arg(mode).arg(f);
        std::vector<QStringList> rows;
        for (const recording::RecSetGridRow& r : m.gridRecSetTmp) {
            QStringList row{QString::number(r.CH)};
            for (const recording::RecModeBlock& b : r.modes)
                row << QString::number(b.FPS) << QString::number(b.IFrameOnly) << QString::number(b.PreAlarmLength)
                    << QString::number(b.PostAlarmLength);
            rows.push_back(row);
        }
        checkedModel->show(heads, std::move(rows));
    });
    binder_.button(save, [this] { subject_.saveSettings(); }, [&m] { return m.imgRecsetbtn[recording::kRecSetSave]; });
    binder_.button(
        cancel, [this, &m] { subject_.act([&] { return m.imgRecsetbtn_Click(recording::kRecSetCancel); }); },
        [&m] { return m.imgRecsetbtn[recording::kRecSetCancel]; });
    binder_.custom([this, save, cancel, &m, modes, alarm, dual, overview, fpsHead, recordHead, alwaysOn, alarmLabels,
                    opt, overviewHint, modify] {
        ShowSaveState(save, m.dirty());
        const auto setText = [](auto* w, const QString& t) {
            if (w->text() != t) w->setText(t);
        };
        setText(save, Q(lang_.GetText(kTextSave)));
        setText(cancel, Q(lang_.GetText(kTextCancel)));
        setText(fpsHead, Q(RecordingText(lang_, kTextFrameRate)));
        setText(recordHead, Q(RecordingText(lang_, kTextRecord)));
        setText(alwaysOn, Q(RecordingText(lang_, kTextAlwaysOn)));
        setText(alarmLabels[0], Q(RecordingText(lang_, kTextIFrame)));
        setText(alarmLabels[1], Q(RecordingText(lang_, kTextPreAlarm)));
        setText(alarmLabels[2], Q(RecordingText(lang_, kTextPostAlarm)));
        setText(opt[0], Q(RecordingText(lang_, kTextSingleStream)));
        setText(opt[1], Q(RecordingText(lang_, kTextDualStream)));
        setText(overviewHint, Q(RecordingText(lang_, kTextOverviewHint)));
        setText(modify, Q(RecordingText(lang_, kTextDualSettings)));
        const std::pair<QGroupBox*, int> boxes[4] = {
            {modes, kTextRecordingModes}, {alarm, kTextAlarm}, {dual, kTextSecondStream}, {overview, kTextOverview}};
        for (const auto& [box, id] : boxes)
            if (const QString t = Q(RecordingText(lang_, id)); box->title() != t) box->setTitle(t);
    });
    return tab;
}

// ---- Schedule ----

QWidget* RecordingPage::buildScheduleTab() {
    recording::RecScheduleTab& m = schedule_;
    auto* tab = new QWidget;
    tab->setObjectName("frameRecSchedule");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);

    auto* head = new QHBoxLayout;
    auto* shownChannel = new QLabel;
    shownChannel->setObjectName("lbRecSCDL_CH");
    shownChannel->setStyleSheet("font-weight: bold; color: #2f5d9e;");
    head->addWidget(shownChannel);
    auto* hint = new QLabel;
    hint->setStyleSheet("color: #5b6573;");
    head->addSpacing(12);
    head->addWidget(hint, 1);
    auto* copyDay = new QPushButton;
    copyDay->setObjectName("cmdCopyDay");
    auto* copyWeek = new QPushButton;
    copyWeek->setObjectName("cmdCopyWeek");
    head->addWidget(copyDay);
    head->addWidget(copyWeek);
    layout->addLayout(head);

    // The shown channel's week, painted with the mouse.
    week_ = new WeekGridWidget(m.gridRec4);
    week_->setObjectName("gridRec_4");
    week_->setMinimumHeight(week_->sizeHint().height());
    layout->addWidget(week_);
    week_->press = [this, &m](int button, int x, int y) {
        bool counted = false;
        subject_.act([&] { return counted = m.gridRec4_MouseDown(button, x, y); });
        return counted;
    };
    // A move only stretches the band: nothing else on the page changes with it.
    week_->move = [&m](int x, int y) { return m.gridRec4_MouseMove(x, y); };
    week_->release = [this, &m](int x, int y) {
        bool painted = false;
        act([&] { return painted = m.gridRec4_MouseUp(x, y); });
        return painted;
    };

    // Every configured channel's saved week; a click shows that channel.
    auto* saved = new QGroupBox;
    saved->setObjectName("frameRecWeeks");
    auto* sl = new QVBoxLayout(saved);
    auto* weeksModel = new RowsModel(1 + kDays, this);
    auto* grid3 = ListView("gridRec_3", weeksModel);
    grid3->setItemDelegate(new SliceDelegate(m, grid3));
    grid3->setAlternatingRowColors(false);
    sl->addWidget(grid3);
    layout->addWidget(saved, 1);

    auto* save = pictureButton("imgRecSCDLbtn_0", "save-clean");
    auto* cancel = pictureButton("imgRecSCDLbtn_1", "btn-cancel");
    layout->addLayout(saveRow(save, cancel));

    binder_.custom([this, &m, shownChannel] {
        std::string text;
        for (const recording::ScheduleOverviewRow& r : m.gridRec3)
            if (r.ch == m.channel()) text = r.text;
        if (shownChannel->text() != Q(text)) shownChannel->setText(Q(text));
        std::array<QString, kDays> days;
        for (int d = 0; d < kDays; ++d) days[static_cast<size_t>(d)] = Q(lang_.GetText(kTextFirstDay + d));
        week_->setDayNames(days);
        week_->setEnabled(m.channel() != 0);
        week_->sync();
    });
    binder_.custom([this, weeksModel, grid3, &m] {
        QStringList heads{Q(lang_.GetText(kTextChannel))};
        for (int d = 0; d < kDays; ++d) heads << Q(lang_.GetText(kTextFirstDay + d));
        // A day's cell text is its slots, so that a changed week is a changed row.
        std::vector<QStringList> rows;
        int shown = -1;
        for (const recording::ScheduleOverviewRow& r : m.gridRec3) {
            QStringList row{Q(r.text)};
            for (const auto& day : r.days) {
                QString key;
                key.reserve(static_cast<int>(day.size()));
                for (const recording::SliceRect& s : day) key += s.colour == recording::kSliceOn ? '1' : '0';
                row << key;
            }
            if (r.ch == m.channel()) shown = static_cast<int>(rows.size());
            rows.push_back(row);
        }
        weeksModel->show(heads, std::move(rows));
        ShowSelection(grid3, shown);
    });
    grid3->setColumnWidth(0, 200);
    for (int d = 1; d <= kDays; ++d) grid3->horizontalHeader()->setSectionResizeMode(d, QHeaderView::Stretch);
    QObject::connect(grid3, &QTableView::clicked, this, [this, &m](const QModelIndex& index) {
        if (!index.isValid() || static_cast<size_t>(index.row()) >= m.gridRec3.size()) return;
        const int32_t ch = m.gridRec3[static_cast<size_t>(index.row())].ch;
        act([this, ch] { return model_.SelectChannel(ch); });
    });
    binder_.button(copyDay, [this] { openCopyDay(); }, [&m] { return m.channel() != 0; });
    binder_.button(copyWeek, [this] { openCopyWeek(); }, [&m] { return m.channel() != 0 && m.gridRec3.size() > 1; });
    binder_.button(
        save, [this] { subject_.saveSchedule(); },
        [&m] { return m.imgRecSCDLbtn[recording::RecScheduleTab::kSave] == recording::kPictureSaveDirty; });
    binder_.button(
        cancel,
        [this, &m] { subject_.act([&] { return m.imgRecSCDLbtn_Click(recording::RecScheduleTab::kCancel); }); },
        [&m] { return m.imgRecSCDLbtn[recording::RecScheduleTab::kCancel] == recording::kPictureCancelDirty; });
    binder_.custom([this, &m, save, cancel, hint, copyDay, copyWeek, saved] {
        ShowSaveState(save, m.imgRecSCDLbtn[recording::RecScheduleTab::kSave] == recording::kPictureSaveDirty);
        const auto setText = [](auto* w, const QString& t) {
            if (w->text() != t) w->setText(t);
        };
        setText(save, Q(lang_.GetText(kTextSave)));
        setText(cancel, Q(lang_.GetText(kTextCancel)));
        setText(hint, Q(RecordingText(lang_, kTextWeekHint)));
        setText(copyDay, Q(RecordingText(lang_, kTextCopyDay)));
        setText(copyWeek, Q(RecordingText(lang_, kTextCopyWeek)));
        if (const QString t = Q(RecordingText(lang_, kTextSavedWeeks)); saved->title() != t) saved->setTitle(t);
    });
    return tab;
}

namespace {

// A small window-modal question: an optional source combo and a list of targets to tick.
struct CopyDialog {
    QDialog* dialog = nullptr;
    QComboBox* from = nullptr;
    QListWidget* to = nullptr;

    CopyDialog(QWidget* parent, const char* name, const QString& title, const QString& toText, bool withSource,
               const base::Language& lang) {
        dialog = new QDialog(parent);
        dialog->setObjectName(name);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setWindowModality(Qt::WindowModal);
        // The page's font (that of the language) reaches the window too.
        dialog->setAttribute(Qt::WA_WindowPropagation);
        dialog->setWindowTitle(title);
        auto* l = new QVBoxLayout(dialog);
        if (withSource) {
            from = new QComboBox;
            from->setObjectName("cmbCopyFrom");
            l->addLayout(labelled(new QLabel(Q(RecordingText(lang, kTextFromDay))), from));
        }
        l->addWidget(new QLabel(toText));
        to = new QListWidget;
        to->setObjectName("lstCopyTo");
        l->addWidget(to, 1);
        auto* buttons = new QHBoxLayout;
        buttons->addStretch();
        auto* cancel = new QPushButton(Icon("btn-cancel"), Q(lang.GetText(kTextCancel)));
        cancel->setObjectName("cmdCopyCancel");
        auto* ok = new QPushButton(Icon("btn-check"), Q(lang.GetText(kTextOk)));
        ok->setObjectName("cmdCopyOk");
        ok->setDefault(true);
        buttons->addWidget(cancel);
        buttons->addWidget(ok);
        l->addLayout(buttons);
        QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
        QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
    }
    QListWidgetItem* add(const QString& text, int value) {
        auto* item = new QListWidgetItem(text, to);
        item->setData(Qt::UserRole, value);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Unchecked);
        return item;
    }
    std::vector<int> ticked() const {
        std::vector<int> out;
        for (int i = 0; i < to->count(); ++i)
            if (to->item(i)->checkState() == Qt::Checked) out.push_back(to->item(i)->data(Qt::UserRole).toInt());
        return out;
    }
};

}  // namespace

void RecordingPage::openCopyDay() {
    CopyDialog c(this, "dlgCopyDay", Q(RecordingText(lang_, kTextCopyDay)), Q(RecordingText(lang_, kTextCopyDayTo)),
                 true, lang_);
    for (int d = 0; d < kDays; ++d) {
        c.from->addItem(Q(lang_.GetText(kTextFirstDay + d)), d);
        c.add(Q(lang_.GetText(kTextFirstDay + d)), d);
    }
    // The source day is no target of itself.
    const auto showSource = [to = c.to](int from) {
        for (int i = 0; i < to->count(); ++i) {
            QListWidgetItem* item = to->item(i);
            const bool source = i == from;
            item->setFlags(source ? Qt::ItemIsUserCheckable : Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            if (source) item->setCheckState(Qt::Unchecked);
        }
    };
    showSource(0);
    QObject::connect(c.from, qOverload<int>(&QComboBox::currentIndexChanged), c.dialog, showSource);
    QObject::connect(c.dialog, &QDialog::accepted, this, [this, c] {
        const int from = c.from->currentData().toInt();
        const std::vector<int> to = c.ticked();
        act([this, from, to] { return schedule_.CopyDay(from, to); });
    });
    c.dialog->open();
}

void RecordingPage::openCopyWeek() {
    CopyDialog c(this, "dlgCopyWeek", Q(RecordingText(lang_, kTextCopyWeek)),
                 Q(RecordingText(lang_, kTextCopyWeekTo)), false, lang_);
    for (const recording::ScheduleOverviewRow& r : schedule_.gridRec3)
        if (r.ch != schedule_.channel()) c.add(Q(r.text), r.ch);
    QObject::connect(c.dialog, &QDialog::accepted, this, [this, c] {
        const std::vector<int> picked = c.ticked();
        const std::vector<int32_t> to(picked.begin(), picked.end());
        act([this, to] { return schedule_.CopyWeek(to); });
    });
    c.dialog->open();
}

// ---- Storage ----

QWidget* RecordingPage::buildStorageTab() {
    recording::StorageTab& m = storage_;
    auto* tab = new QWidget;
    tab->setObjectName("frameStorage");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(14);

    // The folders, and below them an empty row that a double click fills.
    auto* left = new QVBoxLayout;
    auto* pathsModel = new RowsModel(4, this);
    pathsModel->look = [](int, int col, const QString& text, int role) -> QVariant {
        if (col == 1 && role == Qt::ForegroundRole && text == recording::kRemoveMark) return QColor("#b03a2e");
        if (col == 1 && role == Qt::FontRole && text == recording::kRemoveMark) {
            QFont f;
            f.setBold(true);
            return f;
        }
        if (col >= 1 && role == Qt::TextAlignmentRole) return int(Qt::AlignCenter);
        return {};
    };
    auto* grid = ListView("gridStorage", pathsModel);
    grid->setMinimumWidth(460);
    left->addWidget(grid, 1);
    auto* hint = new QLabel;
    hint->setWordWrap(true);
    hint->setStyleSheet("color: #5b6573;");
    left->addWidget(hint);
    columns->addLayout(left, 3);

    auto* right = new QVBoxLayout;
    auto* fields = new QGroupBox;
    fields->setObjectName("frameStorageFields");
    auto* fl = new QGridLayout(fields);
    auto* retention = NamedEdit("txtStorage");
    auto* reserve = NamedEdit("txtReserveSize");
    auto* retentionLabel = new QLabel;
    auto* reserveLabel = new QLabel;
    for (QLineEdit* e : {retention, reserve}) e->setMaximumWidth(90);
    fl->addWidget(retentionLabel, 0, 0);
    fl->addWidget(retention, 0, 1);
    fl->addWidget(reserveLabel, 1, 0);
    fl->addWidget(reserve, 1, 1);
    right->addWidget(fields);
    auto* disksBox = new QGroupBox;
    disksBox->setObjectName("frameDisks");
    auto* dl = new QVBoxLayout(disksBox);
    auto* disks = new QListWidget;
    disks->setObjectName("lstHDPath");
    disks->setSelectionMode(QAbstractItemView::NoSelection);
    disks->setFocusPolicy(Qt::NoFocus);
    dl->addWidget(disks);
    right->addWidget(disksBox, 1);
    columns->addLayout(right, 2);
    layout->addLayout(columns, 1);

    auto* save = pictureButton("imgStoragebtn_0", "save-clean");
    auto* cancel = pictureButton("imgStoragebtn_1", "btn-cancel");
    layout->addLayout(saveRow(save, cancel));

    binder_.custom([this, pathsModel, &m] {
        QStringList heads = qList(std::vector<std::string>(m.gridTitles.begin(), m.gridTitles.end()));
        if (heads.size() > 3 && heads[3].isEmpty()) heads[3] = Q(RecordingText(lang_, kTextReserveColumn));
        std::vector<QStringList> rows;
        for (const recording::StorageGridRow& r : m.gridStorage)
            rows.push_back({Q(r.path), Q(r.mark), Q(r.freeSpace), Q(r.reserve)});
        rows.push_back({QString(), QString(), QString(), QString()});
        pathsModel->show(heads, std::move(rows));
    });
    grid->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    grid->setColumnWidth(0, 180);
    grid->setColumnWidth(1, 70);
    grid->setColumnWidth(2, 170);
    grid->horizontalHeader()->setStretchLastSection(true);
    QObject::connect(grid, &QTableView::clicked, this, [this, &m](const QModelIndex& index) {
        if (index.column() != 1 || index.row() >= static_cast<int>(m.gridStorage.size())) return;
        const int row = index.row();
        act([this, row] { return storage_.ToggleRemove(row); });
    });
    // The model chooses the picker: the local one for a service on this machine.
    QObject::connect(grid, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        const int row = index.row();
        act([this, row] { return storage_.gridStorage_DblClick(row); });
    });
    retention->installEventFilter(new KeyFilter(retention, [&m](int key) { return m.txtStorage_KeyPress(key); }));
    reserve->installEventFilter(new KeyFilter(reserve, [&m](int key) { return m.txtReserveSize_KeyPress(key); }));
    binder_.text(retention, [&m] { return m.txtStorage.text; },
                 [this, &m](const std::string& t) { subject_.act([&] { return m.txtStorage_Change(t); }); });
    binder_.text(reserve, [&m] { return m.txtReserveSize.text; },
                 [this, &m](const std::string& t) { subject_.act([&] { return m.txtReserveSize_Change(t); }); });
    binder_.custom([disks, &m] {
        const QStringList want = qList(m.lbDisks);
        QStringList shown;
        for (int i = 0; i < disks->count(); ++i) shown << disks->item(i)->text();
        if (shown == want) return;
        disks->clear();
        for (const QString& d : want) disks->addItem(new QListWidgetItem(Icon("menu-save"), d));
    });
    binder_.button(save, [this] { subject_.saveStorage(); },
                   [&m] { return m.imgStoragebtn[recording::StorageTab::kSaveButton] == app::kPictureDirty; });
    binder_.button(
        cancel,
        [this, &m] { subject_.act([&] { return m.imgStoragebtn_Click(recording::StorageTab::kRefreshButton); }); },
        [&m] { return m.imgStoragebtn[recording::StorageTab::kRefreshButton] == app::kPictureDirty; });
    binder_.custom([this, &m, save, cancel, hint, retentionLabel, reserveLabel, disksBox, fields] {
        ShowSaveState(save, m.imgStoragebtn[recording::StorageTab::kSaveButton] == app::kPictureDirty);
        const auto setText = [](auto* w, const QString& t) {
            if (w->text() != t) w->setText(t);
        };
        setText(save, Q(lang_.GetText(kTextSave)));
        setText(cancel, Q(lang_.GetText(kTextCancel)));
        setText(hint, Q(RecordingText(lang_, kTextStorageHint)));
        setText(retentionLabel, Q(RecordingText(lang_, kTextRetention)));
        setText(reserveLabel, Q(RecordingText(lang_, kTextReserve)));
        if (const QString t = Q(RecordingText(lang_, kTextDisks)); disksBox->title() != t) disksBox->setTitle(t);
        if (const QString t = Q(RecordingText(lang_, kTextStorage)); fields->title() != t) fields->setTitle(t);
    });
    return tab;
}

}  // namespace kv::ui
