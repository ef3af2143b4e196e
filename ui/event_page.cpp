// The event page's widgets, bound to the events page model.
#include "ui/event_page.h"

#include <QAbstractTableModel>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QThread>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <tuple>

#include "base/lang.h"
#include "events/destination_test.h"
#include "events/group_tab.h"
#include "events/page.h"
#include "events/server_tab.h"
#include "events/subject.h"
#include "ui/look.h"
#include "ui/rows_model.h"
#include "ui/sound_player.h"

namespace kv::ui {
namespace {

using events::ActionGroupTab;
using events::kKindCount;

// Texts of the language files the page uses.
constexpr int kTextGroupTab = 218, kTextGroupTitle = 228, kTextEmergency = 227, kTextMail = 225, kTextSave = 811,
              kTextCancel = 852, kTextNew = 860, kTextDelete = 861, kTextTest = 844, kTextRecord = 970,
              kTextName = 77, kTextSound = 557;
// Texts of the page's own.
constexpr int kTextTitle = 1001, kTextServerTab = 1002, kTextFTP = 1003, kTextHTTP = 1004, kTextTCP = 1005,
              kTextWarning = 1006, kTextSOP = 1007, kTextPlay = 1008, kTextTokens = 1009, kTextTesting = 1015,
              kTextReport = 1016, kTextAttachAvi = 1017;
constexpr int kTextTokenMeanings[5] = {1010, 1011, 1012, 1013, 1014};

constexpr int kRowHeight = 22;
// How long a destination test may take as a whole.
constexpr std::chrono::seconds kTestLimit{10};

// The kinds in sub-tab order: caption, icon, frame name, name of the boxes.
struct KindLook {
    int caption;
    const char* icon;
    const char* frame;
    const char* boxes;
};
constexpr KindLook kKinds[kKindCount] = {
    {kTextMail, "event-mail", "frameEventMail", "txtEventMail"},
    {kTextFTP, "event-ftp", "FrameEventFTP", "txtEventFTP"},
    {kTextHTTP, "event-http", "FrameEventHttp", "txtEventHTTP"},
    {kTextTCP, "event-tcp", "FrameEventTcp", "txtEventTcp"},
    {kTextWarning, "event-warning", "FrameEventWarning", "txtEventWarning"},
    {kTextSOP, "event-sop", "FrameEventSOP", "txtEventSOP"},
};

// The caption of each box of a form (0: the id, captioned "ID").
const std::vector<int>& boxCaptions(int kind) {
    static const std::vector<int> captions[kKindCount] = {
        {0, 232, 233, 234, 326, 168, 11, 237, 238, 239, 236},
        {0, 240, 326, 168, 11, 241, 243, 236},
        {0, 245, 326, 168, 11, 246},
        {0, 245, 326},
        {0, 151, 231},
        {0, 92, 98, 99},
    };
    return captions[kind];
}

// Boxes that hold a password, and long texts that take a whole row of the form.
bool isPassword(int kind, int box) {
    return (kind == events::kMail && box == 6) || ((kind == events::kFTP || kind == events::kHTTP) && box == 4);
}
bool isWide(int kind, int box) {
    return (kind == events::kMail && box >= 9) || (kind == events::kFTP && box >= 6) ||
           (kind == events::kHTTP && box == 5) || (kind == events::kWarning && box == 2);
}

// The template tokens the service fills, and the boxes it fills them in: mail subject and
// content, FTP file name and content.
constexpr const char* kTokens[5] = {"$EVT_DATE$", "$EVT_DATE1$", "$EVT_NAME$", "$EVT_CH$", "$EVT_TRGID$"};
bool takesTokens(int kind, int box) {
    return (kind == events::kMail && (box == 9 || box == 10)) || (kind == events::kFTP && (box == 6 || box == 7));
}
int contentBox(int kind) { return kind == events::kMail ? 10 : 7; }

// The kinds the destination test reaches.
bool testable(int kind) { return kind >= events::kMail && kind <= events::kTCP; }

// Group form boxes 2..7: the kinds' icons in the group's order (FTP, mail, HTTP, TCP, sound, SOP).
constexpr const char* kGroupIcons[ActionGroupTab::kBoxCount] = {
    "menu-recording", "box-warning", "event-ftp",     "event-mail",
    "event-http",     "event-tcp",   "event-warning", "event-sop"};
constexpr int kGroupCaptions[ActionGroupTab::kBoxCount] = {kTextRecord, kTextEmergency, kTextFTP, kTextMail,
                                                           kTextHTTP,   kTextTCP,       kTextSound, kTextSOP};

// A list view of the page: columns of a fixed default width, the last one stretched.
QTableView* listView(const char* name, RowsModel* model) {
    QTableView* v = ListView(name, model, kRowHeight);
    v->horizontalHeader()->setDefaultSectionSize(120);
    v->horizontalHeader()->setStretchLastSection(true);
    return v;
}

// Row 0 of a model grid holds the titles.
using TextGrid = std::vector<std::vector<std::string>>;
std::vector<std::string> headsOf(const TextGrid& g) { return g.empty() ? std::vector<std::string>{} : g[0]; }
TextGrid rowsOf(const TextGrid& g) { return g.size() < 2 ? TextGrid{} : TextGrid(g.begin() + 1, g.end()); }

// Typed characters reach a box only when the model lets them; keys without a character, focus
// moves and commands pass. A pasted text meets the model's check of the whole text.
class KeyFilter : public QObject {
public:
    KeyFilter(QObject* parent, std::function<bool(int)> allow) : QObject(parent), allow_(std::move(allow)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
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

// Runs `seen` when the watched box takes the focus.
class FocusWatch : public QObject {
public:
    FocusWatch(QObject* parent, std::function<void()> seen) : QObject(parent), seen_(std::move(seen)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FocusIn) seen_();
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> seen_;
};

QPushButton* pictureButton(const QString& name, const char* icon, int caption) {
    auto* b = new QPushButton;
    b->setObjectName(name);
    b->setIcon(Icon(icon));
    b->setMinimumWidth(100);
    Caption(b, caption);
    return b;
}


}  // namespace

EventPage::EventPage(events::EventsSubject& subject, const base::Language& lang)
    : subject_(subject),
      model_(*subject.page()),
      server_(model_.server),
      group_(model_.group),
      lang_(lang),
      player_(std::make_unique<QtSoundPlayer>(lang)) {
    setObjectName("frameEvent");
    subject_.setSoundPlayer(player_.get());
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(16, 12, 16, 10);
    auto* title = CaptionLabel(kTextTitle);
    title->setObjectName("lbPageTitle");
    page->addWidget(title);

    tabs_ = new QTabWidget;
    tabs_->setObjectName("tabEvent");
    tabs_->addTab(buildServerTab(), QString());
    tabs_->addTab(buildGroupTab(), QString());
    page->addWidget(tabs_, 1);

    binder_.afterAction = [this] { finished(); };
    // The strip goes through the model; the refresh puts it where the model has it.
    QObject::connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        act([this, index] {
            model_.tabEvent_Click(index);
            return true;
        });
    });
    binder_.custom([this] {
        const QSignalBlocker block(tabs_);
        const QString texts[2] = {Q(lang_.GetText(kTextServerTab)), Q(lang_.GetText(kTextGroupTab))};
        // A tab with something to save carries the save picture of its area.
        const bool dirty[2] = {server_.dirty(), group_.dirty()};
        for (int i = 0; i < 2; ++i) {
            if (tabs_->tabText(i) != texts[i]) tabs_->setTabText(i, texts[i]);
            if (tabs_->tabIcon(i).isNull() == dirty[i]) tabs_->setTabIcon(i, dirty[i] ? Icon("save-dirty") : QIcon());
        }
        if (tabs_->currentIndex() != model_.tabEvent) tabs_->setCurrentIndex(model_.tabEvent);
    });
    binder_.refresh();
}

EventPage::~EventPage() {
    subject_.setSoundPlayer(nullptr);
    // A test still running ends within its limit; its report has nowhere to go.
    if (probe_) {
        probe_->disconnect(this);
        probe_->wait();
        delete probe_;
    }
}

bool EventPage::testing() const { return probe_ != nullptr; }

void EventPage::act(const std::function<bool()>& action) {
    binder_.act([&] { subject_.act(action); });
}

void EventPage::finished() {
    // The owner refreshes what is shown, this page among it.
    if (afterAction) afterAction();
    else refresh();
}

void EventPage::refresh() { binder_.refresh(); }

// ---- Server Setting ----

QWidget* EventPage::buildForm(int kind) {
    const KindLook& look = kKinds[kind];
    auto* frame = new QGroupBox;
    frame->setObjectName(look.frame);
    Caption(frame, look.caption);
    auto* fl = new QGridLayout(frame);
    fl->setHorizontalSpacing(10);
    fl->setColumnStretch(1, 1);
    fl->setColumnStretch(3, 1);
    fl->setColumnMinimumWidth(2, 110);
    const std::vector<int>& captions = boxCaptions(kind);
    const int count = static_cast<int>(captions.size());
    std::vector<QLineEdit*>& boxes = boxes_[static_cast<size_t>(kind)];
    // Short boxes fill two columns, the first half on the left; long texts take whole rows below.
    int shortCount = 0;
    for (int b = 0; b < count; ++b) shortCount += isWide(kind, b) ? 0 : 1;
    const int leftRows = (shortCount + 1) / 2;
    int placed = 0, wideRow = leftRows;
    for (int b = 0; b < count; ++b) {
        auto* edit = NamedEdit(QString("%1_%2").arg(look.boxes).arg(b));
        boxes.push_back(edit);
        if (isPassword(kind, b)) edit->setEchoMode(QLineEdit::Password);
        QLabel* label = b == 0 ? new QLabel("ID") : CaptionLabel(captions[static_cast<size_t>(b)]);
        if (b == 0) edit->setMaximumWidth(80);
        if (isWide(kind, b)) {
            fl->addWidget(label, wideRow, 0);
            fl->addWidget(edit, wideRow++, 1, 1, 3);
        } else {
            const int row = placed < leftRows ? placed : placed - leftRows;
            const int col = placed < leftRows ? 0 : 2;
            fl->addWidget(label, row, col);
            fl->addWidget(edit, row, col + 1);
            ++placed;
        }
        binder_.text(
            edit, [this, kind, b] { return server_.boxes(kind)[static_cast<size_t>(b)].text; },
            [this, kind, b](const std::string& t) {
                subject_.act([&] { return server_.txtEvent_Change(kind, b, t); });
            },
            [this, kind, b] { return server_.frameOpen(kind) && server_.boxes(kind)[static_cast<size_t>(b)].enabled; });
        // A long text that changed shows from its start, unless it is being typed in.
        if (isWide(kind, b)) {
            binder_.custom([edit, shown = std::make_shared<QString>()] {
                if (edit->text() == *shown) return;
                *shown = edit->text();
                if (!edit->hasFocus()) edit->setCursorPosition(0);
            });
        }
        edit->installEventFilter(
            new KeyFilter(edit, [this, kind, b](int key) { return server_.txtEvent_KeyPress(kind, b, key); }));
        if (takesTokens(kind, b)) edit->installEventFilter(new FocusWatch(edit, [this, edit] { tokenTarget_ = edit; }));
    }
    // The check boxes of mail and FTP.
    if (kind == events::kMail || kind == events::kFTP) {
        const char* prefix = kind == events::kMail ? "chkMail" : "chkFTP";
        const int checkCaptions[2][2] = {{244, kTextAttachAvi}, {242, 244}};
        auto* row = new QHBoxLayout;
        for (int i = 0; i < 2; ++i) {
            auto* chk = new QCheckBox;
            chk->setObjectName(QString("%1_%2").arg(prefix).arg(i));
            Caption(chk, checkCaptions[kind == events::kMail ? 0 : 1][i]);
            row->addWidget(chk);
            binder_.check(
                chk, [this, kind, i] { return server_.checks(kind)[static_cast<size_t>(i)]; },
                [this, kind, i](bool on) { subject_.act([&] { return server_.chk_Click(kind, i, on); }); },
                [this, kind] { return server_.frameOpen(kind); });
        }
        row->addStretch();
        fl->addLayout(row, wideRow++, 1, 1, 3);
    }
    // The sound test plays the file of box 2.
    if (kind == events::kWarning) {
        auto* play = pictureButton("cmdEvent_4", "btn-play", kTextPlay);
        fl->addWidget(play, wideRow++, 1, Qt::AlignLeft);
        binder_.button(
            play, [this] { subject_.act([this] { return server_.cmdEvent_Click(events::kServerSoundTest); }); },
            [this] { return server_.cmdEvent[events::kServerSoundTest]; });
    }
    fl->setRowStretch(wideRow, 1);
    binder_.visible(frame, [this, kind] { return server_.tabEventServerSetting == kind; });
    binder_.enabled(frame, [this, kind] { return server_.frameOpen(kind); });
    return frame;
}

QWidget* EventPage::buildTokenLegend() {
    auto* legend = new QGroupBox;
    legend->setObjectName("frameEventTokens");
    Caption(legend, kTextTokens);
    auto* l = new QGridLayout(legend);
    l->setVerticalSpacing(2);
    for (int t = 0; t < 5; ++t) {
        auto* b = new QPushButton(kTokens[t]);
        b->setObjectName(QString("cmdEventToken_%1").arg(t));
        b->setFlat(true);
        // The box being typed in keeps the focus, so the token lands where the cursor is.
        b->setFocusPolicy(Qt::NoFocus);
        b->setCursor(Qt::PointingHandCursor);
        b->setStyleSheet("text-align: left; font-family: monospace; color: #2f5d9e; padding: 2px 4px;");
        auto* meaning = CaptionLabel(kTextTokenMeanings[t]);
        meaning->setStyleSheet("color: #5b6573;");
        l->addWidget(b, t, 0);
        l->addWidget(meaning, t, 1);
        QObject::connect(b, &QPushButton::clicked, this, [this, t] { insertToken(t); });
    }
    l->setColumnStretch(1, 1);
    l->setRowStretch(5, 1);
    const auto shown = [this] {
        return server_.tabEventServerSetting == events::kMail || server_.tabEventServerSetting == events::kFTP;
    };
    binder_.visible(legend, shown);
    binder_.enabled(legend, [this] { return server_.frameOpen(server_.tabEventServerSetting); });
    return legend;
}

void EventPage::insertToken(int token) {
    const int kind = server_.tabEventServerSetting;
    if ((kind != events::kMail && kind != events::kFTP) || !server_.frameOpen(kind)) return;
    const std::vector<QLineEdit*>& boxes = boxes_[static_cast<size_t>(kind)];
    const auto boxOf = [&boxes](QWidget* w) {
        const auto it = std::find(boxes.begin(), boxes.end(), w);
        return it == boxes.end() ? -1 : static_cast<int>(it - boxes.begin());
    };
    // The focused token box, else the one typed in last, else the content.
    int box = boxOf(focusWidget());
    if (box < 0 || !takesTokens(kind, box)) box = boxOf(tokenTarget_.data());
    if (box < 0 || !takesTokens(kind, box)) box = contentBox(kind);
    QLineEdit* edit = boxes[static_cast<size_t>(box)];
    // A box that was not being typed in takes the token at its end.
    if (focusWidget() != edit) edit->end(false);
    edit->insert(kTokens[token]);
    edit->setFocus();
    const std::string text = edit->text().toStdString();
    // The model decides; a refused text is put back by the refresh.
    act([this, kind, box, text] { return server_.txtEvent_Change(kind, box, text); });
}

QWidget* EventPage::buildServerTab() {
    auto* tab = new QWidget;
    tab->setObjectName("frameEventServer");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);

