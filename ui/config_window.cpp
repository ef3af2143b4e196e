// The configuration window's widgets, bound to the shell model.
#include "ui/config_window.h"

#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QStackedWidget>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {
namespace {

const char* const kMenuIcons[app::kMenuCount] = {
    "menu-server",    "menu-channel", "menu-intelligent", "menu-event", "menu-emap", "menu-user", "menu-recording",
    "menu-counting",  "menu-backup",  "menu-pos",         "menu-save",  "menu-log",  "menu-exit"};

QString colourName(uint32_t systemColour) {
    return QString("#%1").arg(app::RgbOf(systemColour), 6, 16, QChar('0'));
}

}  // namespace

ConfigWindow::ConfigWindow(app::ShellModel& shell, const base::Language& lang) : shell_(shell), lang_(lang) {
    setObjectName("Form_Config_Main");
    setWindowTitle("Kelvarra 64 Config Wizard");
    setWindowIcon(Icon("logo"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);

    auto* header = new QWidget;
    header->setObjectName("headerBar");
    header->setAttribute(Qt::WA_StyledBackground);
    auto* hl = new QHBoxLayout(header);
    hl->setContentsMargins(14, 8, 14, 8);
    auto* logo = new QLabel;
    logo->setPixmap(Icon("logo").pixmap(34, 34));
    hl->addWidget(logo);
    auto* title = new QLabel("Kelvarra 64 Config Wizard");
    title->setObjectName("lbTitle");
    hl->addWidget(title, 1);
    server_ = new QLabel;
    server_->setObjectName("lbServer");
    server_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    hl->addWidget(server_);
    outer->addWidget(header);

    auto* middle = new QHBoxLayout;
    middle->setSpacing(0);
    auto* menuBar = new QWidget;
    menuBar->setObjectName("menuBar");
    menuBar->setAttribute(Qt::WA_StyledBackground);
    auto* ml = new QVBoxLayout(menuBar);
    ml->setContentsMargins(0, 8, 0, 8);
    ml->setSpacing(1);
    for (size_t i = 0; i < app::kMenuCount; ++i) {
        auto* b = new QToolButton;
        b->setObjectName(QString("lbMenu_%1").arg(i));
        b->setProperty("menu", true);
        b->setIcon(Icon(kMenuIcons[i]));
        b->setIconSize(QSize(22, 22));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        b->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        b->setMinimumWidth(170);
        Caption(b, shell_.lbMenu[i].textId);
        if (i == static_cast<size_t>(app::menu::kSave) || i == static_cast<size_t>(app::menu::kLog)) ml->addSpacing(12);
        ml->addWidget(b);
        menu_[i] = b;
        const int32_t index = static_cast<int32_t>(i);
        binder_.button(b, [this, index] { shell_.lbMenu_Click(index); });
    }
    ml->addStretch();
    middle->addWidget(menuBar);

    pages_ = new QStackedWidget;
    pages_->setObjectName("framePages");
    blank_ = new QWidget;
    pages_->addWidget(blank_);
    loading_ = new QWidget;
    loading_->setObjectName("frameLoading");
    auto* ll = new QVBoxLayout(loading_);
    ll->addStretch();
    auto* lt = new QLabel;
    lt->setObjectName("lbLoading");
    lt->setAlignment(Qt::AlignCenter);
    Caption(lt, 821);
    ll->addWidget(lt);
    auto* busy = new QProgressBar;
    busy->setRange(0, 0);
    busy->setMaximumWidth(320);
    ll->addWidget(busy, 0, Qt::AlignHCenter);
    ll->addStretch();
    pages_->addWidget(loading_);
    middle->addWidget(pages_, 1);
    outer->addLayout(middle, 1);

    auto* bottom = new QHBoxLayout;
    bottom->setSpacing(0);
    status_ = new QLabel;
    status_->setObjectName("lbStatus");
    status_->setProperty("status", true);
    bottom->addWidget(status_, 1);
    exportProgress_ = new QLabel;
    exportProgress_->setObjectName("lbExportProgress");
    exportProgress_->setProperty("status", true);
    bottom->addWidget(exportProgress_);
    outer->addLayout(bottom);

    progress_ = new QFrame(this);
    progress_->setObjectName("frameCloseProgress");
    auto* pl = new QVBoxLayout(progress_);
    progressText_ = new QLabel;
    progressText_->setAlignment(Qt::AlignCenter);
    pl->addWidget(progressText_);
    auto* pb = new QProgressBar;
    pb->setRange(0, 0);
    pl->addWidget(pb);
    progress_->resize(360, 90);
    progress_->hide();

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    binder_.custom([this] {
        for (size_t i = 0; i < app::kMenuCount; ++i) {
            const app::MenuEntry& e = shell_.lbMenu[i];
            QToolButton* b = menu_[i];
            b->setEnabled(e.enabled);
            const bool selected = static_cast<int32_t>(i) == shell_.iCurMenu;
            if (b->property("selected").toBool() != selected) {
                b->setProperty("selected", selected);
                b->style()->unpolish(b);
                b->style()->polish(b);
            }
            const QString look = e.enabled ? QString("color: %1;").arg(colourName(e.colour)) : QString("color: #b9bec7;");
            if (b->styleSheet() != look) b->setStyleSheet(look);
            const QString tip = Q(lang_.GetText(e.enabled || e.tooltipId == 0 ? e.textId : e.tooltipId));
            if (b->toolTip() != tip) b->setToolTip(tip);
        }
        QWidget* shown = blank_;
        if (const auto it = pageOf_.find(shell_.iCurMenu); it != pageOf_.end())
            shown = shell_.pageLoading(shell_.iCurMenu) ? loading_ : it->second;
        if (pages_->currentWidget() != shown) pages_->setCurrentWidget(shown);
        if (const QString t = Q(shell_.exportProgressText); exportProgress_->text() != t) exportProgress_->setText(t);
        exportProgress_->setVisible(!shell_.exportProgressText.empty());
        if (const QString t = Q(shell_.closeProgressText); progressText_->text() != t) progressText_->setText(t);
        progress_->setVisible(shell_.closeProgressVisible);
        if (progress_->isVisible()) progress_->raise();
    });

    // TopWindows and the place the command line gives.
    if (shell_.onTop()) setWindowFlag(Qt::WindowStaysOnTopHint, true);
    resize(1220, 820);
    const auto [left, top] = shell_.placement();
    if (left != -1 || top != -1) move(left != -1 ? left : x(), top != -1 ? top : y());
}

void ConfigWindow::setHeader(const std::string& server, const std::string& user) {
    server_->setText(Q(server) + "\n" + Q(lang_.GetText(870)) + " " + Q(user));
}

void ConfigWindow::addPage(int32_t menuIndex, QWidget* page) {
    pages_->addWidget(page);
    pageOf_[menuIndex] = page;
}

QWidget* ConfigWindow::shownPage() const {
    QWidget* shown = pages_->currentWidget();
    return shown == blank_ || shown == loading_ ? nullptr : shown;
}

QWidget* ConfigWindow::page(int32_t menuIndex) const {
    const auto it = pageOf_.find(menuIndex);
    return it == pageOf_.end() ? nullptr : it->second;
}

void ConfigWindow::refresh() { binder_.refresh(); }

void ConfigWindow::setStatus(const std::string& text) { status_->setText(Q(text)); }

void ConfigWindow::showCloseProgress(bool show, const std::string& text) {
    progressText_->setText(Q(text));
    progress_->setVisible(show);
    placeProgress();
    if (show) {
        progress_->raise();
        // The way out blocks on its last commands: the frame is painted before they go.
        repaint();
    }
}

void ConfigWindow::placeProgress() {
    progress_->move((width() - progress_->width()) / 2, (height() - progress_->height()) / 2);
}

void ConfigWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeProgress();
}

void ConfigWindow::closeEvent(QCloseEvent* event) {
    if (shell_.ended || shell_.Form_QueryUnload()) {
        event->accept();
    } else {
        event->ignore();
        refresh();
    }
    if (afterAction) afterAction();
}

}  // namespace kv::ui
