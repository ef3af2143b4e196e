// Form_Config_Main: the 13-entry menu, one page at a time, the loading state, the status line and
// the frame shown while the program closes.
#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <map>
#include <string>

#include "app/shell.h"
#include "ui/binders.h"

class QFrame;
class QLabel;
class QStackedWidget;
class QToolButton;
namespace kv::base {
class Language;
}

namespace kv::ui {

class ConfigWindow : public QWidget {
public:
    ConfigWindow(app::ShellModel& shell, const base::Language& lang);

    void setHeader(const std::string& server, const std::string& user);
    /// The page of a menu entry (the subject's widget).
    void addPage(int32_t menuIndex, QWidget* page);
    QWidget* page(int32_t menuIndex) const;
    /// The page on screen: null while the entry's page waits for its data, or has none.
    QWidget* shownPage() const;
    void refresh();
    void setStatus(const std::string& text);
    void showCloseProgress(bool show, const std::string& text);

    /// Every action of the window ends here (the owner refreshes all forms).
    std::function<void()> afterAction;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeProgress();

    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
    std::array<QToolButton*, app::kMenuCount> menu_{};
    QStackedWidget* pages_ = nullptr;
    QWidget* blank_ = nullptr;
    QWidget* loading_ = nullptr;
    std::map<int32_t, QWidget*> pageOf_;
    QLabel* status_ = nullptr;
    QLabel* exportProgress_ = nullptr;
    QLabel* server_ = nullptr;
    QFrame* progress_ = nullptr;
    QLabel* progressText_ = nullptr;
};

}  // namespace kv::ui
