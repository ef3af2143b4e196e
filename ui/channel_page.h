// The channel page: the channel grid and the status grid beside the tabs "camera setting"
// (network fields, detection, video parameters, lens modes, save/remove/cancel/preview), "channel
// list" and "PTZ".
#pragma once

#include "ui/binders.h"
#include "ui/page.h"

class QTabWidget;
namespace kv::app {
class ShellModel;
}
namespace kv::base {
class Language;
}

namespace kv::ui {

class ChannelSubject;
class PtzPanelWidget;

class ChannelPageWidget : public Page {
public:
    ChannelPageWidget(ChannelSubject& subject, app::ShellModel& shell, const base::Language& lang);
    void refresh() override;

    /// The tab indices of `tabChannel`.
    static constexpr int kTabSetting = 0, kTabList = 1, kTabPtz = 2;

private:
    QWidget* buildSettingTab();
    QWidget* buildListTab();
    void finished();

    ChannelSubject& subject_;
    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
    QTabWidget* tabs_ = nullptr;
    PtzPanelWidget* ptz_ = nullptr;
};

}  // namespace kv::ui
