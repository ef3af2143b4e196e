// The user page's widgets, bound to the users page model.
#include "ui/user_page.h"

#include <QCheckBox>
#include <QComboBox>
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
#include "ui/look.h"
#include "users/page.h"
#include "users/subject.h"

namespace kv::ui {
namespace {

// Texts of the page that the language files add for it.
constexpr int kTextUsersTab = 920, kTextConfirmPassword = 921, kTextAccountSettings = 922,
              kTextGroupSettings = 923, kTextRightsHint = 924, kTextAllowed = 925, kTextDenied = 926,
              kTextBeyondCount = 927, kTextSendWithSave = 928;
constexpr int kTextPassword = 11, kTextShowPassword = 822, kTextUserTitle = 806,
              kTextSave = 811, kTextCancel = 852, kTextNew = 860, kTextDelete = 861;
constexpr int kTextRights[3] = {265, 266, 267};

constexpr int kCellWidth = 40;
constexpr int kCellHeight = 24;

// The four buttons of a tab, in the model's index order (save, cancel, new, remove).
std::array<QPushButton*, 4> tabButtons(const char* prefix) {
    const int captions[4] = {kTextSave, kTextCancel, kTextNew, kTextDelete};
    const char* icons[4] = {"save-clean", "btn-close", "btn-new", "btn-delete"};
    std::array<QPushButton*, 4> out{};
    for (int i = 0; i < 4; ++i) {
        auto* b = new QPushButton;
        b->setObjectName(QString("%1_%2").arg(prefix).arg(i));
        b->setIcon(Icon(icons[i]));
        b->setMinimumWidth(100);
        b->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        Caption(b, captions[i]);
        out[static_cast<size_t>(i)] = b;
    }
    return out;
}

// New and remove on the left, cancel and save on the right.
QHBoxLayout* buttonRow(const std::array<QPushButton*, 4>& b, QWidget* middle = nullptr) {
    auto* row = new QHBoxLayout;
    row->addWidget(b[users::kNew]);
    row->addWidget(b[users::kRemove]);
    row->addSpacing(12);
    if (middle) row->addWidget(middle, 1);
    row->addStretch();
    row->addWidget(b[users::kCancel]);
    row->addWidget(b[users::kSave]);
    return row;
}

// A model grid's row 0 holds the titles; the widget shows them as its header.
std::vector<std::string> headingsOf(const users::TextGrid& g) { return g.empty() ? std::vector<std::string>{} : g[0]; }
Cells rowsOf(const users::TextGrid& g) { return g.size() < 2 ? Cells{} : Cells(g.begin() + 1, g.end()); }

QTableWidget* listGrid(const char* name, int columns) {
    // The columns exist from the start, so that their widths can be set before the first fill.
    auto* grid = new QTableWidget(0, columns);
    grid->setObjectName(name);
    grid->verticalHeader()->setDefaultSectionSize(24);
    grid->setAlternatingRowColors(true);
    grid->horizontalHeader()->setHighlightSections(false);
    return grid;
}

}  // namespace

UserPage::UserPage(users::UsersSubject& subject, const base::Language& lang)
    : subject_(subject), model_(*subject.page()), lang_(lang) {
    setObjectName("frameUser");
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(16, 12, 16, 10);
    auto* title = CaptionLabel(kTextUserTitle);
    title->setObjectName("lbPageTitle");
    page->addWidget(title);

    auto* tabs = new QTabWidget;
    tabs->setObjectName("tabUser");
    tabs->addTab(buildUserTab(), QString());
    tabs->addTab(buildGroupTab(), QString());
    page->addWidget(tabs, 1);

    binder_.afterAction = [this] {
        subject_.syncShell();
        if (afterAction) afterAction();
    };
    // The strip asks the model: tab 0 may be refused (no group yet), and the strip then stays.
    QObject::connect(tabs, &QTabWidget::currentChanged, tabs,
                     [this](int index) { binder_.act([&] { model_.tabUser_Click(index); }); });
    binder_.custom([this, tabs] {
        const QSignalBlocker block(tabs);
        const QString texts[2] = {Q(lang_.GetText(kTextUsersTab)), Q(lang_.GetText(users::text::kUserGroup))};
        // A tab with something to save carries the save button's picture of its area.
        const bool dirty[2] = {subject_.usersDirty(), subject_.groupsDirty()};
        for (int i = 0; i < 2; ++i) {
            if (tabs->tabText(i) != texts[i]) tabs->setTabText(i, texts[i]);
            if (tabs->tabIcon(i).isNull() == dirty[i]) tabs->setTabIcon(i, dirty[i] ? Icon("save-dirty") : QIcon());
        }
        if (tabs->currentIndex() != model_.tabIndex) tabs->setCurrentIndex(model_.tabIndex);
    });
}

QWidget* UserPage::buildUserTab() {
    users::UserTab& m = model_.user;
    auto* tab = new QWidget;
    tab->setObjectName("frameUserTab");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);

