// The channel page's widgets, bound to the channel page model.
#include "ui/channel_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include <array>
#include <memory>

#include "app/shell.h"
#include "base/lang.h"
#include "channels/channel_page.h"
#include "channels/subject.h"
#include "ui/channel_preview.h"
#include "ui/search_dialog.h"
#include "ui/look.h"
#include "ui/ptz_panel.h"

namespace kv::ui {
namespace {

constexpr int kCellWidth = 42;
constexpr int kCellHeight = 24;
constexpr int kListCellWidth = 30;

// A grid of fixed cells without headers, whose look comes from the model alone.
QTableWidget* cellGrid(const char* name, int rows, int cols, int cellWidth) {
    auto* g = new QTableWidget(rows, cols);
    g->setObjectName(name);
    g->setProperty("cells", true);
    g->horizontalHeader()->hide();
    g->verticalHeader()->hide();
    g->horizontalHeader()->setDefaultSectionSize(cellWidth);
    g->verticalHeader()->setDefaultSectionSize(kCellHeight);
    g->setEditTriggers(QAbstractItemView::NoEditTriggers);
    g->setSelectionMode(QAbstractItemView::NoSelection);
    g->setFocusPolicy(Qt::NoFocus);
    g->setIconSize(QSize(12, 12));
    g->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    g->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    g->setFixedSize(cols * cellWidth + 2, rows * kCellHeight + 2);
    return g;
}

QTableWidgetItem* cellAt(QTableWidget* g, int r, int c) {
    QTableWidgetItem* item = g->item(r, c);
    if (!item) {
        item = new QTableWidgetItem;
        item->setTextAlignment(Qt::AlignCenter);
        g->setItem(r, c, item);
    }
    return item;
}

// What a cell grid shows: the model's rows and the bold channel of the last refresh.
template <typename Rows>
struct ShownCells {
    Rows rows{};
    int bold = -1;
    bool filled = false;
};

// Cells with the model's text, background (the grid's own where the model leaves it) and check
// picture; `bold` marks the channel shown on the page. Only the cells that changed since the last
// refresh are written.
template <typename Rows>
void showCells(QTableWidget* g, const Rows& rows, int bold, ShownCells<Rows>& shown) {
    if (shown.filled && rows == shown.rows && bold == shown.bold && g->rowCount() == static_cast<int>(rows.size()))
        return;
    const QSignalBlocker block(g);
    if (g->rowCount() != static_cast<int>(rows.size())) {
        g->setRowCount(static_cast<int>(rows.size()));
        g->setFixedHeight(static_cast<int>(rows.size()) * kCellHeight + 2);
    }
    const int columns = rows.empty() ? 0 : static_cast<int>(rows[0].size());
    for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
        for (int c = 0; c < columns; ++c) {
            const app::GridCell& cell = rows[static_cast<size_t>(r)][static_cast<size_t>(c)];
            const int number = r * columns + c + 1;
            // A checked cell is marked by its picture; a free channel being added by a bold number.
            const bool isBold = !cell.checked && number == bold;
            if (g->item(r, c) && shown.filled && static_cast<size_t>(r) < shown.rows.size()) {
                const app::GridCell& before = shown.rows[static_cast<size_t>(r)][static_cast<size_t>(c)];
                const bool wasBold = !before.checked && number == shown.bold;
                if (cell == before && isBold == wasBold) continue;
            }
            QTableWidgetItem* item = cellAt(g, r, c);
            item->setText(Q(cell.text));
            item->setBackground(cell.background == app::kDefaultBackground ? QBrush()
                                                                           : QBrush(SystemColour(cell.background)));
            item->setIcon(cell.checked ? Icon("cell-check") : QIcon());
            QFont f = item->font();
            f.setBold(isBold);
            item->setFont(f);
            item->setForeground(cell.text == "-" ? QBrush(QColor("#9aa3ad")) : QBrush(QColor("#1b2430")));
        }
    }
    shown.rows = rows;
    shown.bold = bold;
    shown.filled = true;
}

QPushButton* button(const char* name, int captionId, const char* icon) {
    auto* b = new QPushButton;
    b->setObjectName(name);
    b->setIcon(Icon(icon));
    Caption(b, captionId);
    return b;
}

}  // namespace

