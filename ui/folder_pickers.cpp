// The folder pickers.
#include "ui/folder_pickers.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "base/lang.h"
#include "recording/page.h"
#include "recording/pickers.h"
#include "recording/subject.h"
#include "ui/look.h"
#include "ui/recording_page.h"

namespace kv::ui {
namespace {

constexpr int kTickMs = 1000;
constexpr int kTextOk = 850, kTextCancel = 852, kTextUp = 982;

// Commit and cancel on the right.
QHBoxLayout* commitRow(QPushButton*& commit, QPushButton*& cancel) {
    auto* row = new QHBoxLayout;
    row->addStretch();
    cancel = new QPushButton(Icon("btn-cancel"), QString());
    cancel->setObjectName("cmdCancel");
    commit = new QPushButton(Icon("btn-check"), QString());
    commit->setObjectName("cmdCommit");
    commit->setDefault(true);
    row->addWidget(cancel);
    row->addWidget(commit);
    return row;
}

QLabel* errorLabel() {
    auto* l = new QLabel;
    l->setObjectName("lbPickerError");
    l->setStyleSheet("color: #a33a2c;");
    l->setWordWrap(true);
    return l;
}

}  // namespace

FolderPickerBase::FolderPickerBase(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang)
    : QDialog(parent), subject_(subject), lang_(lang) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    // The page's font (that of the language) reaches the window too.
    setAttribute(Qt::WA_WindowPropagation);
    timer_ = new QTimer(this);
    timer_->setInterval(kTickMs);
    QObject::connect(timer_, &QTimer::timeout, this, [this] { act([this] { tick(); return true; }); });
    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
}

void FolderPickerBase::refresh() {
    binder_.refresh();
    followTimer();
}

void FolderPickerBase::followTimer() {
    // The model counts its wait in seconds: the timer runs while a listing is out, and the window
    // takes events meanwhile, among them the answer.
    if (loading() && !timer_->isActive()) timer_->start();
    else if (!loading() && timer_->isActive()) timer_->stop();
}

void FolderPickerBase::act(const std::function<bool()>& action) {
    binder_.act([&] { subject_.act(action); });
    followTimer();
}

// ---- formPath ----