    auto* grid = listGrid("gridUser_0", 7);
    layout->addWidget(grid, 1);

    auto* frame = new QGroupBox;
    frame->setObjectName("frameUserSetting");
    Caption(frame, kTextAccountSettings);
    auto* fl = new QGridLayout(frame);
    fl->setHorizontalSpacing(10);
    fl->setColumnStretch(1, 1);
    fl->setColumnStretch(3, 1);
    fl->setColumnMinimumWidth(2, 110);
    std::array<QLineEdit*, 8> txt{};
    for (int i = 0; i < 8; ++i) txt[static_cast<size_t>(i)] = NamedEdit(QString("txtUser_%1").arg(i));
    txt[0]->setMaximumWidth(80);
    txt[2]->setEchoMode(QLineEdit::Password);
    txt[3]->setEchoMode(QLineEdit::Password);
    auto* groupCombo = new QComboBox;
    groupCombo->setObjectName("cmbUserGroup");
    auto* showPasswords = new QCheckBox;
    showPasswords->setObjectName("chkUserPSWD");
    Caption(showPasswords, kTextShowPassword);
    auto* idLabel = new QLabel("ID");
    // Left: who the account is and how it logs in; right: its group and contact data.
    fl->addWidget(idLabel, 0, 0);
    fl->addWidget(txt[0], 0, 1);
    fl->addWidget(CaptionLabel(users::text::kName), 1, 0);
    fl->addWidget(txt[1], 1, 1);
    fl->addWidget(CaptionLabel(kTextPassword), 2, 0);
    fl->addWidget(txt[2], 2, 1);
    fl->addWidget(CaptionLabel(kTextConfirmPassword), 3, 0);
    fl->addWidget(txt[3], 3, 1);
    fl->addWidget(showPasswords, 4, 1);
    fl->addWidget(CaptionLabel(users::text::kUserGroup), 0, 2);
    fl->addWidget(groupCombo, 0, 3);
    const int contact[4] = {users::text::kCompany, users::text::kPhone, users::text::kPrimaryMail,
                            users::text::kSecondMail};
    for (int i = 0; i < 4; ++i) {
        fl->addWidget(CaptionLabel(contact[i]), i + 1, 2);
        fl->addWidget(txt[static_cast<size_t>(i + 4)], i + 1, 3);
    }
    layout->addWidget(frame);

    auto* note = CaptionLabel(kTextSendWithSave);
    note->setObjectName("lbUserSendNote");
    note->setWordWrap(true);
    note->setStyleSheet("color: #7a3e00;");
    const auto buttons = tabButtons("imgUserbtn");
    layout->addLayout(buttonRow(buttons, note));

    binder_.grid(
        grid, [&m] { return headingsOf(m.gridUser); }, [&m] { return rowsOf(m.gridUser); },
        [&m] { return m.selectedRow - 1; }, [&m](int row) { m.gridUser_MouseUp(row + 1); });
    const int widths[7] = {44, 120, 140, 140, 180, 170, 0};
    for (int c = 0; c < 7; ++c)
        if (widths[c] > 0) grid->setColumnWidth(c, widths[c]);
    grid->horizontalHeader()->setStretchLastSection(true);