ChannelPageWidget::ChannelPageWidget(channels::ChannelSubject& subject, app::ShellModel& shell,
                                     const base::Language& lang)
    : subject_(subject), shell_(shell), lang_(lang) {
    subject_.showPreviewWindow = [this](const channels::ChannelRecord& record) {
        if (!preview_) preview_ = new PreviewWindow(this, lang_);
        preview_->show(record);
    };
    setObjectName("frameChannel");
    // The camera's view is dark like a monitor; the pad's glyphs are large.
    setStyleSheet(R"(
QLabel[pane="true"] { background: #1f2a36; color: #dce4ee; font-size: 11pt; border-radius: 3px; }
QFrame#frameVideo { background: #0f161e; border-radius: 4px; }
QPushButton[pad="true"] { font-size: 15pt; padding: 0; }
QTableWidget[cells="true"] { gridline-color: #b9c2cf; }
)");
    channels::ChannelPage& m = subject_.page();
    binder_.afterAction = [this] { finished(); };

    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(16, 12, 16, 10);
    auto* title = CaptionLabel(802);
    title->setObjectName("lbPageTitle");
    page->addWidget(title);

    auto* columns = new QHBoxLayout;
    columns->setSpacing(14);
    auto* left = new QVBoxLayout;

    // The channels: white configured, grey free, the shown one checked.
    auto* channelsBox = new QGroupBox;
    Caption(channelsBox, 898);
    auto* cl = new QVBoxLayout(channelsBox);
    auto* grid = cellGrid("gridCH", 8, channels::kGridColumns, kCellWidth);
    cl->addWidget(grid, 0, Qt::AlignHCenter);
    auto* legend = new QHBoxLayout;
    legend->addWidget(LegendEntry(channels::kCellConfigured, 894));
    legend->addWidget(LegendEntry(channels::kCellFree, 895));
    legend->addStretch();
    cl->addLayout(legend);
    left->addWidget(channelsBox);

    auto* statusBox = new QGroupBox;
    Caption(statusBox, 893);
    auto* sl = new QVBoxLayout(statusBox);
    auto* status = cellGrid("gridCHStatus", 8, channels::kGridColumns, kCellWidth);
    sl->addWidget(status, 0, Qt::AlignHCenter);
    auto* statusLegend = new QHBoxLayout;
    statusLegend->addWidget(LegendEntry(channels::kCellConnected, 896));
    statusLegend->addWidget(LegendEntry(channels::kCellNotConnected, 897));
    statusLegend->addStretch();
    sl->addLayout(statusLegend);
    left->addWidget(statusBox);
    left->addStretch();
    columns->addLayout(left);

    tabs_ = new QTabWidget;
    tabs_->setObjectName("tabChannel");
    tabs_->addTab(buildSettingTab(), QString());
    tabs_->addTab(buildListTab(), QString());
    ptz_ = new PtzPanelWidget(subject_.ptz(), shell_, lang_);
    ptz_->afterAction = [this] { finished(); };
    tabs_->addTab(ptz_, QString());
    columns->addWidget(tabs_, 1);
    page->addLayout(columns, 1);

    QObject::connect(grid, &QTableWidget::cellClicked, this,
                     [this](int r, int c) { binder_.act([&] { subject_.page().gridCH_Click(r, c); }); });
    QObject::connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        binder_.act([&] {
            subject_.tabChannel_Click(index);
        });
    });
    auto shownGrid = std::make_shared<ShownCells<std::array<channels::ChannelGridRow, 8>>>();
    auto shownStatus = std::make_shared<ShownCells<std::vector<channels::ChannelGridRow>>>();
    binder_.custom([this, grid, status, &m, shownGrid, shownStatus] {
        showCells(grid, m.channelGrid(), m.iSelCH, *shownGrid);
        showCells(status, m.statusGrid(), 0, *shownStatus);
        const QSignalBlocker block(tabs_);
        const int ids[3] = {254, 892, 882};
        for (int i = 0; i < 3; ++i)
            if (const QString t = Q(lang_.GetText(ids[i])); tabs_->tabText(i) != t) tabs_->setTabText(i, t);
        if (tabs_->currentIndex() != m.tabChannel) tabs_->setCurrentIndex(m.tabChannel);
    });
}

