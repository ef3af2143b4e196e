// The configuration window in the test's own process: a session over the answering link with the
// demo's configuration loaded, the shell, the window and every page of the factory list; helpers
// that find and drive widgets as a user does.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QToolButton>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "admin/codec.h"
#include "app/shell.h"
#include "base/log.h"
#include "channels/codec.h"
#include "session/session.h"
#include "sim/seed.h"
#include "tests/support/fakes.h"
#include "ui/config_window.h"
#include "ui/look.h"
#include "ui/page.h"
#include "ui/pages.h"
#include "users/codec.h"

namespace kv::test {

/// Runs the event loop until `done` holds; false after `ms` without it.
inline bool WaitFor(const std::function<bool()>& done, int ms = 15000) {
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

/// The named widget below `root`; a failure of the test when there is none.
template <typename T>
T* Find(QWidget* root, const QString& name) {
    T* w = root ? root->findChild<T*>(name) : nullptr;
    EXPECT_NE(w, nullptr) << name.toStdString();
    return w;
}

/// Replaces the text of an edit the way a user does, key by key.
inline void Type(QLineEdit* edit, const QString& text) {
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

/// Picks an item by its text as a user does.
inline void Choose(QComboBox* combo, const QString& text) {
    const int i = combo->findText(text);
    ASSERT_GE(i, 0) << text.toStdString() << " in " << combo->objectName().toStdString();
    combo->setCurrentIndex(i);
    emit combo->activated(i);
}

/// Clicks a cell of a grid with the mouse; `twice` for a double click.
inline void ClickCell(QTableWidget* grid, int row, int col, bool twice = false) {
    const QPoint at = grid->visualRect(grid->model()->index(row, col)).center();
    if (twice) {
        // A double click is a click and then a second press that the view sees as the double one.
        QTest::mousePress(grid->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
    } else {
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
    }
}

/// The demo's reply to a read, from the reference service's documents.
inline std::string DemoReply(int32_t id, const std::string& key = "") {
    static const std::map<std::string, std::string> docs = [] {
        std::map<std::string, std::string> m;
        for (auto& [k, v] : sim::demoDocuments()) m[k] = v;
        return m;
    }();
    const auto it = docs.find(key.empty() ? std::to_string(id) : key);
    const std::string body = it == docs.end() ? "" : it->second;
    return "<RESPONSE RET=\"0\" ID=\"" + std::to_string(id) + "\" RetCode=\"0\">" + body + "</RESPONSE>";
}

/// The configuration window of a session logged in to the demo, with the answering link under it.
struct PageTest : ::testing::Test, session::LoginHost, app::ShellHost {
    AnsweringLink link;
    RecordingPrompter prompter;
    FixedClock clock;
    base::Log log{"ui_test"};
    session::Session session{link, prompter, English(), log, *this, "T", {nullptr, &clock}};
    std::unique_ptr<app::ShellModel> shell;
    std::unique_ptr<ui::ConfigWindow> window;
    /// What the password box answers.
    std::optional<std::string> typedPassword;
    /// The command line of the login.
    app::CmdLine cmdLine;

    void SetUp() override {
        session::Config& c = session.config;
        c.iMaxChannel = 64;
        for (const auto& [key, body] : sim::demoDocuments())
            if (key.find('.') == std::string::npos) session.dispatcher.ControlCOM_OnResponse(DemoReply(std::stoi(key)));
        // The reads the login makes synchronously do not pass the dispatcher.
        ASSERT_TRUE(admin::Load_ServiceInfo_XML(DemoReply(4100), c.serverInfo));
        ASSERT_TRUE(users::Load_UserList_XML(DemoReply(32801), c.strUser));
        ASSERT_TRUE(users::Load_UserGroup_XML(DemoReply(32803), c.strUserGroup));
        ASSERT_GT(channels::Load_ChannelDetailInfo_XML(DemoReply(24582), c.strCH), 0);
        link.replies[4101] = DemoReply(4101, "4101.3");  // the presets of the demo's PTZ channel 3
        shell = std::make_unique<app::ShellModel>(link, session.dispatcher, prompter, English(), log, clock, *this,
                                                  app::ShellSession{5, "admin", cmdLine, "T"});
        window = std::make_unique<ui::ConfigWindow>(*shell, English());
        window->afterAction = [this] { refresh(); };
        session.attach(*shell);
        const ui::PageDeps deps{session, *shell, English()};
        for (const ui::PageFactory& f : ui::PageFactories()) {
            ui::Page* page = f.make(deps);
            page->afterAction = [this] { refresh(); };
            window->addPage(f.menuIndex, page);
        }
        ui::ApplyCaptions(window.get(), English());
        window->show();
        session.dispatcher.bDataReady.fill(true);
        shell->activateFirstPage(0);
        shell->Timer1000();
        refresh();
    }
    /// Model to widgets, as the desktop client does after each action.
    void refresh() {
        window->refresh();
        if (auto* p = dynamic_cast<ui::Page*>(window->page(shell->iCurMenu))) p->refresh();
    }
    void openMenu(int index) {
        QTest::mouseClick(Find<QToolButton>(window.get(), QString("lbMenu_%1").arg(index)), Qt::LeftButton);
        ASSERT_EQ(shell->iCurMenu, index);
    }
    void click(const QString& name) { QTest::mouseClick(Find<QPushButton>(window.get(), name), Qt::LeftButton); }
    template <typename T = QWidget>
    T* find(const QString& name) { return Find<T>(window.get(), name); }
    /// The commands sent since the last call.
    std::vector<std::string> sent() {
        std::vector<std::string> out(link.sent.begin() + static_cast<long>(mark_), link.sent.end());
        mark_ = link.sent.size();
        return out;
    }
    std::string text(int id) const { return English().GetText(id); }

    std::optional<std::string> askPassword(const std::string&, const std::string&) override { return typedPassword; }

private:
    size_t mark_ = 0;
};

}  // namespace kv::test
