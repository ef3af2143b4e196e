// The wiring of the desktop client.
#include "ui/client_app.h"

#include <QApplication>
#include <QCoreApplication>
#include <QTimer>

#include <cstdlib>

#include "admin/local_service.h"
#include "admin/server_page.h"
#include "base/lang.h"
#include "store/local_db.h"
#include "ui/channel_page.h"
#include "ui/channel_subject.h"
#include "ui/config_window.h"
#include "ui/login_form.h"
#include "ui/look.h"
#include "ui/server_list_dialog.h"
#include "ui/server_page.h"
#include "ui/service_ctrl_dialog.h"
#include "ui/user_page.h"
#include "users/page.h"

namespace kv::ui {
namespace fs = std::filesystem;

namespace {

// The program of the local service: $KELVARRA_SERVICE_PROGRAM, beside the client (installed),
// the build tree's place, or the search path.
fs::path serviceProgram() {
    if (const char* p = std::getenv("KELVARRA_SERVICE_PROGRAM"); p && *p) return p;
    const fs::path dir = QCoreApplication::applicationDirPath().toStdString();
    for (const fs::path& candidate : {dir / "kelvarra-sim", dir / ".." / "sim" / "kelvarra-sim"}) {
        std::error_code ec;
        if (fs::exists(candidate, ec)) return fs::weakly_canonical(candidate, ec);
    }
    return "kelvarra-sim";
}

}  // namespace

ClientApp::ClientApp(ClientOptions options) : options_(std::move(options)) {
    prompter_.appTitle = kWindowTitle;
    timer_ = new QTimer(&context_);
    QObject::connect(timer_, &QTimer::timeout, &context_, [this] { tick(); });
    executor_.afterEach = [this] { scheduleRefresh(); };
}

ClientApp::~ClientApp() {
    timer_->stop();
    if (session_) session_->dispatcher.bAppEnding = true;
    // Forms before the models they show.
    delete serverListDialog_.data();
    delete config_.data();
    delete loginForm_.data();
}

LoginForm* ClientApp::loginForm() const { return loginForm_; }
ConfigWindow* ClientApp::configWindow() const { return config_; }
ServerListDialog* ClientApp::serverListDialog() const { return serverListDialog_; }

bool ClientApp::start() {
    qApp->setStyleSheet(StyleSheet());
    std::string error;
    if (!app::PopulateHome(options_.home, app::ShareFolders(), &error)) {
        prompter_.box(app::BoxKind::Critical, error, kWindowTitle);
        ended_ = true;
        return false;
    }
    const bool instanceFree = lock_.acquire(options_.home);
    start_.Form_Initialize(options_.home, instanceFree);
    prompter_.setLanguage(&start_.lang);
    if (start_.bAppEnding) {
        ended_ = true;
        return false;
    }
    if (options_.localControl) {
        localService_ = options_.localControl;
    } else if (options_.localService) {
        admin::LocalServiceSpec setup;
        setup.program = serviceProgram();
        setup.home = options_.home;
        setup.arguments = {"--data", (options_.home / "Service").string()};
        ownLocalService_ = admin::MakeLocalService(setup);
        localService_ = ownLocalService_.get();
    }
    start_.Form_Load(options_.commandLine, instanceFree, localService_);
    if (start_.bAppEnding) {
        ended_ = true;
        return false;
    }

    db_ = std::make_unique<store::LocalDatabase>(start_.databaseFolder() / "Database.db");
    host_ = std::make_unique<app::ClientHost>(start_, *db_, localService_);
    session_ = std::make_unique<app::Session>(link_, prompter_, start_.lang, log_, *host_, kAppTitle);
    app::LoginController& login = session_->login;
    host_->attach(login);
    login.strService = start_.strService;
    login.cmdLine = start_.cmdLine;
    if (const size_t colon = options_.discovery.rfind(':'); colon != std::string::npos)
        link_.setDiscoveryTarget(options_.discovery.substr(0, colon),
                                 static_cast<uint16_t>(std::atoi(options_.discovery.c_str() + colon + 1)));

    host_->onEnterConfiguration = [this](int32_t frame) { enterConfiguration(frame); };
    host_->onUnload = [this] { end(); };
    host_->onLanguageChanged = [this] { repaintCaptions(); };
    if (localService_) {
        host_->serviceControlDialog = [this] {
            ServiceCtrlDialog dialog(loginForm_, *localService_, start_.lang);
            return dialog.run();
        };
    }
    session_->dispatcher.setFollowUp(app::FollowUp::ServiceInfo, [this] {
        if (session_ && !session_->login.strService.empty())
            host_->storeServerTable(session_->login.strService.front(), session_->config.serverInfo);
    });
    session_->onSearchResult = [this](const std::string& xml) {
        if (serverList_) serverList_->OnSearchResult(xml);
    };

    loginModel_ = std::make_unique<app::LoginFormModel>(login, start_, *host_, prompter_, start_.lang);
    loginForm_ = new LoginForm(login, *loginModel_);
    loginForm_->onServerList = [this] { openServerList(); };
    loginForm_->onClosed = [this] { end(); };
    loginForm_->afterAction = [this] { refreshAll(); };
    prompter_.statusSink = [this](const std::string& text) {
        if (config_) config_->setStatus(text);
        else if (loginForm_) loginForm_->setStatus(text);
    };
    prompter_.parent = [this]() -> QWidget* {
        if (QWidget* active = QApplication::activeWindow()) return active;
        if (config_ && config_->isVisible()) return config_;
        return loginForm_;
    };

    loginModel_->Form_Activate();
    repaintCaptions();
    if (!start_.statusLine.empty()) prompter_.status(start_.statusLine);
    loginForm_->show();
    if (start_.autoLogin) {
        login.bClickLogin = false;
        login.imgLoginBtn_Click(0);
    }
    refreshAll();
    if (options_.timer && !ended_) timer_->start(1000);
    return !ended_;
}

void ClientApp::tick() {
    if (ended_ || !session_) return;
    // A tick waits while a box asks something: the box's answer decides what comes next.
    if (QApplication::activeModalWidget()) return;
    session_->login.Timer1000();
    if (ended_) return;
    if (loginForm_ && !session_->login.bKeepForm && loginForm_->isVisible()) loginForm_->hide();
    if (shell_) shell_->Timer1000();
    if (!ended_) refreshAll();
}

void ClientApp::scheduleRefresh() {
    if (refreshPending_ || ended_) return;
    refreshPending_ = true;
    QTimer::singleShot(0, &context_, [this] {
        refreshPending_ = false;
        if (!ended_) refreshAll();
    });
}

void ClientApp::refreshAll() {
    if (ended_) return;
    if (loginForm_) loginForm_->refresh();
    if (serverListDialog_) serverListDialog_->refresh();
    for (const QPointer<Page>& p : pages_)
        if (p) p->refresh();
    if (config_) config_->refresh();
}

std::vector<QWidget*> ClientApp::forms() const {
    std::vector<QWidget*> out;
    for (QWidget* w : std::initializer_list<QWidget*>{loginForm_, serverListDialog_, config_})
        if (w) out.push_back(w);
    return out;
}

void ClientApp::repaintCaptions() {
    if (loginModel_) loginModel_->listLanguages();
    if (serverPage_) serverPage_->showServiceStatus();
    for (QWidget* form : forms()) {
        ApplyFont(form, start_.font);
        ApplyCaptions(form, start_.lang);
    }
    refreshAll();
}

ServerListDialog* ClientApp::openServerList() {
    if (serverListDialog_ || !session_) return serverListDialog_;
    serverList_ = std::make_unique<app::ServerListModel>(session_->login.strService, prompter_, start_.lang, link_,
                                                         *db_, start_.iLanguage);
    serverListDialog_ = new ServerListDialog(loginForm_, *serverList_, start_.lang);
    serverListDialog_->setAttribute(Qt::WA_DeleteOnClose);
    ApplyFont(serverListDialog_, start_.font);
    QObject::connect(serverListDialog_, &QDialog::finished, &context_, [this] {
        // The login form rebuilds its combo from the list as it now stands.
        if (loginModel_) loginModel_->ShowServerList();
        refreshAll();
    });
    serverListDialog_->open();
    return serverListDialog_;
}

void ClientApp::enterConfiguration(int32_t frame) {
    app::LoginController& login = session_->login;
    app::ShellSession s{login.hLogin, login.sLoginPass, login.cmdLine, kAppTitle};
    shell_ = std::make_unique<app::ShellModel>(link_, session_->dispatcher, prompter_, start_.lang, log_, clock_, *this,
                                               std::move(s));
    config_ = new ConfigWindow(*shell_, start_.lang);
    config_->afterAction = [this] { refreshAll(); };
    registerPages();
    const admin::ServerInfo& info = session_->config.serverInfo;
    config_->setHeader(info.Name + "  " + login.sSessionIP + ":" + std::to_string(login.iSessionPort), login.sLoginUser);
    ApplyFont(config_, start_.font);
    ApplyCaptions(config_, start_.lang);
    config_->show();
    shell_->activateFirstPage(frame);
    refreshAll();
}

void ClientApp::registerPages() {
    app::Config& c = session_->config;
    serverPage_ = std::make_unique<admin::ServerPageModel>(*shell_, link_, session_->dispatcher, c.serverInfo, c.ddns,
                                                           c.serviceStatus, prompter_, start_.lang, *host_,
                                                           c.iMaxChannel);
    // The overview shows the configured channels as they were loaded and last polled.
    serverPage_->channelSource = [this](int32_t ch) -> std::optional<admin::ChannelOverviewRow> {
        const app::Config& cfg = session_->config;
        if (ch < 1 || ch > static_cast<int32_t>(cfg.strCH.size())) return std::nullopt;
        const channels::ChannelRecord& r = cfg.strCH[static_cast<size_t>(ch - 1)];
        if (!r.configured()) return std::nullopt;
        const std::string size = r.Size.substr(0, r.Size.find("||"));
        return admin::ChannelOverviewRow{r.Name, r.IP, r.FMT, size,
                                         start_.lang.GetText(r.InRecord != 0 ? 74 : 851)};
    };
    addPage(app::menu::kServer, new ServerPage(*serverPage_, *shell_, start_.lang));
    // The channel subject: its page with the PTZ tab and the search, the save areas 1 and 10.
    channels_ = std::make_unique<ChannelSubject>(*session_, *shell_, link_, prompter_, start_.lang, clock_,
                                                 kWindowTitle);
    channels_->refreshAll = [this] { refreshAll(); };
    addPage(app::menu::kChannel, channels_->createPage());

    // Users and groups: accounts save through area 13, groups through area 14 (area 8 saves the
    // same list).
    userPage_ = std::make_unique<users::UserPage>(c.strUser, c.strUserGroup, link_, prompter_, start_.lang,
                                                  kWindowTitle, c.iMaxChannel);
    QPointer<UserPage> users = new UserPage(*userPage_, c.strUser, c.strUserGroup, *shell_, start_.lang);
    shell_->registerPage(app::menu::kUser, [users] {
        if (users) users->open();
    });
    shell_->registerSave(app::area::kUsers, [users] { return users && users->saveUsers(); });
    for (size_t area : {app::area::kUserGroups, app::area::kUserGroups2})
        shell_->registerSave(area, [users] { return users && users->saveGroups(); });
    addPage(app::menu::kUser, users);
}

void ClientApp::addPage(int32_t menuIndex, Page* page) {
    page->afterAction = [this] { refreshAll(); };
    config_->addPage(menuIndex, page);
    pages_.emplace_back(page);
}

void ClientApp::showCloseProgress(bool show, const std::string& text) {
    if (config_) config_->showCloseProgress(show, text);
}

void ClientApp::removeTemporaryPictures() { start_.Cleanup(); }

void ClientApp::unloadForms() { end(); }

std::optional<std::string> ClientApp::askPassword(const std::string& text, const std::string& title) {
    return prompter_.askPassword(text, title.empty() ? kWindowTitle : title);
}

void ClientApp::end() {
    if (ended_) return;
    ended_ = true;
    timer_->stop();
    if (session_) {
        session_->dispatcher.bAppEnding = true;
        // Leaving from the login form: an attempt under way is given up.
        if (!shell_) link_.Logout(session_->login.hLogin);
    }
    start_.Cleanup();
    // The forms go in reverse order of loading.
    for (QWidget* w : std::initializer_list<QWidget*>{serverListDialog_, config_, loginForm_}) {
        if (!w) continue;
        w->hide();
        w->deleteLater();
    }
    log_.DestoryLog();
    QTimer::singleShot(0, &context_, [this] {
        if (onFinished) onFinished();
    });
}

}  // namespace kv::ui