QWidget* ChannelPageWidget::buildSettingTab() {
    channels::ChannelPage& m = subject_.page();
    auto* tab = new QWidget;
    tab->setObjectName("frameSetting");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 8, 10, 8);

    auto* hint = CaptionLabel(917);
    hint->setObjectName("lbSelectChannel");
    hint->setWordWrap(true);
    layout->addWidget(hint);

    // Network: the camera's address and account, the brand and source, the two checks.
    auto* network = new QGroupBox;
    network->setObjectName("frameNetwork");
    Caption(network, 880);
    auto* nl = new QGridLayout(network);
    nl->setHorizontalSpacing(10);
    QLineEdit* txt[channels::kNetworkFieldCount];
    const int fieldLabels[channels::kNetworkFieldCount] = {328, 135, 840, 849, 11};
    for (int i = 0; i < channels::kNetworkFieldCount; ++i) {
        txt[i] = new QLineEdit;
        txt[i]->setObjectName(QString("txtNetwork_%1").arg(i));
        nl->addWidget(CaptionLabel(fieldLabels[i]), i, 0);
        nl->addWidget(txt[i], i, 1);
    }
    txt[channels::kNetPassword]->setEchoMode(QLineEdit::Password);
    auto* brand = new QComboBox;
    brand->setObjectName("CmbBrand");
    nl->addWidget(CaptionLabel(193), 0, 2);
    nl->addWidget(brand, 0, 3);
    auto* video = new QComboBox;
    video->setObjectName("cmbVideoID");
    nl->addWidget(CaptionLabel(881), 1, 2);
    nl->addWidget(video, 1, 3);
    auto* ptz = new QCheckBox;
    ptz->setObjectName("chkPTZ");
    Caption(ptz, 882);
    nl->addWidget(ptz, 2, 3);
    auto* push = new QCheckBox;
    push->setObjectName("chkCameraSetting");
    Caption(push, 883);
    nl->addWidget(push, 3, 3);
    auto* actions = new QHBoxLayout;
    auto* detect = button("cmdDetect", 884, "btn-detect");
    actions->addWidget(detect);
    auto* search = button("cmdSearch", 190, "btn-search");
    actions->addWidget(search);
    actions->addStretch();
    nl->addLayout(actions, 4, 3);
    nl->setColumnStretch(1, 1);
    nl->setColumnStretch(3, 1);
    layout->addWidget(network);

    // The video parameters, the camera's values beside them, the lens frame of brand 20.
    auto* device = new QGroupBox;
    device->setObjectName("Framedevice");
    Caption(device, 887);
    auto* dl = new QHBoxLayout(device);
    auto* params = new QVBoxLayout;
    auto* form = new QFormLayout;
    QComboBox* cam[channels::kCamDetailCount];
    QLabel* camLabel[channels::kCamDetailCount];
    for (int i = 0; i < channels::kCamDetailCount; ++i) {
        cam[i] = new QComboBox;
        cam[i]->setObjectName(QString("cmb_CamDetail_%1").arg(i));
        cam[i]->setMinimumWidth(150);
        camLabel[i] = new QLabel;
        form->addRow(camLabel[i], cam[i]);
    }
    params->addLayout(form);
    auto* lens = new QGroupBox;
    lens->setObjectName("frameLensMode");
    Caption(lens, 889);
    auto* ll = new QFormLayout(lens);
    auto* lensMode = new QComboBox;
    lensMode->setObjectName("cmbLensMode");
    ll->addRow(CaptionLabel(889), lensMode);
    QComboBox* display[2];
    for (int i = 0; i < 2; ++i) {
        display[i] = new QComboBox;
        display[i]->setObjectName(QString("cmbDisplayMode_%1").arg(i));
        ll->addRow(CaptionLabel(i == 0 ? 890 : 891), display[i]);
    }
    params->addWidget(lens);
    params->addStretch();
    dl->addLayout(params);
    auto* info = new QTableWidget(channels::kVideoInfoRows, 2);
    info->setObjectName("Grid_Videoinfo");
    info->horizontalHeader()->hide();
    info->verticalHeader()->hide();
    info->verticalHeader()->setDefaultSectionSize(20);
    info->horizontalHeader()->setStretchLastSection(true);
    info->setColumnWidth(0, 120);
    info->setSelectionMode(QAbstractItemView::NoSelection);
    info->setMinimumWidth(280);
    info->setFixedHeight(channels::kVideoInfoRows * 20 + 4);
    info->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    dl->addWidget(info, 1, Qt::AlignTop);
    layout->addWidget(device);
    layout->addStretch(1);

    auto* commit = new QHBoxLayout;
    commit->addStretch();
    QPushButton* cmd[4];
    cmd[channels::kCommitSave] = button("cmdComit_0", 811, "save-clean");
    cmd[channels::kCommitSave]->setIconSize(QSize(22, 22));
    cmd[channels::kCommitSave]->setMinimumWidth(120);
    cmd[channels::kCommitRemove] = button("cmdComit_1", 861, "btn-delete");
    cmd[channels::kCommitCancel] = button("cmdComit_2", 852, "btn-cancel");
    cmd[channels::kCommitPreview] = button("cmdComit_3", 886, "btn-preview");
    for (int i : {channels::kCommitPreview, channels::kCommitCancel, channels::kCommitRemove, channels::kCommitSave})
        commit->addWidget(cmd[i]);
    layout->addLayout(commit);

    // Bindings.
    binder_.visible(hint, [&m] { return !m.frameNetwork; });
    binder_.visible(network, [&m] { return m.frameNetwork; });
    binder_.visible(device, [&m] { return m.Framedevice; });
    for (int i = 0; i < channels::kNetworkFieldCount; ++i)
        binder_.text(txt[i], [&m, i] { return m.txtNetwork[static_cast<size_t>(i)].text; },
                     [&m, i](const std::string& t) { m.txtNetwork_Change(i, t); },
                     [&m, i] { return m.txtNetwork[static_cast<size_t>(i)].enabled && !m.busy; });
    // The brand comes from detection (or the search), never typed.
    binder_.combo(brand, m.CmbBrand, [](int) {}, [] { return false; });
    binder_.combo(video, m.cmbVideoID, [&m](int i) { m.cmbVideoID_Click(i); },
                  [&m] { return m.cmbVideoID.enabled && !m.busy; });
    binder_.check(ptz, [&m] { return m.chkPTZ; }, [&m](bool on) { m.chkPTZ_Click(on); });
    binder_.check(push, [&m] { return m.chkCameraSetting; }, [&m](bool on) { m.chkCameraSetting_Click(on); });
    // Detection waits for the camera's answer: the button says so until it is back.
    binder_.button(
        detect,
        [this, &m, detect] {
            detect->setText(Q(lang_.GetText(885)));
            detect->setEnabled(false);
            detect->repaint();
            m.cmdDetect_Click();
            detect->setText(Q(lang_.GetText(884)));
        },
        [&m] { return m.cmdDetect && !m.busy; });
    binder_.button(search, [this] { openSearch(); }, [&m] { return !m.busy; });
    for (int i = 0; i < channels::kCamDetailCount; ++i) {
        binder_.combo(cam[i], m.video.cmb_CamDetail[static_cast<size_t>(i)],
                      [&m, i](int item) { m.cmb_CamDetail_Click(i, item); },
                      [&m, i] { return m.video.cmb_CamDetail[static_cast<size_t>(i)].enabled && !m.busy; });
        binder_.label(camLabel[i], [&m, i] { return m.video.RowLabel(i); });
    }
    binder_.visible(lens, [&m] { return m.video.frameLensMode; });
    binder_.combo(lensMode, m.video.cmbLensMode, [&m](int i) { m.cmbLensMode_Click(i); },
                  [&m] { return m.video.cmbLensMode.enabled; });
    for (int i = 0; i < 2; ++i)
        binder_.combo(display[i], m.video.cmbDisplayMode[static_cast<size_t>(i)],
                      [&m, i](int item) { m.cmbDisplayMode_Click(i, item); },
                      [&m, i] { return m.video.cmbDisplayMode[static_cast<size_t>(i)].enabled; });
    // Read-only values: the audio format of the last row is what the camera reports.
    binder_.custom([info, &m] {
        const QSignalBlocker block(info);
        for (int r = 0; r < channels::kVideoInfoRows; ++r) {
            for (int c = 0; c < 2; ++c) {
                QTableWidgetItem* item = info->item(r, c);
                if (!item) {
                    item = new QTableWidgetItem;
                    item->setFlags(Qt::ItemIsEnabled);
                    if (c == 0) item->setForeground(QColor("#4a5563"));
                    info->setItem(r, c, item);
                }
                const QString v = Q(m.video.Grid_Videoinfo[static_cast<size_t>(r)][static_cast<size_t>(c)]);
                if (item->text() != v) item->setText(v);
            }
        }
    });
    for (int i = 0; i < 4; ++i)
        binder_.button(cmd[i], [this, &m, i] { m.cmdComit_Click(i); },
                       [&m, i] { return m.cmdComit[static_cast<size_t>(i)]; });
    QPushButton* save = cmd[channels::kCommitSave];
    binder_.custom([this, save] {
        ShowSaveState(save, shell_.saveButtonPicture[app::area::kChannel] == app::kPictureDirty);
    });
    return tab;
}

