// The known-server dialog's widgets, bound to its model.
#include "ui/server_list_dialog.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "session/server_list.h"
#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {

ServerListDialog::ServerListDialog(QWidget* parent, session::ServerListModel& model, const base::Language& lang)
    : QDialog(parent), model_(model), lang_(lang) {
    setObjectName("Form_ServerList");
    Caption(this, 149);
    setWindowIcon(Icon("btn-server-list"));
    auto* layout = new QVBoxLayout(this);

    auto* top = new QHBoxLayout;
    auto* grid = new QTableWidget;
    grid->setObjectName("gridServiceList");
    grid->setMinimumSize(560, 170);
    top->addWidget(grid, 1);
    auto* buttons = new QVBoxLayout;
    const struct {
        int text;
        const char* icon;
    } cmd[5] = {{860, "btn-new"}, {861, "btn-delete"}, {190, "btn-search"}, {811, "save-clean"}, {864, "btn-close"}};
    QPushButton* cmdSave[5];
    for (int i = 0; i < 5; ++i) {
        cmdSave[i] = new QPushButton;
        cmdSave[i]->setObjectName(QString("cmdSave_%1").arg(i));
        cmdSave[i]->setIcon(Icon(cmd[i].icon));
        Caption(cmdSave[i], cmd[i].text);
        buttons->addWidget(cmdSave[i]);
    }
    // imgUpDown: the selected row one place up or down.
    QPushButton* upDown[2];
    const struct {
        int text;
        const char* icon;
    } move[2] = {{909, "btn-up"}, {910, "btn-down"}};
    for (int i = 0; i < 2; ++i) {
        upDown[i] = new QPushButton;
        upDown[i]->setObjectName(QString("imgUpDown_%1").arg(i));
        upDown[i]->setIcon(Icon(move[i].icon));
        Caption(upDown[i], move[i].text);
    }
    buttons->addSpacing(8);
    buttons->addWidget(upDown[0]);
    buttons->addWidget(upDown[1]);
    buttons->addStretch();
    top->addLayout(buttons);
    layout->addLayout(top);

    auto* frameService = new QGroupBox;
    frameService->setObjectName("frameService");
    Caption(frameService, 869);
    auto* fields = new QGridLayout(frameService);
    const int labels[session::ServerListModel::kFieldCount] = {135, 326, 849, 11, 328, 151};
    QLineEdit* txt[session::ServerListModel::kFieldCount];
    for (int i = 0; i < session::ServerListModel::kFieldCount; ++i) {
        auto* l = new QLabel;
        l->setObjectName(QString("lbNetwork_%1").arg(i));
        Caption(l, labels[i]);
        txt[i] = new QLineEdit;
        txt[i]->setObjectName(QString("txtNetwork_%1").arg(i));
        if (i == session::ServerListModel::kPassword) txt[i]->setEchoMode(QLineEdit::Password);
        if (i <= session::ServerListModel::kPort) txt[i]->installEventFilter(this);
        fields->addWidget(l, i / 2, (i % 2) * 2);
        fields->addWidget(txt[i], i / 2, (i % 2) * 2 + 1);
    }
    auto* chkAccountSave = new QCheckBox;
    chkAccountSave->setObjectName("chkAccountSave");
    Caption(chkAccountSave, 865);
    fields->addWidget(chkAccountSave, 3, 1);
    auto* lbID = new QLabel("ID");
    fields->addWidget(lbID, 3, 2);
    auto* txtID = new QLineEdit;
    txtID->setObjectName("txtID");
    fields->addWidget(txtID, 3, 3);
    layout->addWidget(frameService);

    auto* frameSearch = new QGroupBox;
    frameSearch->setObjectName("frameSearch");
    Caption(frameSearch, 868);
    auto* sl = new QVBoxLayout(frameSearch);
    auto* cameraList = new QTableWidget;
    cameraList->setObjectName("CameraList");
    cameraList->setMinimumHeight(120);
    sl->addWidget(cameraList);
    auto* searchRow = new QHBoxLayout;
    auto* searchStatus = new QLabel;
    searchStatus->setObjectName("lbSearchStatus");
    searchRow->addWidget(searchStatus, 1);
    auto* research = new QPushButton;
    research->setObjectName("CmdResearch");
    research->setIcon(Icon("btn-search"));
    Caption(research, 866);
    auto* exitSearch = new QPushButton;
    exitSearch->setObjectName("cmdExitSearch");
    exitSearch->setIcon(Icon("btn-test"));
    Caption(exitSearch, 867);
    searchRow->addWidget(research);
    searchRow->addWidget(exitSearch);
    sl->addLayout(searchRow);
    layout->addWidget(frameSearch);

    binder_.grid(
        grid,
        [this] {
            const auto h = model_.headings();
            return std::vector<std::string>(h.begin(), h.end());
        },
        [this] { return CellsOf(model_.grid); }, [this] { return model_.selectedRow; },
        [this](int row) { model_.gridServiceList_Click(row); });
    grid->horizontalHeader()->setStretchLastSection(false);
    // The columns are laid out once they exist (after the first fill); then their widths are the
    // user's.
    binder_.custom([grid] {
        constexpr int kLast = session::ServerListModel::kColumnCount - 1;
        if (grid->columnCount() != session::ServerListModel::kColumnCount || grid->isColumnHidden(kLast)) return;
        grid->setColumnHidden(kLast, true);
        grid->setColumnWidth(0, 40);
        grid->setColumnWidth(1, 40);
        grid->setColumnWidth(2, 150);
        grid->setColumnWidth(3, 90);
        grid->setColumnWidth(4, 130);
        grid->horizontalHeader()->setSectionResizeMode(5, QHeaderView::Stretch);
    });
    for (int i = 0; i < 5; ++i)
        binder_.button(cmdSave[i], [this, i] { model_.cmdSave_Click(i); },
                       [this, i] { return model_.cmdSaveEnabled[static_cast<size_t>(i)]; });
    for (int i = 0; i < 2; ++i)
        binder_.button(upDown[i], [this, i] { model_.imgUpDown_Click(i); },
                       [this, i] { return model_.imgUpDownEnabled[static_cast<size_t>(i)]; });
    binder_.visible(frameService, [this] { return model_.frameService; });
    for (int i = 0; i < session::ServerListModel::kFieldCount; ++i)
        binder_.text(txt[i], [this, i] { return model_.txtNetwork[static_cast<size_t>(i)]; },
                     [this, i](const std::string& t) { model_.txtNetwork[static_cast<size_t>(i)] = t; },
                     [this] { return model_.fieldsEnabled; });
    binder_.check(chkAccountSave, [this] { return model_.chkAccountSave; },
                  [this](bool on) { model_.chkAccountSave = on; }, [this] { return model_.fieldsEnabled; });
    binder_.text(txtID, [this] { return model_.txtID; });
    binder_.visible(frameSearch, [this] { return model_.frameSearch; });
    binder_.grid(
        cameraList,
        [this] {
            const auto h = model_.foundHeadings();
            return std::vector<std::string>(h.begin(), h.end());
        },
        [this] { return CellsOf(model_.foundGrid); }, {}, [this](int row) { model_.CameraList_Click(row); });
    cameraList->horizontalHeader()->setStretchLastSection(true);
    binder_.label(searchStatus, [this] { return model_.searchStatus; });
    binder_.button(research, [this] { model_.CmdResearch_Click(); }, [this] { return model_.researchEnabled; });
    binder_.button(exitSearch, [this] { model_.cmdExitSearch_Click(); });
    binder_.afterAction = [this] { closeIfDone(); };

    ApplyCaptions(this, lang_);
    binder_.refresh();
    timer_ = new QTimer(this);
    connect(timer_, &QTimer::timeout, this, [this] { tick(); });
    timer_->start(1000);
    resize(760, 520);
}

void ServerListDialog::refresh() {
    // What the link changed shows at once, not at the next tick.
    model_.ShowONStatus();
    binder_.refresh();
}

void ServerListDialog::tick() {
    model_.Timer();
    binder_.refresh();
}

void ServerListDialog::closeIfDone() {
    if (model_.closed) accept();
}

void ServerListDialog::reject() {
    // The close box closes as the close button does: the list is written back.
    if (!model_.closed) model_.cmdSave_Click(4);
    accept();
}

bool ServerListDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString t = key->text();
        if (t.size() == 1 && t[0].isPrint()) {
            const int index = watched->objectName() == "txtNetwork_0" ? session::ServerListModel::kAddress
                                                                       : session::ServerListModel::kPort;
            const char c = t[0].unicode() < 128 ? static_cast<char>(t[0].unicode()) : '\0';
            if (!session::ServerListModel::txtNetwork_KeyPress(index, c)) return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

}  // namespace kv::ui
