// The PTZ tab of the channel page: channel choice, the direction pad, zoom, focus and iris, the
// speed, a view of the camera's panes and the preset list with its buttons.
#pragma once

#include <QWidget>
#include <functional>

#include "ui/binders.h"

namespace kv::app {
class ShellModel;
}
namespace kv::base {
class Language;
}
namespace kv::channels {
class PtzPanel;
}

namespace kv::ui {

class PtzPanelWidget : public QWidget {
public:
    PtzPanelWidget(channels::PtzPanel& model, app::ShellModel& shell, const base::Language& lang);
    void refresh() { binder_.refresh(); }
    /// Every action of the panel ends here.
    std::function<void()> afterAction;

private:
    channels::PtzPanel& model_;
    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
};

}  // namespace kv::ui
