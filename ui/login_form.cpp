// The login form's widgets, bound to the login controller and the form's model.
#include "ui/login_form.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "session/client_host.h"
#include "session/login.h"
#include "ui/look.h"

namespace kv::ui {
namespace {
constexpr int32_t kTextLocalService = 930;
}  // namespace

LoginForm::LoginForm(session::LoginController& login, session::LoginFormModel& model) : login_(login), model_(model) {
    setObjectName("formLogin");
    Caption(this, 159);
    setWindowIcon(Icon("logo"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* header = new QWidget;
    header->setObjectName("headerBar");
    header->setAttribute(Qt::WA_StyledBackground);
    auto* hl = new QHBoxLayout(header);
    hl->setContentsMargins(16, 12, 16, 12);
    auto* logo = new QLabel;
    logo->setPixmap(Icon("logo").pixmap(44, 44));
    hl->addWidget(logo);
    auto* title = new QLabel("Kelvarra 64\nConfig Wizard");
    title->setObjectName("lbTitle");
    hl->addWidget(title, 1);
    layout->addWidget(header);

    auto* body = new QWidget;
    auto* form = new QFormLayout(body);
    form->setContentsMargins(20, 16, 20, 8);
    form->setVerticalSpacing(9);
    form->setHorizontalSpacing(12);

    auto* cmbService = new QComboBox;
    cmbService->setObjectName("cmbService");
    cmbService->setMinimumWidth(240);
    auto* imgServer = new QToolButton;
    imgServer->setObjectName("imgServer");
    imgServer->setIcon(Icon("btn-server-list"));
    imgServer->setIconSize(QSize(20, 20));
    SetMark(imgServer, "TOOLTIP", 149);
    auto* serverRow = new QHBoxLayout;
    serverRow->addWidget(cmbService, 1);
    serverRow->addWidget(imgServer);
    // The service on this machine: its state, and start, stop, install or remove it.
    auto* imgServiceCtrl = new QToolButton;
    imgServiceCtrl->setObjectName("imgServiceCtrl");
    imgServiceCtrl->setIcon(Icon("btn-start"));
    imgServiceCtrl->setIconSize(QSize(20, 20));
    SetMark(imgServiceCtrl, "TOOLTIP", kTextLocalService);
    serverRow->addWidget(imgServiceCtrl);
    auto* lbServer = new QLabel;
    Caption(lbServer, 8);
    form->addRow(lbServer, serverRow);

    auto* imgCmbLanguage = new QComboBox;
    imgCmbLanguage->setObjectName("imgCmbLanguage");
    imgCmbLanguage->setIconSize(QSize(24, 16));
    auto* lbLanguage = new QLabel;
    Caption(lbLanguage, 9);
    form->addRow(lbLanguage, imgCmbLanguage);

    auto* user = new QLineEdit;
    user->setObjectName("txtLogin_0");
    auto* lbUser = new QLabel;
    Caption(lbUser, 10);
    form->addRow(lbUser, user);
    auto* pass = new QLineEdit;
    pass->setObjectName("txtLogin_1");
    auto* lbPass = new QLabel;
    Caption(lbPass, 11);
    form->addRow(lbPass, pass);
    auto* show = new QCheckBox;
    show->setObjectName("chkShowPassword");
    Caption(show, 822);
    form->addRow(QString(), show);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* loginBtn = new QPushButton;
    loginBtn->setObjectName("imgLoginBtn_0");
    loginBtn->setIcon(Icon("btn-login"));
    loginBtn->setDefault(true);
    Caption(loginBtn, 12);
    auto* exitBtn = new QPushButton;
    exitBtn->setObjectName("imgLoginBtn_1");
    exitBtn->setIcon(Icon("menu-exit"));
    Caption(exitBtn, 813);
    buttons->addWidget(loginBtn);
    buttons->addWidget(exitBtn);
    form->addRow(buttons);
    layout->addWidget(body);

    status_ = new QLabel;
    status_->setObjectName("lbLoginStatus");
    status_->setProperty("status", true);
    status_->setWordWrap(true);
    status_->setMinimumHeight(44);
    layout->addWidget(status_);

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    binder_.combo(
        cmbService,
        [this] { return model_.cmbService; }, [this] { return login_.cmbServiceIndex; },
        [this](int i) { model_.cmbService_Click(i); }, {}, [](size_t) { return Icon("menu-server"); });
    binder_.button(imgServer, [this] {
        if (onServerList) onServerList();
    }, {}, [this] { return model_.serverButtonVisible; });
    binder_.button(imgServiceCtrl, [this] {
        if (onServiceControl) onServiceControl();
    }, {}, [this] { return static_cast<bool>(onServiceControl); });
    binder_.combo(
        imgCmbLanguage,
        [this] {
            std::vector<std::string> items;
            for (const auto& l : model_.languages) items.push_back(l.name);
            return items;
        },
        [this] { return model_.languageIndex; }, [this](int i) { model_.imgCmbLanguage_Click(i); }, {},
        [this](size_t i) { return i < model_.languages.size() ? FlagIcon(model_.languages[i].flag) : QIcon(); });
    binder_.text(user, [this] { return login_.txtUser; }, [this](const std::string& t) { login_.txtUser = t; });
    binder_.text(pass, [this] { return login_.txtPassword; }, [this](const std::string& t) { model_.txtPassword_Change(t); });
    binder_.custom([this, pass] {
        const QLineEdit::EchoMode mode = model_.passwordMasked ? QLineEdit::Password : QLineEdit::Normal;
        if (pass->echoMode() != mode) pass->setEchoMode(mode);
    });
    binder_.check(show, [this] { return !model_.passwordMasked; }, [this](bool on) { model_.chkShowPassword_Click(on); });
    binder_.button(loginBtn, [this] { model_.loginClicked(); });
    binder_.button(exitBtn, [this] { login_.imgLoginBtn_Click(1); });
    // Enter in a text field presses the login button.
    for (QLineEdit* e : {user, pass})
        connect(e, &QLineEdit::returnPressed, this, [this] { binder_.act([this] { model_.loginClicked(); }); });
    setMinimumWidth(440);
}

void LoginForm::setStatus(const std::string& text) { status_->setText(Q(text)); }

void LoginForm::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

void LoginForm::closeEvent(QCloseEvent* event) {
    // Closed while it is the only form: the program ends. Hidden behind the configuration, it stays.
    if (login_.bKeepForm && onClosed) onClosed();
    event->accept();
}

}  // namespace kv::ui
