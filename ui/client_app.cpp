// The wiring of the desktop client.
#include "ui/client_app.h"

#include <QApplication>
#include <QCoreApplication>
#include <QTimer>

#include <cstdlib>

#include "admin/subject.h"
#include "app/local_service.h"
#include "base/lang.h"
#include "channels/subject.h"
#include "store/local_db.h"
#include "ui/channel_page.h"
#include "ui/config_window.h"
#include "ui/login_form.h"
#include "ui/look.h"
#include "ui/pages.h"
#include "ui/server_list_dialog.h"
#include "ui/service_ctrl_dialog.h"
#include "users/subject.h"

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
    if (!session::PopulateHome(options_.home, session::ShareFolders(), &error)) {
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
        app::LocalServiceSpec setup;
        setup.program = serviceProgram();
        setup.home = options_.home;
        setup.arguments = {"--data", (options_.home / "Service").string()};
        ownLocalService_ = app::MakeLocalService(setup);
        localService_ = ownLocalService_.get();
    }
    start_.Form_Load(options_.commandLine, instanceFree, localService_);
    if (start_.bAppEnding) {
        ended_ = true;
        return false;
    }

    db_ = std::make_unique<store::LocalDatabase>(start_.databaseFolder() / "Database.db");
    host_ = std::make_unique<session::ClientHost>(start_, *db_, localService_);
    session_ = std::make_unique<session::Session>(link_, prompter_, start_.lang, log_, *host_, kAppTitle,
                                                  session::SessionParts{host_.get(), &clock_});
    session::LoginController& login = session_->login;
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
            // The login waits for the dialog's outcome: no tick meanwhile.
            const UiPrompter::Waiting waiting(prompter_);
            return dialog.run();
        };
    }
    session_->onSearchResult = [this](const std::string& xml) {
        if (serverList_) serverList_->OnSearchResult(xml);
    };

    loginModel_ = std::make_unique<session::LoginFormModel>(login, start_, *host_, prompter_, start_.lang);
    loginModel_->askPassword = [this](const std::string& text, const std::string& title) {
        return prompter_.askPassword(text, title.empty() ? kWindowTitle : title);
    };
    loginForm_ = new LoginForm(login, *loginModel_);
    loginForm_->onServerList = [this] { openServerList(); };
    if (localService_) {
        loginForm_->onServiceControl = [this] {
            ServiceCtrlDialog dialog(loginForm_, *localService_, start_.lang, false);
            dialog.run();
            refreshAll();
        };
    }
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
    if (ended_ || !session_ || ticking_) return;
    // A tick waits while a box asks something: the box's answer decides what comes next. The
    // window-modal dialogs (camera search, known servers) ask nothing, so polls and the restart's
    // exit go on under them.
    if (prompter_.waitingForAnswer()) return;
    ticking_ = true;
    const struct Done {
        bool& ticking;
        ~Done() { ticking = false; }
    } done{ticking_};
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
        if (ended_) return;
        if (shell_) shell_->RefreshPageReady();
        refreshAll();
    });
}

void ClientApp::refreshAll() {
    if (ended_) return;
    // A hidden login form is refreshed when it shows again.
    if (loginForm_ && loginForm_->isVisible()) loginForm_->refresh();
    if (serverListDialog_) serverListDialog_->refresh();
    if (!config_) return;
    // The window first: it puts the page of the current entry on screen (or the loading frame).
    config_->refresh();
    const QWidget* shown = config_->shownPage();
    for (const QPointer<Page>& page : pages_) {
        if (!page) continue;
        if (page == shown) page->refresh();
        else page->refreshDialogs();
    }
}

channels::ChannelSubject* ClientApp::channelSubject() const {
    return session_ ? session_->subject<channels::ChannelSubject>() : nullptr;
}

ChannelPageWidget* ClientApp::channelPage() const {
    return config_ ? dynamic_cast<ChannelPageWidget*>(config_->page(app::menu::kChannel)) : nullptr;
}

admin::ServerPageModel* ClientApp::serverPage() const {
    auto* s = session_ ? session_->subject<admin::AdminSubject>() : nullptr;
    return s ? s->page() : nullptr;
}

users::UserPage* ClientApp::userPage() const {
    auto* s = session_ ? session_->subject<users::UsersSubject>() : nullptr;
    return s ? s->page() : nullptr;
}

std::vector<QWidget*> ClientApp::forms() const {
    std::vector<QWidget*> out;
    for (QWidget* w : std::initializer_list<QWidget*>{loginForm_, serverListDialog_, config_})
        if (w) out.push_back(w);
    return out;
}

void ClientApp::repaintCaptions() {
    if (loginModel_) loginModel_->listLanguages();
    if (admin::ServerPageModel* page = serverPage()) page->showServiceStatus();
    for (QWidget* form : forms()) {
        ApplyFont(form, start_.font);
        ApplyCaptions(form, start_.lang);
    }
    refreshAll();
}

ServerListDialog* ClientApp::openServerList() {
    if (serverListDialog_ || !session_) return serverListDialog_;
    serverList_ = std::make_unique<session::ServerListModel>(session_->login.strService, prompter_, start_.lang, link_,
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
    session::LoginController& login = session_->login;
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
    session_->attach(*shell_);
    const PageDeps deps{*session_, *shell_, start_.lang};
    for (const PageFactory& f : PageFactories()) addPage(f.menuIndex, f.make(deps));
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
    if (session_) session_->end();
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