    binder_.enabled(frame, [&m] { return m.frameUserSetting; });
    binder_.text(txt[0], [&m] { return m.txtUser[0].text; });
    for (int i = 1; i < 8; ++i) {
        const size_t f = static_cast<size_t>(i);
        binder_.text(
            txt[f], [&m, f] { return m.txtUser[f].text; },
            [&m, i](const std::string& t) { m.txtUser_Change(i, t); },
            [&m, f] { return m.frameUserSetting && m.txtUser[f].enabled; });
    }
    binder_.combo(
        groupCombo, m.cmbUserGroup, [&m](int i) { m.cmbUserGroup_Click(i); },
        [&m] { return m.frameUserSetting && m.cmbUserGroup.enabled; });
    binder_.custom([this, &m, txt] {
        // Shown in clear for the account they were asked for, while its field set is open.
        const QLineEdit::EchoMode mode = subject_.passwordsShown() ? QLineEdit::Normal : QLineEdit::Password;
        for (QLineEdit* e : {txt[2], txt[3]})
            if (e->echoMode() != mode) e->setEchoMode(mode);
    });
    // The passwords show in clear only to someone who types the password of this login.
    binder_.check(
        showPasswords, [this] { return subject_.passwordsShown(); }, [this](bool on) { subject_.showPasswords(on); },
        [&m] { return m.frameUserSetting; });
    binder_.visible(note, [&m] { return m.userChanged(); });
    for (int i = 0; i < 4; ++i) {
        const size_t b = static_cast<size_t>(i);
        binder_.button(buttons[b], [&m, i] { m.imgUserbtn_Click(i); }, [&m, b] { return m.imgUserbtn[b]; });
    }
    return tab;
}

QTableWidget* UserPage::rightsGrid(int right) {
    users::UserGroupTab& m = model_.group;
    auto* grid = new QTableWidget(users::kCellRows, users::kCellsPerRow);
    grid->setObjectName(QString("gridCHList_%1").arg(right));
    grid->horizontalHeader()->setVisible(false);
    grid->verticalHeader()->setVisible(false);
    grid->horizontalHeader()->setMinimumSectionSize(kCellWidth);
    grid->horizontalHeader()->setDefaultSectionSize(kCellWidth);
    grid->verticalHeader()->setMinimumSectionSize(kCellHeight);
    grid->verticalHeader()->setDefaultSectionSize(kCellHeight);
    grid->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    grid->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The cells' own colours say on and off: no selection is painted over them.
    grid->setSelectionMode(QAbstractItemView::NoSelection);
    grid->setFocusPolicy(Qt::NoFocus);
    grid->setShowGrid(true);
    const int frame = 2 * grid->frameWidth();
    grid->setFixedSize(users::kCellsPerRow * kCellWidth + frame, users::kCellRows * kCellHeight + frame);
    for (int r = 0; r < users::kCellRows; ++r) {
        for (int c = 0; c < users::kCellsPerRow; ++c) {
            auto* item = new QTableWidgetItem;
            item->setTextAlignment(Qt::AlignCenter);
            item->setFlags(Qt::ItemIsEnabled);
            grid->setItem(r, c, item);
        }
    }
    QObject::connect(grid, &QTableWidget::cellClicked, grid, [this, &m, right](int row, int col) {
        binder_.act([&] { m.gridCHList_Click(right, row, col); });
    });
    // The text and colour of each cell at the last refresh: a cell is written when they changed.
    struct Shown {
        std::string text;
        uint32_t colour = 0;
        bool filled = false;
    };
    auto shown = std::make_shared<std::array<std::array<Shown, users::kCellsPerRow>, users::kCellRows>>();
    auto shownFont = std::make_shared<QFont>();
    binder_.custom([&m, grid, right, shown, shownFont] {
        QFont on = grid->font();
        on.setBold(true);
        const QFont off = grid->font();
        // The cells carry fonts of their own: a new font of the language writes them all again.
        if (off != *shownFont) {
            *shownFont = off;
            for (auto& row : *shown)
                for (Shown& was : row) was.filled = false;
        }
        const users::ChannelGrid& cells = m.gridCHList[static_cast<size_t>(right)];
        for (int r = 0; r < users::kCellRows; ++r) {
            for (int c = 0; c < users::kCellsPerRow; ++c) {
                const users::ChannelCell& cell = cells[static_cast<size_t>(r)][static_cast<size_t>(c)];
                Shown& was = (*shown)[static_cast<size_t>(r)][static_cast<size_t>(c)];
                if (was.filled && was.text == cell.text && was.colour == cell.colour) continue;
                was = {cell.text, cell.colour, true};
                QTableWidgetItem* item = grid->item(r, c);
                const bool allowed = cell.colour == users::kCellOn;
                item->setText(Q(cell.text));
                item->setBackground(SystemColour(cell.colour));
                // Beside the colour, the text tells the three states apart.
                item->setForeground(cell.colour == users::kCellBeyondCount ? QColor("#a4a8ae")
                                    : allowed                               ? QColor("#17365d")
                                                                            : QColor("#4a4f57"));
                item->setFont(allowed ? on : off);
            }
        }
        const Qt::CursorShape cursor = m.gridsEnabled ? Qt::PointingHandCursor : Qt::ArrowCursor;
        if (grid->cursor().shape() != cursor) grid->setCursor(cursor);
    });
    return grid;
}

