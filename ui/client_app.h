// The desktop client as one object: the start sequence, the link with its Qt executor, the
// session, the forms and the one-second timer, wired together.
#pragma once

#include <QObject>
#include <QPointer>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "session/client_host.h"
#include "session/server_list.h"
#include "session/session.h"
#include "app/shell.h"
#include "session/start.h"
#include "base/log.h"
#include "link/tcp_link.h"
#include "ui/message_box.h"
#include "ui/qt_executor.h"

class QTimer;
namespace kv::admin {
class ServerPageModel;
}
namespace kv::app {
class LocalServiceControl;
}
namespace kv::channels {
class ChannelSubject;
}
namespace kv::store {
class LocalDatabase;
}
namespace kv::users {
class UserPage;
}

namespace kv::ui {

class ChannelPageWidget;
class ConfigWindow;
class LoginForm;
class Page;
class ServerListDialog;

/// The name the program gives itself to the link and in its log.
inline constexpr const char* kAppTitle = "KelvarraConfig";
/// The title of its windows and boxes.
inline constexpr const char* kWindowTitle = "Kelvarra 64 Config Wizard";

struct ClientOptions {
    std::filesystem::path home;
    std::string commandLine;
    /// A QTimer calls tick() each second (the tests call it themselves).
    bool timer = true;
    /// Query and control the service on this machine.
    bool localService = true;
    /// The control of the local service to use instead of the one for this machine (not owned).
    app::LocalServiceControl* localControl = nullptr;
    /// "address:port" where the LAN search is sent (empty: the broadcast default).
    std::string discovery;
};

class ClientApp : public app::ShellHost {
public:
    explicit ClientApp(ClientOptions options);
    ~ClientApp() override;
    ClientApp(const ClientApp&) = delete;
    ClientApp& operator=(const ClientApp&) = delete;

    /// The start sequence and the login form (with the automatic login of the command line).
    /// False when the program ends at once.
    bool start();
    /// The one-second timer of the login form and of the configuration window.
    void tick();
    bool ended() const { return ended_; }
    /// Called once when the last form has gone.
    std::function<void()> onFinished;

    /// The known-server dialog over the login form (not blocking).
    ServerListDialog* openServerList();
    /// Model to widgets for what is on screen: the login form, the open dialogs, the window and
    /// the page it shows. A page that is not shown is refreshed when it is shown.
    void refreshAll();
    /// LoadLang on every form: captions and fonts of the language in force.
    void repaintCaptions();

    // What the tests and the screenshot tour reach.
    session::StartSequence& startSequence() { return start_; }
    session::Session* session() const { return session_.get(); }
    session::LoginFormModel* loginModel() const { return loginModel_.get(); }
    app::ShellModel* shell() const { return shell_.get(); }
    admin::ServerPageModel* serverPage() const;
    users::UserPage* userPage() const;
    session::ServerListModel* serverListModel() const { return serverList_.get(); }
    LoginForm* loginForm() const;
    ConfigWindow* configWindow() const;
    ServerListDialog* serverListDialog() const;
    UiPrompter& prompter() { return prompter_; }
    /// The channel subject (its models); null before the session exists.
    channels::ChannelSubject* channelSubject() const;
    /// The channel page with its dialogs; null before the configuration opens.
    ChannelPageWidget* channelPage() const;
    link::TcpLink& link() { return link_; }

    // ShellHost.
    void showCloseProgress(bool show, const std::string& text) override;
    void removeTemporaryPictures() override;
    void unloadForms() override;
    std::optional<std::string> askPassword(const std::string& text, const std::string& title) override;

private:
    void enterConfiguration(int32_t frame);
    /// The subjects join the shell; each page factory puts its widget under its menu entry.
    void registerPages();
    void addPage(int32_t menuIndex, Page* page);
    void end();
    void scheduleRefresh();
    std::vector<QWidget*> forms() const;

    ClientOptions options_;
    QObject context_;
    QtExecutor executor_{&context_};
    link::TcpLink link_{executor_};
    base::Log log_{kAppTitle};
    UiPrompter prompter_;
    session::StartSequence start_{prompter_, log_, kAppTitle};
    session::InstanceLock lock_;
    app::SystemClock clock_;
    std::unique_ptr<app::LocalServiceControl> ownLocalService_;
    app::LocalServiceControl* localService_ = nullptr;
    std::unique_ptr<store::LocalDatabase> db_;
    std::unique_ptr<session::ClientHost> host_;
    std::unique_ptr<session::Session> session_;
    std::unique_ptr<session::LoginFormModel> loginModel_;
    std::unique_ptr<app::ShellModel> shell_;
    std::unique_ptr<session::ServerListModel> serverList_;
    QPointer<LoginForm> loginForm_;
    QPointer<ConfigWindow> config_;
    QPointer<ServerListDialog> serverListDialog_;
    std::vector<QPointer<Page>> pages_;
    QTimer* timer_ = nullptr;
    bool ended_ = false;
    bool refreshPending_ = false;
    // A tick runs; one that a nested event loop would start meanwhile is skipped.
    bool ticking_ = false;
};

}  // namespace kv::ui