    kinds_ = new QTabBar;
    kinds_->setObjectName("tabEventServerSetting");
    kinds_->setExpanding(false);
    kinds_->setDrawBase(true);
    for (const KindLook& k : kKinds) kinds_->addTab(Icon(k.icon), QString());
    layout->addWidget(kinds_);

    auto* rows = new RowsModel(0, this);
    auto* grid = listView("gridEventActionServer", rows);
    // A list holds ten entries at most: the grid is as high as that, the forms take the rest.
    const int gridHeight = kRowHeight * static_cast<int>(events::kMaxEntries) + 2 * grid->frameWidth() + 26;
    grid->setMinimumHeight(kRowHeight * 4);
    grid->setMaximumHeight(gridHeight);
    layout->addWidget(grid, 1);

    auto* forms = new QHBoxLayout;
    forms->setSpacing(14);
    auto* formColumn = new QVBoxLayout;
    for (int kind = 0; kind < kKindCount; ++kind) formColumn->addWidget(buildForm(kind));
    forms->addLayout(formColumn, 1);
    auto* legend = buildTokenLegend();
    legend->setMaximumWidth(330);
    forms->addWidget(legend);
    layout->addLayout(forms);

    // The destination test: the button, a busy bar while it runs, the report of the last one.
    auto* testRow = new QHBoxLayout;
    testButton_ = pictureButton("cmdTestDestination", "btn-test", kTextTest);
    testButton_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    testBusy_ = new QProgressBar;
    testBusy_->setObjectName("progressTestDestination");
    testBusy_->setRange(0, 0);
    testBusy_->setMaximumWidth(160);
    testBusy_->setTextVisible(false);
    testBusy_->hide();
    auto* busyText = CaptionLabel(kTextTesting);
    busyText->setStyleSheet("color: #5b6573;");
    busyText->hide();
    testRow->addWidget(testButton_, 0, Qt::AlignTop);
    testRow->addWidget(testBusy_, 0, Qt::AlignTop);
    testRow->addWidget(busyText, 0, Qt::AlignTop);
    testReport_ = new QPlainTextEdit;
    testReport_->setObjectName("txtTestReport");
    testReport_->setReadOnly(true);
    testReport_->setMaximumHeight(84);
    Caption(testReport_, kTextReport);
    testReport_->hide();
    testRow->addWidget(testReport_, 1);
    testRow->addStretch();
    layout->addLayout(testRow);
    layout->addStretch();