FolderPathDialog::FolderPathDialog(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang)
    : FolderPickerBase(parent, subject, lang) {
    setObjectName("formPath");
    resize(420, 380);
    auto* layout = new QVBoxLayout(this);
    auto* drives = new QComboBox;
    drives->setObjectName("Drive1");
    layout->addWidget(drives);
    auto* pathRow = new QHBoxLayout;
    auto* up = new QToolButton;
    up->setObjectName("cmdDir1Up");
    up->setIcon(Icon("btn-up"));
    pathRow->addWidget(up);
    auto* path = new QLabel;
    path->setObjectName("lbDir1Path");
    path->setStyleSheet("font-weight: bold;");
    pathRow->addWidget(path, 1);
    layout->addLayout(pathRow);
    auto* dirs = new QListWidget;
    dirs->setObjectName("Dir1");
    layout->addWidget(dirs, 1);
    auto* progress = new QProgressBar;
    progress->setObjectName("progressDir1");
    progress->setRange(0, 100);
    progress->setTextVisible(false);
    progress->setMaximumHeight(8);
    layout->addWidget(progress);
    auto* error = errorLabel();
    layout->addWidget(error);
    QPushButton *commit = nullptr, *cancel = nullptr;
    layout->addLayout(commitRow(commit, cancel));

    binder_.custom([this, up, commit, cancel] {
        recording::FormPath* f = form();
        const QString title = f ? Q(f->caption) : QString();
        if (windowTitle() != title) setWindowTitle(title);
        up->setToolTip(Q(RecordingText(lang_, kTextUp)));
        commit->setText(Q(lang_.GetText(kTextOk)));
        cancel->setText(Q(lang_.GetText(kTextCancel)));
    });
    binder_.combo(
        drives, [this] { return form() ? form()->Drive1.items : std::vector<std::string>{}; },
        [this] { return form() ? form()->Drive1.index : -1; },
        [this](int i) { act([this, i] { return form() && form()->Drive1_Click(i); }); },
        [this] { return form() && !form()->loading(); });
    binder_.label(path, [this] { return form() ? form()->Dir1Path : std::string(); });
    // The folders by their last part; the model has them as full paths.
    binder_.custom([this, dirs] {
        std::vector<std::string> none;
        const std::vector<std::string>& list = form() ? form()->Dir1 : none;
        QStringList names;
        for (const std::string& full : list) {
            QString p = Q(full);
            while (p.endsWith('\\')) p.chop(1);
            names << p.section('\\', -1);
        }
        QStringList shown;
        for (int i = 0; i < dirs->count(); ++i) shown << dirs->item(i)->text();
        if (shown != names) {
            const QSignalBlocker block(dirs);
            dirs->clear();
            for (const QString& n : names) dirs->addItem(new QListWidgetItem(Icon("menu-backup"), n));
        }
    });
    QObject::connect(dirs, &QListWidget::itemDoubleClicked, this, [this, dirs](QListWidgetItem* item) {
        const int row = dirs->row(item);
        act([this, row] { return form() && form()->Dir1_DblClick(row); });
    });
    binder_.button(up, [this] { act([this] { return form() && form()->Dir1_Up(); }); },
                   [this] { return form() && !form()->loading(); });
    binder_.custom([this, progress] {
        const bool busy = form() && form()->loading();
        progress->setVisible(busy);
        if (busy && progress->value() != form()->progress()) progress->setValue(form()->progress());
    });
    binder_.label(error, [this] { return form() ? form()->errorText : std::string(); });
    binder_.button(commit, [this] { act([this] { return form() && form()->cmdCommit_Click(); }); },
                   [this] { return form() && !form()->loading(); });
    QObject::connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

recording::FormPath* FolderPathDialog::form() const {
    recording::RecordingPage* page = subject_.page();
    return page ? page->storage.formPath() : nullptr;
}

bool FolderPathDialog::loading() const { return form() && form()->loading(); }

void FolderPathDialog::tick() {
    if (recording::FormPath* f = form()) f->Timer1000();
}

void FolderPathDialog::reject() {
    if (form()) act([this] {
        form()->cmdCancel_Click();
        return true;
    });
    QDialog::reject();
}

// ---- FormRemoteDriveList ----

RemoteFolderDialog::RemoteFolderDialog(QWidget* parent, recording::RecordingSubject& subject,
                                       const base::Language& lang)
    : FolderPickerBase(parent, subject, lang) {
    setObjectName("FormRemoteDriveList");
    resize(420, 420);
    auto* layout = new QVBoxLayout(this);
    tree_ = new QTreeWidget;
    tree_->setObjectName("treeRemoteFolder");
    tree_->setHeaderHidden(true);
    layout->addWidget(tree_, 1);
    auto* progress = new QProgressBar;
    progress->setObjectName("progressLoadDriveList");
    progress->setRange(0, 100);
    progress->setTextVisible(false);
    progress->setMaximumHeight(8);
    layout->addWidget(progress);
    auto* error = errorLabel();
    layout->addWidget(error);
    QPushButton *commit = nullptr, *cancel = nullptr;
    layout->addLayout(commitRow(commit, cancel));

    binder_.custom([this, commit, cancel] {
        recording::FormRemoteDriveList* f = form();
        const QString title = f ? Q(f->caption) : QString();
        if (windowTitle() != title) setWindowTitle(title);
        commit->setText(Q(lang_.GetText(kTextOk)));
        cancel->setText(Q(lang_.GetText(kTextCancel)));
    });
    binder_.custom([this] { showTree(); });
    // The bar stays in its place; it moves while a listing is out.
    binder_.custom([this, progress] {
        const int value = form() ? form()->progressLoadDriveList : 0;
        if (progress->value() != value) progress->setValue(value);
    });
    binder_.label(error, [this] { return form() ? form()->errorText : std::string(); });
    binder_.button(commit, [this] { act([this] { return form() && form()->cmdCommit_Click(); }); },
                   [this] { return form() && form()->selectedNode >= 0; });
    QObject::connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    // Opening a node asks the model, which may refuse while another listing is out: the refresh
    // then folds the node back.
    QObject::connect(tree_, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* item) {
        const int node = nodeOf(item);
        act([this, node] { return form() && form()->treeRemoteFolder_Expand(node); });
    });
    QObject::connect(tree_, &QTreeWidget::itemCollapsed, this, [this](QTreeWidgetItem* item) {
        const int node = nodeOf(item);
        act([this, node] {
            if (form()) form()->treeRemoteFolder_Collapse(node);
            return true;
        });
    });
    QObject::connect(tree_, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        const int node = nodeOf(item);
        act([this, node] { return form() && form()->treeRemoteFolder_NodeClick(node); });
    });
}

