// The camera search dialog.
#include "ui/search_dialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "base/lang.h"
#include "channels/channel_page.h"
#include "channels/search.h"
#include "ui/look.h"

namespace kv::ui {
namespace {
// The model counts its wait in seconds; the dialog looks for the answer more often than that.
constexpr int kPollMs = 200;
constexpr int kPollsPerTick = 1000 / kPollMs;
}  // namespace

SearchDialog::SearchDialog(QWidget* parent, channels::FormSearch& model, channels::ChannelPage& page,
                           const base::Language& lang)
    : QDialog(parent), model_(model), page_(page) {
    setObjectName("FormSearch");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Q(lang.GetText(912)));
    resize(640, 420);
    auto* layout = new QVBoxLayout(this);
    auto* hint = new QLabel;
    hint->setObjectName("lbSearchHint");
    Caption(hint, 913);
    hint->setText(Q(lang.GetText(913)));
    layout->addWidget(hint);

    auto* list = new QTableWidget(0, 5);
    list->setObjectName("CameraList");
    list->horizontalHeader()->setStretchLastSection(true);
    list->verticalHeader()->setDefaultSectionSize(22);
    layout->addWidget(list, 1);

    auto* progress = new QProgressBar;
    progress->setObjectName("progressSearch");
    progress->setRange(0, 0);
    progress->setFormat(Q(model_.progressTitle));
    progress->setTextVisible(true);
    layout->addWidget(progress);

    auto* buttons = new QHBoxLayout;
    auto* again = new QPushButton(Icon("btn-search"), Q(lang.GetText(866)));
    again->setObjectName("CmdResearch");
    buttons->addWidget(again);
    buttons->addStretch();
    auto* close = new QPushButton(Icon("btn-close"), Q(lang.GetText(864)));
    close->setObjectName("cmdClose");
    buttons->addWidget(close);
    layout->addLayout(buttons);

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    binder_.grid(
        list,
        [this] {
            const auto& t = model_.CameraList.front();
            return std::vector<std::string>(t.begin(), t.end());
        },
        [this] {
            Cells rows = CellsOf(model_.CameraList);
            rows.erase(rows.begin());
            return rows;
        });
    // Address and brand first, wide enough for their texts; the port narrow.
    const int widths[5] = {130, 140, 120, 60, 0};
    for (int c = 0; c < 4; ++c) list->setColumnWidth(c, widths[c]);
    QObject::connect(list, &QTableWidget::cellDoubleClicked, this, [this](int row, int) {
        bool taken = false;
        binder_.act([&] { taken = model_.CameraList_DblClick(row + 1, page_); });
        if (taken) accept();
    });
    binder_.visible(progress, [this] { return model_.searching; });
    binder_.button(again, [this] { model_.CmdResearch_Click(); }, [this] { return !model_.searching; });
    QObject::connect(close, &QPushButton::clicked, this, &QDialog::reject);
    QObject::connect(this, &QDialog::finished, this, [this] {
        timer_->stop();
        if (afterAction) afterAction();
    });

    timer_ = new QTimer(this);
    timer_->setInterval(kPollMs);
    QObject::connect(timer_, &QTimer::timeout, this, [this] { poll(); });
}

void SearchDialog::start() {
    model_.StartSearch();
    timer_->start();
    refresh();
    open();
}

void SearchDialog::poll() {
    if (model_.poll(kPollsPerTick)) refresh();
}

}  // namespace kv::ui
