// The second-stream dialog.
#include "ui/rec_detail_dialog.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "base/lang.h"
#include "recording/page.h"
#include "recording/subject.h"
#include "ui/look.h"
#include "ui/recording_page.h"

namespace kv::ui {
namespace {

constexpr int kTextTitle = 967;  // "Second Stream"
constexpr int kTextOk = 850, kTextCancel = 852;
constexpr int kRows = channels::kCamDetailCount;

}  // namespace

RecDetailDialog::RecDetailDialog(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang)
    : QDialog(parent), subject_(subject), lang_(lang) {
    setObjectName("Form_RECDetailSetting");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    // The page's font (that of the language) reaches the window too.
    setAttribute(Qt::WA_WindowPropagation);
    setWindowTitle(Q(RecordingText(lang_, kTextTitle)));
    resize(420, 330);
    auto* layout = new QVBoxLayout(this);

    auto* info = new QLabel;
    info->setObjectName("lbCHInfo");
    info->setStyleSheet("font-weight: bold; color: #2f5d9e;");
    layout->addWidget(info);

    // One row a value: its label, and its combo in the second column.
    auto* grid = new QTableWidget(kRows, 2);
    grid->setObjectName("gridVideoSetting");
    grid->horizontalHeader()->hide();
    grid->verticalHeader()->hide();
    grid->verticalHeader()->setDefaultSectionSize(30);
    grid->setColumnWidth(0, 150);
    grid->horizontalHeader()->setStretchLastSection(true);
    grid->setSelectionMode(QAbstractItemView::NoSelection);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->setFocusPolicy(Qt::NoFocus);
    grid->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    grid->setFixedHeight(kRows * 30 + 2 * grid->frameWidth());
    layout->addWidget(grid);
    layout->addStretch();

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* cancel = new QPushButton(Icon("btn-cancel"), QString());
    cancel->setObjectName("cmdCancel");
    auto* store = new QPushButton(Icon("btn-check"), QString());
    store->setObjectName("imgButton");
    store->setDefault(true);
    buttons->addWidget(cancel);
    buttons->addWidget(store);
    layout->addLayout(buttons);

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    binder_.label(info, [this] { return form() ? form()->lbCHInfo : std::string(); });
    for (int r = 0; r < kRows; ++r) {
        const size_t row = static_cast<size_t>(r);
        auto* label = new QTableWidgetItem;
        label->setFlags(Qt::ItemIsEnabled);
        label->setForeground(QColor("#4a5563"));
        grid->setItem(r, 0, label);
        auto* combo = new QComboBox;
        combo->setObjectName(QString("cmbVideo_%1").arg(r));
        grid->setCellWidget(r, 1, combo);
        binder_.custom([this, label, row] {
            const QString t = form() ? Q(form()->gridVideoSetting[row][0]) : QString();
            if (label->text() != t) label->setText(t);
        });
        binder_.combo(
            combo,
            [this, row] { return form() ? form()->cmbVideo.cmb_CamDetail[row].items : std::vector<std::string>{}; },
            [this, row] { return form() ? form()->cmbVideo.cmb_CamDetail[row].index : -1; },
            [this, r](int item) {
                act([this, r, item] { return form() && form()->cmbVideo_Click(r, item); });
            },
            [this, row] { return form() && form()->cmbVideo.cmb_CamDetail[row].enabled; });
    }
    binder_.custom([this, store, cancel] {
        const QString ok = Q(lang_.GetText(kTextOk)), no = Q(lang_.GetText(kTextCancel));
        if (store->text() != ok) store->setText(ok);
        if (cancel->text() != no) cancel->setText(no);
    });
    // The values go into the working entry of the settings tab, which closes the dialog model.
    binder_.button(store, [this] {
        binder_.act([this] { subject_.commitDualDialog(); });
    }, [this] { return form() != nullptr; });
    QObject::connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

recording::FormRECDetailSetting* RecDetailDialog::form() const {
    recording::RecordingPage* page = subject_.page();
    return page && page->settings.dualDialog ? &*page->settings.dualDialog : nullptr;
}

void RecDetailDialog::act(const std::function<bool()>& action) {
    binder_.act([&] { subject_.act(action); });
}

void RecDetailDialog::reject() {
    // Closing drops the dialog model's choices; the working entry keeps what it had.
    if (form()) {
        act([this] {
            subject_.page()->settings.dualDialogCancel();
            return true;
        });
    }
    QDialog::reject();
}

}  // namespace kv::ui
