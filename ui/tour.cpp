// The screenshot tour, one step after the other on a 100 ms poll.
#include "ui/tour.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <cstdio>

#include "admin/server_page.h"
#include "session/server_list.h"
#include "ui/channel_tour.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/event_tour.h"
#include "ui/login_form.h"
#include "ui/recording_tour.h"
#include "ui/server_list_dialog.h"
#include "ui/user_tour.h"

namespace kv::ui {
namespace {

constexpr int kPollMs = 100;

bool click(QWidget* root, const char* name) {
    if (!root) return false;
    auto* b = root->findChild<QAbstractButton*>(name);
    if (!b || !b->isEnabled()) return false;
    b->click();
    return true;
}

QWidget* visibleBox() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == "formMessageBox" && w->isVisible()) return w;
    return nullptr;
}

}  // namespace

Tour::Tour(ClientApp& client, QString folder, std::string server)
    : client_(client), folder_(std::move(folder)), server_(std::move(server)) {
    QDir().mkpath(folder_);
    timer_ = new QTimer(&context_);
    QObject::connect(timer_, &QTimer::timeout, &context_, [this] { poll(); });
    buildSteps();
}

void Tour::begin() { timer_->start(kPollMs); }

void Tour::grab(QWidget* widget, const QString& name) {
    if (!widget) return;
    widget->repaint();
    const QString path = QDir(folder_).filePath(name);
    if (widget->grab().save(path)) {
        saved_.push_back(name);
        std::fprintf(stderr, "saved %s\n", path.toLocal8Bit().constData());
    }
}

void Tour::poll() {
    if (current_ >= steps_.size()) {
        timer_->stop();
        return;
    }
    elapsedMs_ += kPollMs;
    const Step& step = steps_[current_];
    bool done = false;
    try {
        done = step.run();
    } catch (...) {
        done = true;
    }
    if (!done && elapsedMs_ < step.timeoutMs) return;
    if (!done) std::fprintf(stderr, "tour: step %zu timed out\n", current_);
    ++current_;
    elapsedMs_ = 0;
}

void Tour::buildSteps() {
    auto wait = [this](int ms) {
        return Step{[this, ms] { return elapsedMs_ >= ms; }, ms + 1000};
    };
    // The login form is up; the known-server dialog searches the local network.
    steps_.push_back(wait(400));
    steps_.push_back({[this] {
        ServerListDialog* d = client_.openServerList();
        return d && click(d, "cmdSave_2");
    }});
    steps_.push_back({[this] {
        session::ServerListModel* m = client_.serverListModel();
        return m && !m->foundGrid.empty();
    }, 26000});
    steps_.push_back({[this] {
        session::ServerListModel* m = client_.serverListModel();
        if (m && !m->found.empty()) m->CameraList_Click(0);
        client_.refreshAll();
        grab(client_.serverListDialog(), "02-server-list-search.png");
        return true;
    }});
    steps_.push_back({[this] {
        ServerListDialog* d = client_.serverListDialog();
        session::ServerListModel* m = client_.serverListModel();
        if (!d || !m) return true;
        click(d, "cmdExitSearch");
        // Found nothing: the reference service's address goes in as the search would put it.
        if (m->grid.empty() && !server_.empty()) {
            session::FoundServer f;
            const size_t colon = server_.rfind(':');
            f.IP = server_.substr(0, colon);
            f.Port = colon == std::string::npos ? "9877" : server_.substr(colon + 1);
            f.DeviceName = "kelvarra-sim";
            f.marked = true;
            m->found = {f};
            m->cmdExitSearch_Click();
        }
        m->gridServiceList_Click(0);
        client_.refreshAll();
        grab(d, "03-server-list.png");
        return true;
    }});
    steps_.push_back({[this] {
        click(client_.serverListDialog(), "cmdSave_4");
        return true;
    }});
    // The login form with the server chosen and the account typed.
    steps_.push_back({[this] {
        if (client_.serverListDialog()) return false;
        session::Session* s = client_.session();
        s->login.txtUser = "admin";
        s->login.txtPassword = "admin";
        client_.refreshAll();
        grab(client_.loginForm(), "01-login.png");
        return click(client_.loginForm(), "imgLoginBtn_0");
    }});
    // The configuration window once the data is in; then every page that exists.
    steps_.push_back({[this] {
        app::ShellModel* shell = client_.shell();
        return shell && client_.configWindow() && !shell->bPageWait;
    }, 20000});
    steps_.push_back(wait(1500));
    steps_.push_back({[this] {
        app::ShellModel* shell = client_.shell();
        while (page_ < static_cast<int>(app::kMenuCount)) {
            const int i = page_++;
            if (i == app::menu::kSave || i == app::menu::kExit || !shell->lbMenu[static_cast<size_t>(i)].enabled)
                continue;
            click(client_.configWindow(), QString("lbMenu_%1").arg(i).toLatin1().constData());
            client_.refreshAll();
            grab(client_.configWindow(), QString("1%1-page-%2.png").arg(i / 10).arg(i, 2, 10, QChar('0')));
            return false;
        }
        return true;
    }});
    for (TourStep& s : UserTourSteps(client_, [this](QWidget* w, const QString& n) { grab(w, n); }))
        steps_.push_back({std::move(s.run), s.timeoutMs});
    AddChannelTourSteps(client_, [this](QWidget* w, const QString& n) { grab(w, n); },
                        [this](std::function<bool()> run, int ms) { steps_.push_back({std::move(run), ms}); });
    AddRecordingTourSteps(client_, [this](QWidget* w, const QString& n) { grab(w, n); },
                          [this](std::function<bool()> run, int ms) { steps_.push_back({std::move(run), ms}); });
    AddEventTourSteps(client_, [this](QWidget* w, const QString& n) { grab(w, n); },
                      [this](std::function<bool()> run, int ms) { steps_.push_back({std::move(run), ms}); });
    // An edit waiting to be saved, then the exit question about it.
    steps_.push_back({[this] {
        client_.shell()->lbMenu_Click(app::menu::kServer);
        admin::ServerPageModel* page = client_.serverPage();
        page->txt_System_Service_Change(page->txtName + " (edited)");
        client_.refreshAll();
        grab(client_.configWindow(), "20-server-page-unsaved.png");
        return true;
    }});
    steps_.push_back({[this] {
        // The exit question is a modal box: the tour answers it from its own timer.
        QTimer::singleShot(0, &context_, [this] { click(client_.configWindow(), "lbMenu_12"); });
        return true;
    }});
    steps_.push_back({[this] {
        QWidget* box = visibleBox();
        if (!box) return false;
        grab(box, "21-exit-question.png");
        // "No": the edit is dropped and the program leaves through its exit path.
        return click(box, "cmdSubmit_1");
    }, 10000});
}

}  // namespace kv::ui
