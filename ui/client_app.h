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

#include "app/client_host.h"
#include "app/server_list.h"
#include "app/session.h"
#include "app/shell.h"
#include "app/start.h"
#include "base/log.h"
#include "link/tcp_link.h"
#include "ui/message_box.h"
#include "ui/qt_executor.h"

class QTimer;
namespace kv::admin {
class LocalServiceControl;
class ServerPageModel;
}  // namespace kv::admin
namespace kv::store {
class LocalDatabase;
}
namespace kv::users {
class UserPage;
}

namespace kv::ui {

class ChannelSubject;
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
    admin::LocalServiceControl* localControl = nullptr;
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
    void refreshAll();
    /// LoadLang on every form: captions and fonts of the language in force.
    void repaintCaptions();

    // What the tests and the screenshot tour reach.
    app::StartSequence& startSequence() { return start_; }
    app::Session* session() const { return session_.get(); }
    app::LoginFormModel* loginModel() const { return loginModel_.get(); }
    app::ShellModel* shell() const { return shell_.get(); }
    admin::ServerPageModel* serverPage() const { return serverPage_.get(); }
    users::UserPage* userPage() const { return userPage_.get(); }
    app::ServerListModel* serverListModel() const { return serverList_.get(); }
    LoginForm* loginForm() const;
    ConfigWindow* configWindow() const;
    ServerListDialog* serverListDialog() const;
    UiPrompter& prompter() { return prompter_; }
    /// The channel subject (its models, page and dialogs); null before the configuration opens.
    ChannelSubject* channelSubject() const { return channels_.get(); }
    link::TcpLink& link() { return link_; }

    // ShellHost.
    void showCloseProgress(bool show, const std::string& text) override;
    void removeTemporaryPictures() override;
    void unloadForms() override;
    std::optional<std::string> askPassword(const std::string& text, const std::string& title) override;

private:
    void enterConfiguration(int32_t frame);
    /// The subjects' pages: each line builds a page model (which registers with the shell) and
    /// puts its widget under the menu entry.
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
    app::StartSequence start_{prompter_, log_, kAppTitle};
    app::InstanceLock lock_;
    app::SystemClock clock_;
    std::unique_ptr<admin::LocalServiceControl> ownLocalService_;
    admin::LocalServiceControl* localService_ = nullptr;
    std::unique_ptr<store::LocalDatabase> db_;
    std::unique_ptr<app::ClientHost> host_;
    std::unique_ptr<app::Session> session_;
    std::unique_ptr<app::LoginFormModel> loginModel_;
    std::unique_ptr<app::ShellModel> shell_;
    std::unique_ptr<admin::ServerPageModel> serverPage_;
    std::unique_ptr<ChannelSubject> channels_;
    std::unique_ptr<users::UserPage> userPage_;
    std::unique_ptr<app::ServerListModel> serverList_;
    QPointer<LoginForm> loginForm_;
    QPointer<ConfigWindow> config_;
    QPointer<ServerListDialog> serverListDialog_;
    std::vector<QPointer<Page>> pages_;
    QTimer* timer_ = nullptr;
    bool ended_ = false;
    bool refreshPending_ = false;
};

}  // namespace kv::ui
