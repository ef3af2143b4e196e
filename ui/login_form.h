// formLogin: servers, language, account, the login and exit buttons and the status line.
#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "ui/binders.h"

class QLabel;
namespace kv::session {
class LoginController;
class LoginFormModel;
}  // namespace kv::session

namespace kv::ui {

class LoginForm : public QWidget {
public:
    LoginForm(session::LoginController& login, session::LoginFormModel& model);

    /// imgServer: the known-server dialog.
    std::function<void()> onServerList;
    /// The service on this machine's dialog (set only where there is a local service to control).
    std::function<void()> onServiceControl;
    /// The form was closed before the configuration opened: the program ends.
    std::function<void()> onClosed;
    /// Every action of the form ends here (the owner refreshes).
    std::function<void()> afterAction;

    void refresh() { binder_.refresh(); }
    void setStatus(const std::string& text);

protected:
    void closeEvent(QCloseEvent* event) override;
    /// While hidden the form is not refreshed: it catches up as it shows again.
    void showEvent(QShowEvent* event) override;

private:
    session::LoginController& login_;
    session::LoginFormModel& model_;
    Binder binder_;
    QLabel* status_ = nullptr;
};

}  // namespace kv::ui