    std::array<QPushButton*, 4> buttons = {pictureButton("cmdEvent_0", "save-clean", kTextSave),
                                           pictureButton("cmdEvent_1", "btn-cancel", kTextCancel),
                                           pictureButton("cmdEvent_2", "btn-new", kTextNew),
                                           pictureButton("cmdEvent_3", "btn-delete", kTextDelete)};
    auto* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(buttons[events::kServerAdd]);
    buttonRow->addWidget(buttons[events::kServerRemove]);
    buttonRow->addStretch();
    buttonRow->addWidget(buttons[events::kServerCancel]);
    buttonRow->addWidget(buttons[events::kServerSave]);
    layout->addLayout(buttonRow);

    // The strip asks the model: leaving unsaved edits asks first, and a refusal keeps the strip.
    QObject::connect(kinds_, &QTabBar::currentChanged, this, [this](int kind) {
        act([this, kind] { return server_.tabEventServerSetting_Click(kind); });
    });
    binder_.custom([this] {
        const QSignalBlocker block(kinds_);
        for (int k = 0; k < kKindCount; ++k) {
            const QString t = Q(lang_.GetText(kKinds[k].caption));
            if (kinds_->tabText(k) != t) kinds_->setTabText(k, t);
        }
        if (kinds_->currentIndex() != server_.tabEventServerSetting)
            kinds_->setCurrentIndex(server_.tabEventServerSetting);
    });
    binder_.custom([this, rows, grid] {
        rows->show(headsOf(server_.gridEventActionServer), rowsOf(server_.gridEventActionServer));
        ShowSelection(grid, server_.editRow - 1);
    });
    QObject::connect(grid, &QTableView::clicked, this, [this](const QModelIndex& index) {
        const int row = index.row() + 1;
        act([this, row] { return server_.gridEventActionServer_MouseUp(row); });
    });
    // The box the model asks for takes the focus once, when the entry opens.
    auto focused = std::make_shared<std::tuple<int, int, int>>(-1, -1, -1);
    binder_.custom([this, focused] {
        const std::tuple<int, int, int> want{server_.tabEventServerSetting, server_.editRow, server_.focusBox};
        if (want == *focused) return;
        *focused = want;
        const std::vector<QLineEdit*>& boxes = boxes_[static_cast<size_t>(server_.tabEventServerSetting)];
        if (server_.focusBox >= 0 && server_.focusBox < static_cast<int>(boxes.size()))
            boxes[static_cast<size_t>(server_.focusBox)]->setFocus();
    });
    for (int i = 0; i < 4; ++i) {
        binder_.button(
            buttons[static_cast<size_t>(i)],
            [this, i] { subject_.act([this, i] { return server_.cmdEvent_Click(i); }); },
            [this, i] { return server_.cmdEvent[static_cast<size_t>(i)]; });
    }
    binder_.custom([this, buttons] { ShowSaveState(buttons[events::kServerSave], server_.dirty()); });

