// The event handling page: the "Server Setting" tab with the six destination lists and the
// "Action Group" tab, bound to the page model of the events subject.
#pragma once

#include <QPointer>
#include <array>
#include <functional>
#include <memory>

#include "ui/binders.h"
#include "ui/page.h"

class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTabBar;
class QTabWidget;
class QThread;
namespace kv::base {
class Language;
}
namespace kv::events {
class ActionGroupTab;
class EventPage;
class EventsSubject;
class ServerSettingTab;
}  // namespace kv::events

namespace kv::ui {

class QtSoundPlayer;

class EventPage : public Page {
public:
    /// The subject has joined the shell: its page model exists. The page gives the subject its
    /// sound player for as long as it lives.
    EventPage(events::EventsSubject& subject, const base::Language& lang);
    ~EventPage() override;
    void refresh() override;

    /// A destination test runs in the background.
    bool testing() const;

private:
    QWidget* buildServerTab();
    QWidget* buildGroupTab();
    QWidget* buildForm(int kind);
    QWidget* buildTokenLegend();
    /// Puts a template token into the focused token box of the open form (else its content box).
    void insertToken(int token);
    /// Runs the subject's test of the open entry on a worker thread; the report shows when it ends.
    void startTest();
    void finished();
    /// Runs a model action through the subject, then refreshes like any bound widget.
    void act(const std::function<bool()>& action);

    events::EventsSubject& subject_;
    events::EventPage& model_;
    events::ServerSettingTab& server_;
    events::ActionGroupTab& group_;
    const base::Language& lang_;
    Binder binder_;
    std::unique_ptr<QtSoundPlayer> player_;
    QTabWidget* tabs_ = nullptr;
    QTabBar* kinds_ = nullptr;
    /// The text boxes of each kind's form, by box index.
    std::array<std::vector<QLineEdit*>, 6> boxes_;
    /// The token box that last had the focus.
    QPointer<QLineEdit> tokenTarget_;
    QPushButton* testButton_ = nullptr;
    QProgressBar* testBusy_ = nullptr;
    QPlainTextEdit* testReport_ = nullptr;
    QThread* probe_ = nullptr;
};

}  // namespace kv::ui