QWidget* UserPage::buildGroupTab() {
    users::UserGroupTab& m = model_.group;
    auto* tab = new QWidget;
    tab->setObjectName("frameUserGroupTab");
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(10, 10, 10, 8);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(14);

    auto* grid = listGrid("gridUser_1", 2);
    grid->setMinimumWidth(260);
    grid->setMaximumWidth(320);
    columns->addWidget(grid);

    auto* frame = new QGroupBox;
    frame->setObjectName("frameUserGroupSetting");
    Caption(frame, kTextGroupSettings);
    auto* fl = new QVBoxLayout(frame);
    auto* nameRow = new QHBoxLayout;
    auto* id = NamedEdit("txtUserGroup_0");
    id->setMaximumWidth(60);
    auto* name = NamedEdit("txtUserGroup_1");
    nameRow->addWidget(new QLabel("ID"));
    nameRow->addWidget(id);
    nameRow->addSpacing(12);
    nameRow->addWidget(CaptionLabel(users::text::kGroupName));
    nameRow->addWidget(name, 1);
    fl->addLayout(nameRow);
    for (int k = 0; k < 3; ++k) {
        auto* caption = CaptionLabel(kTextRights[k]);
        caption->setStyleSheet("font-weight: bold; color: #2f5d9e; margin-top: 6px;");
        fl->addWidget(caption);
        fl->addWidget(rightsGrid(k));
    }
    // What the colours mean.
    auto* legend = new QHBoxLayout;
    legend->setSpacing(6);
    const std::pair<uint32_t, int> keys[3] = {
        {users::kCellOn, kTextAllowed}, {users::kCellOff, kTextDenied}, {users::kCellBeyondCount, kTextBeyondCount}};
    for (const auto& [colour, textId] : keys) legend->addWidget(LegendEntry(colour, textId));
    legend->addStretch();
    fl->addSpacing(4);
    fl->addLayout(legend);
    auto* hint = CaptionLabel(kTextRightsHint);
    hint->setStyleSheet("color: #5b6573;");
    fl->addWidget(hint);
    fl->addStretch();
    columns->addWidget(frame, 1);
    layout->addLayout(columns, 1);

    const auto buttons = tabButtons("imgUserGroupbtn");
    layout->addLayout(buttonRow(buttons));

    binder_.grid(
        grid, [&m] { return headingsOf(m.gridUser); }, [&m] { return rowsOf(m.gridUser); },
        [&m] { return m.selectedRow - 1; }, [&m](int row) { m.gridUser_MouseUp(row + 1); });
    grid->setColumnWidth(0, 44);
    grid->horizontalHeader()->setStretchLastSection(true);
    binder_.enabled(frame, [&m] { return m.frameUserGroupSetting; });
    binder_.text(id, [&m] { return m.txtUserGroup[0].text; });
    binder_.text(
        name, [&m] { return m.txtUserGroup[1].text; }, [&m](const std::string& t) { m.txtUserGroup_Change(t); },
        [&m] { return m.frameUserGroupSetting && m.txtUserGroup[1].enabled; });
    for (int i = 0; i < 4; ++i) {
        const size_t b = static_cast<size_t>(i);
        // The save button sends the list at once.
        binder_.button(
            buttons[b], [this, &m, i] { subject_.act([&] { return m.imgUserGroupbtn_Click(i); }); },
            [&m, b] { return m.imgUserGroupbtn[b]; });
    }
    return tab;
}

}  // namespace kv::ui