    QObject::connect(testButton_, &QPushButton::clicked, this, [this] { startTest(); });
    binder_.custom([this, busyText] {
        const int kind = server_.tabEventServerSetting;
        testButton_->setVisible(testable(kind));
        // Only an entry the service holds is tested: the test reads the saved list.
        testButton_->setEnabled(!probe_ && server_.frameOpen(kind) && server_.editRow > 0 && !server_.dirty());
        testBusy_->setVisible(probe_ != nullptr);
        busyText->setVisible(probe_ != nullptr);
        testReport_->setVisible(testable(kind) && !testReport_->toPlainText().isEmpty());
    });
    return tab;
}

void EventPage::startTest() {
    const int kind = server_.tabEventServerSetting;
    if (probe_ || !testable(kind) || !server_.frameOpen(kind)) return;
    const auto id = static_cast<int16_t>(std::atoi(server_.boxes(kind)[0].text.c_str()));
    if (id < 1) return;
    const QString heading = QString("%1 # %2").arg(Q(lang_.GetText(kKinds[kind].caption))).arg(id);
    // The worker runs on a copy of the lists taken now.
    auto report = std::make_shared<events::ProbeReport>();
    probe_ = QThread::create([test = subject_.destinationTest(kind, id, kTestLimit), report] { *report = test(); });
    QObject::connect(probe_, &QThread::finished, this, [this, report, heading] {
        probe_->deleteLater();
        probe_ = nullptr;
        testReport_->setPlainText(heading + "\n" + Q(report->text()));
        refresh();
    });
    testReport_->clear();
    probe_->start();
    refresh();
}