recording::FormRemoteDriveList* RemoteFolderDialog::form() const {
    recording::RecordingPage* page = subject_.page();
    return page ? page->storage.formRemoteDriveList() : nullptr;
}

bool RemoteFolderDialog::loading() const { return form() && form()->loading(); }

void RemoteFolderDialog::tick() {
    if (recording::FormRemoteDriveList* f = form()) f->Timer1000();
}

int RemoteFolderDialog::nodeOf(QTreeWidgetItem* item) const {
    return item ? item->data(0, Qt::UserRole).toInt() : -1;
}

void RemoteFolderDialog::showTree() {
    const QSignalBlocker block(tree_);
    recording::FormRemoteDriveList* f = form();
    const std::vector<recording::FolderNode> none;
    const std::vector<recording::FolderNode>& nodes = f ? f->treeRemoteFolder : none;
    if (nodes.size() < items_.size()) {
        tree_->clear();
        items_.clear();
    }
    // Nodes are only ever appended, each after its parent.
    for (size_t i = items_.size(); i < nodes.size(); ++i) {
        const recording::FolderNode& n = nodes[i];
        auto* item = new QTreeWidgetItem;
        item->setData(0, Qt::UserRole, static_cast<int>(i));
        item->setText(0, Q(n.text));
        item->setIcon(0, Icon(n.parent < 0 ? "menu-save" : "menu-backup"));
        if (n.parent >= 0 && static_cast<size_t>(n.parent) < items_.size()) items_[static_cast<size_t>(n.parent)]->addChild(item);
        else tree_->addTopLevelItem(item);
        items_.push_back(item);
    }
    for (size_t i = 0; i < nodes.size(); ++i) {
        const recording::FolderNode& n = nodes[i];
        QTreeWidgetItem* item = items_[i];
        // A node not read yet may have folders: it offers to open.
        const auto policy = n.loaded ? QTreeWidgetItem::DontShowIndicatorWhenChildless : QTreeWidgetItem::ShowIndicator;
        if (item->childIndicatorPolicy() != policy) item->setChildIndicatorPolicy(policy);
        if (item->isExpanded() != n.expanded) item->setExpanded(n.expanded);
    }
    QTreeWidgetItem* selected = f && f->selectedNode >= 0 && static_cast<size_t>(f->selectedNode) < items_.size()
                                    ? items_[static_cast<size_t>(f->selectedNode)]
                                    : nullptr;
    if (tree_->currentItem() != selected) tree_->setCurrentItem(selected);
}

void RemoteFolderDialog::reject() {
    if (form()) act([this] {
        form()->cmdCancel_Click();
        return true;
    });
    QDialog::reject();
}

}  // namespace kv::ui