QWidget* ChannelPageWidget::buildListTab() {
    channels::ChannelPage& m = subject_.page();
    auto* tab = new QWidget;
    tab->setObjectName("frameChannelList");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 8, 10, 8);
    auto* list = new QTableWidget(0, 7);
    list->setObjectName("Grid_SearchResult");
    list->verticalHeader()->setDefaultSectionSize(22);
    layout->addWidget(list, 1);
    binder_.grid(
        list,
        [this] {
            std::vector<std::string> h;
            for (int id : {898, 328, 135, 326, 193, 194}) h.push_back(lang_.GetText(id));
            h.push_back("MAC");
            return h;
        },
        [&m] { return CellsOf(m.Grid_SearchResult); }, [&m] { return m.iSelCH - 1; });
    // The name takes what the fixed columns leave.
    const int widths[7] = {66, 0, 110, 42, 100, 68, 122};
    for (int c = 0; c < 7; ++c)
        if (widths[c] > 0) list->setColumnWidth(c, widths[c]);
    list->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    // A double click edits the channel of the row on the first tab.
    QObject::connect(list, &QTableWidget::cellDoubleClicked, this, [this](int row, int) {
        binder_.act([&] {
            subject_.gridChannelList_DblClick(row);
        });
    });

    auto* marks = new QGroupBox;
    Caption(marks, 914);
    auto* ml = new QVBoxLayout(marks);
    constexpr int kListColumns = 16;
    auto* chList = cellGrid("gridCHList", channels::kChannelSlots / kListColumns, kListColumns, kListCellWidth);
    ml->addWidget(chList, 0, Qt::AlignLeft);
    layout->addWidget(marks);
    QObject::connect(chList, &QTableWidget::cellClicked, this,
                     [this](int r, int c) { binder_.act([&] { subject_.page().gridCHList_Click(r, c); }); });
    // The count and the colours of the last refresh: a cell is written when its part changed.
    auto shownCount = std::make_shared<int>(-1);
    auto shownColours = std::make_shared<std::array<int32_t, channels::kChannelSlots>>();
    binder_.custom([chList, &m, shownCount, shownColours] {
        const QSignalBlocker block(chList);
        const int count = m.channelCount();
        for (int slot = 0; slot < channels::kChannelSlots; ++slot) {
            const int32_t colour = m.gridCHListColour(slot);
            const bool fresh = *shownCount < 0;
            const bool counted = slot < count;
            if (!fresh && counted == (slot < *shownCount) && colour == (*shownColours)[static_cast<size_t>(slot)])
                continue;
            QTableWidgetItem* item = cellAt(chList, slot / kListColumns, slot % kListColumns);
            item->setText(counted ? QString::number(slot + 1) : QString("-"));
            item->setBackground(SystemColour(colour));
            (*shownColours)[static_cast<size_t>(slot)] = colour;
        }
        *shownCount = count;
    });
    return tab;
}

ChannelPageWidget::~ChannelPageWidget() {
    subject_.showPreviewWindow = nullptr;
    delete searchDialog_.data();
    delete preview_.data();
}

void ChannelPageWidget::refresh() {
    binder_.refresh();
    // The PTZ tab is refreshed while it is the tab shown; choosing it refreshes the page.
    if (tabs_->currentWidget() == ptz_) ptz_->refresh();
    refreshDialogs();
}

void ChannelPageWidget::refreshDialogs() {
    if (searchDialog_) searchDialog_->refresh();
}

SearchDialog* ChannelPageWidget::searchDialog() const { return searchDialog_; }
PreviewWindow* ChannelPageWidget::previewWindow() const { return preview_; }

SearchDialog* ChannelPageWidget::openSearch() {
    if (searchDialog_) return searchDialog_;
    searchDialog_ = new SearchDialog(this, subject_.search(), subject_.page(), lang_);
    searchDialog_->afterAction = [this] { finished(); };
    searchDialog_->start();
    return searchDialog_;
}

void ChannelPageWidget::finished() {
    // The owner refreshes what is shown, this page among it.
    if (afterAction) afterAction();
    else refresh();
}

}  // namespace kv::ui
