// What the GUI tests share: waiting on the event loop, answering message boxes, finding and
// driving widgets, and reading the service's traffic log.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/lang.h"
#include "tests/base/test_util.h"
#include "tests/support/sim_process.h"
#include "ui/client_app.h"
#include "ui/config_window.h"

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

/// Answers formMessageBox as soon as one shows and keeps the texts it showed. A scripted answer
/// names the button and what to type into the password field first; unscripted boxes get their
/// first button.
class BoxAnswerer {
public:
    struct Reply {
        Reply(const char* b, std::string t = {}) : button(b), typed(std::move(t)) {}
        Reply(std::string b, std::string t = {}) : button(std::move(b)), typed(std::move(t)) {}
        std::string button;
        std::string typed;
    };
    BoxAnswerer() {
        timer_.setInterval(20);
        QObject::connect(&timer_, &QTimer::timeout, [this] { poll(); });
        timer_.start();
    }
    std::deque<Reply> script;
    std::vector<std::string> texts;

private:
    void poll() {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() != "formMessageBox" || !w->isVisible()) continue;
            texts.push_back(w->findChild<QLabel*>("txtMessageBox")->text().toStdString());
            Reply r{"cmdSubmit_0"};
            if (!script.empty()) {
                r = script.front();
                script.pop_front();
            }
            if (auto* p = w->findChild<QLineEdit*>("TextPassword")) p->setText(QString::fromStdString(r.typed));
            if (auto* b = w->findChild<QPushButton*>(QString::fromStdString(r.button))) b->click();
            return;
        }
    }
    QTimer timer_;
};

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

/// A client on Qt's offscreen platform against a service in its own process, English texts.
struct GuiTest : ::testing::Test {
    TempDir dir;
    std::unique_ptr<SimProcess> sim;
    std::unique_ptr<ui::ClientApp> app;
    BoxAnswerer boxes;
    base::Language english{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};

    void SetUp() override { ASSERT_TRUE(english.LoadLanguage(base::LanguageFileName(1))); }
    void TearDown() override {
        app.reset();
        sim.reset();
    }
    /// A client that does not tick by itself and has no local service.
    std::unique_ptr<ui::ClientApp> makeClient(const std::string& commandLine, const std::filesystem::path& home) {
        ui::ClientOptions o;
        o.home = home;
        o.commandLine = commandLine;
        o.timer = false;
        o.localService = false;
        return std::make_unique<ui::ClientApp>(o);
    }
    static std::string commandLogin(int port, const std::string& extra = "") {
        return "-IP:127.0.0.1 -PORT:" + std::to_string(port) + " -USER:admin -PASS:admin" + extra;
    }
    /// Waits for the configuration window of `c`.
    static bool entered(ui::ClientApp& c) {
        return WaitFor([&] { return c.configWindow() && c.configWindow()->isVisible(); });
    }
    std::string text(int id) const { return english.GetText(id); }
};

}  // namespace kv::test
