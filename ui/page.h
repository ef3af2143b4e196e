// The base of a subject's page in the configuration window.
#pragma once

#include <QWidget>
#include <functional>

namespace kv::ui {

class Page : public QWidget {
public:
    using QWidget::QWidget;
    /// Model to widgets, for the page on screen (and the dialogs it opened).
    virtual void refresh() = 0;
    /// Model to the dialogs the page opened, while another page is on screen.
    virtual void refreshDialogs() {}
    /// Every action of the page ends here (the owner refreshes all forms).
    std::function<void()> afterAction;
};

}  // namespace kv::ui