// ---- Action Group ----

QWidget* EventPage::buildGroupTab() {
    ActionGroupTab& m = group_;
    auto* tab = new QWidget;
    tab->setObjectName("frameEventGroupTab");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);

    auto* rows = new RowsModel(ActionGroupTab::kColumns, this);
    rows->look = [&m](int row, int, const QString&, int role) -> QVariant {
        // The model's colour of the row below the title row; the default leaves the view's own.
        const size_t r = static_cast<size_t>(row) + 1;
        if (role != Qt::BackgroundRole || r >= m.gridEventGroupBG.size()) return {};
        const int32_t bg = m.gridEventGroupBG[r];
        return bg == app::kDefaultBackground ? QVariant() : QVariant(SystemColour(static_cast<uint32_t>(bg)));
    };
    auto* grid = listView("gridEventGroup", rows);
    grid->setMinimumHeight(150);
    grid->horizontalHeader()->setDefaultSectionSize(70);
    layout->addWidget(grid, 1);

    auto* frame = new QGroupBox;
    frame->setObjectName("FrameEventGroup");
    Caption(frame, kTextGroupTitle);
    auto* fl = new QGridLayout(frame);
    fl->setHorizontalSpacing(10);
    auto* id = new QComboBox;
    id->setObjectName("cmbEventGroupID");
    id->setMinimumWidth(70);
    auto* name = NamedEdit("txtEventGoupName");
    auto* head = new QHBoxLayout;
    head->addWidget(new QLabel("ID"));
    head->addWidget(id);
    head->addSpacing(16);
    head->addWidget(CaptionLabel(kTextName));
    head->addWidget(name, 1);
    fl->addLayout(head, 0, 0, 1, 6);
    std::array<QCheckBox*, ActionGroupTab::kBoxCount> checks{};
    std::array<QComboBox*, ActionGroupTab::kBoxCount> combos{};
    for (int i = 0; i < ActionGroupTab::kBoxCount; ++i) {
        auto* chk = new QCheckBox;
        chk->setObjectName(QString("chkEventGroup_%1").arg(i));
        chk->setIcon(Icon(kGroupIcons[i]));
        Caption(chk, kGroupCaptions[i]);
        checks[static_cast<size_t>(i)] = chk;
        if (i < ActionGroupTab::kBoxFTP) {
            fl->addWidget(chk, 1, i * 2, 1, 2);
            continue;
        }
        // The destinations in three columns, two rows: a box and the combo of its entries.
        auto* combo = new QComboBox;
        combo->setObjectName(QString("cmbEventGroup_%1").arg(i));
        combo->setMinimumWidth(130);
        combos[static_cast<size_t>(i)] = combo;
        const int slot = i - ActionGroupTab::kBoxFTP;
        fl->addWidget(chk, 2 + slot / 3, (slot % 3) * 2);
        fl->addWidget(combo, 2 + slot / 3, (slot % 3) * 2 + 1);
    }
    for (int c : {1, 3, 5}) fl->setColumnStretch(c, 1);
    layout->addWidget(frame);

    std::array<QPushButton*, 4> buttons = {pictureButton("imgEventGroupbtn_0", "save-clean", kTextSave),
                                           pictureButton("imgEventGroupbtn_1", "btn-cancel", kTextCancel),
                                           pictureButton("imgEventGroupbtn_2", "btn-delete", kTextDelete),
                                           pictureButton("imgEventGroupbtn_3", "btn-new", kTextNew)};
    auto* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(buttons[ActionGroupTab::kAdd]);
    buttonRow->addWidget(buttons[ActionGroupTab::kRemove]);
    buttonRow->addStretch();
    buttonRow->addWidget(buttons[ActionGroupTab::kCancel]);
    buttonRow->addWidget(buttons[ActionGroupTab::kSave]);
    layout->addLayout(buttonRow);

    binder_.custom([rows, grid, &m] {
        rows->show(headsOf(m.gridEventGroup), rowsOf(m.gridEventGroup));
        rows->restyle();
        ShowSelection(grid, m.selectedRow - 1);
    });
    // The removal mark is the model's bookkeeping, not the user's.
    grid->setColumnHidden(ActionGroupTab::kColRemoved, true);
    grid->setColumnWidth(ActionGroupTab::kColID, 40);
    grid->setColumnWidth(ActionGroupTab::kColRecord, 84);
    grid->setColumnWidth(ActionGroupTab::kColEmergency, 88);
    grid->setColumnWidth(ActionGroupTab::kColName, 150);
    grid->setColumnWidth(ActionGroupTab::kColDescription, 100);
    // Each kind: its flag, then its destination's id.
    for (int c = ActionGroupTab::kColFirstDest; c < ActionGroupTab::kColRemoved; ++c)
        grid->setColumnWidth(c, (c - ActionGroupTab::kColFirstDest) % 2 == 0 ? 56 : 40);
    QObject::connect(grid, &QTableView::clicked, this, [this](const QModelIndex& index) {
        const int row = index.row() + 1;
        act([this, row] { return group_.gridEventGroup_Click(row); });
    });
    binder_.enabled(frame, [&m] { return m.FrameEventGroup; });
    binder_.combo(id, m.cmbEventGroupID, [](int) {}, [] { return false; });
    binder_.text(
        name, [&m] { return m.txtEventGoupName.text; },
        [this](const std::string& t) { subject_.act([&] { return group_.txtEventGoupName_Change(t); }); },
        [&m] { return m.FrameEventGroup && m.txtEventGoupName.enabled; });
    // The name takes the focus when the model asks for it (a new group).
    auto askedFocus = std::make_shared<bool>(false);
    binder_.custom([name, askedFocus, &m] {
        if (m.txtEventGoupNameFocus && !*askedFocus) name->setFocus();
        *askedFocus = m.txtEventGoupNameFocus;
    });
    for (int i = 0; i < ActionGroupTab::kBoxCount; ++i) {
        const size_t b = static_cast<size_t>(i);
        binder_.check(
            checks[b], [&m, b] { return m.chkEventGroup[b]; },
            [this, i](bool on) { subject_.act([&] { return group_.chkEventGroup_Click(i, on); }); },
            [&m, b] { return m.FrameEventGroup && m.chkEventGroupEnabled[b]; });
        if (!combos[b]) continue;
        binder_.combo(
            combos[b], m.cmbEventGroup[b],
            [this, i](int item) { subject_.act([&] { return group_.cmbEventGroup_Click(i, item); }); },
            [&m, b] { return m.FrameEventGroup && m.cmbEventGroup[b].enabled; });
    }
    for (int i = 0; i < 4; ++i) {
        binder_.button(
            buttons[static_cast<size_t>(i)],
            [this, i] { subject_.act([this, i] { return group_.imgEventGroupbtn_Click(i); }); },
            [&m, i] { return m.imgEventGroupbtn[static_cast<size_t>(i)]; });
    }
    binder_.custom([this, buttons] { ShowSaveState(buttons[ActionGroupTab::kSave], group_.dirty()); });
    return tab;
}

}  // namespace kv::ui
