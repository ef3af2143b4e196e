// The base of a subject's page in the configuration window.
#pragma once

#include <QWidget>
#include <functional>

namespace kv::ui {

class Page : public QWidget {
public:
    using QWidget::QWidget;
    /// Model to widgets.
    virtual void refresh() = 0;
    /// Every action of the page ends here (the owner refreshes all forms).
    std::function<void()> afterAction;
};

}  // namespace kv::ui
