// The local service dialog's widgets, bound to its model.
#include "ui/service_ctrl_dialog.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {

ServiceCtrlDialog::ServiceCtrlDialog(QWidget* parent, app::LocalServiceControl& control, const base::Language& lang)
    : QDialog(parent), model_(control), lang_(lang) {
    setObjectName("Form_ServiceCtrl");
    Caption(this, 405);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel;
    title->setObjectName("lbServiceControlTitle");
    title->setProperty("status", false);
    Caption(title, 405);
    layout->addWidget(title);
    auto* status = new QLabel;
    status->setObjectName("lbStatus");
    status->setWordWrap(true);
    status->setMinimumWidth(340);
    layout->addWidget(status);
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* start = new QPushButton;
    start->setObjectName("imgButton");
    start->setIcon(Icon("btn-start"));
    Caption(start, 72);
    row->addWidget(start);
    layout->addLayout(row);

    binder_.label(status, [this] { return statusText(); });
    binder_.button(
        start,
        [this] {
            startSeconds_ = QDateTime::currentSecsSinceEpoch();
            model_.imgButton_Click();
        },
        [this] { return model_.startButtonEnabled; }, [this] { return model_.startButtonVisible; });
    binder_.afterAction = [this] {
        if (model_.closed) accept();
    };
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this] { tick(); });
    timer->start(1000);
    ApplyCaptions(this, lang_);
}

std::string ServiceCtrlDialog::statusText() const { return model_.statusText(lang_); }

void ServiceCtrlDialog::tick() {
    model_.Timer1(static_cast<int32_t>(QDateTime::currentSecsSinceEpoch() - startSeconds_));
    binder_.refresh();
    if (model_.closed) accept();
}

int32_t ServiceCtrlDialog::run() {
    model_.open();
    if (model_.closed) return model_.state;
    binder_.refresh();
    exec();
    return model_.state;
}

}  // namespace kv::ui
