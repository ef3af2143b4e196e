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

ServiceCtrlDialog::ServiceCtrlDialog(QWidget* parent, app::LocalServiceControl& control, const base::Language& lang,
                                     bool forLogin)
    : QDialog(parent), model_(control, 30, forLogin), lang_(lang) {
    setObjectName("Form_ServiceCtrl");
    Caption(this, 405);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel;
    title->setObjectName("lbServiceControlTitle");
    title->setProperty("status", false);
    Caption(title, 405);
    layout->addWidget(title);
    auto* state = new QLabel;
    state->setObjectName("lbState");
    layout->addWidget(state);
    auto* status = new QLabel;
    status->setObjectName("lbStatus");
    status->setWordWrap(true);
    status->setMinimumWidth(340);
    layout->addWidget(status);
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* install = new QPushButton("Install");
    install->setObjectName("imgInstall");
    row->addWidget(install);
    auto* start = new QPushButton;
    start->setObjectName("imgButton");
    start->setIcon(Icon("btn-start"));
    Caption(start, 72);
    row->addWidget(start);
    auto* stop = new QPushButton;
    stop->setObjectName("imgStop");
    Caption(stop, 919);
    row->addWidget(stop);
    auto* remove = new QPushButton;
    remove->setObjectName("imgRemove");
    Caption(remove, 861);
    row->addWidget(remove);
    layout->addLayout(row);

    binder_.label(state, [this] { return model_.stateText; });
    binder_.label(status, [this] { return statusText(); });
    auto others = [this] { return model_.otherButtonsEnabled; };
    binder_.button(
        install, [this] { model_.imgInstall_Click(); }, others, [this] { return model_.installButtonVisible; });
    binder_.button(
        stop, [this] { model_.imgStop_Click(); }, others, [this] { return model_.stopButtonVisible; });
    binder_.button(
        remove, [this] { model_.imgRemove_Click(); }, others, [this] { return model_.removeButtonVisible; });
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
