// The channel page: the channel grid and the status grid beside the tabs "camera setting"
// (network fields, detection, video parameters, lens modes, save/remove/cancel/preview), "channel
// list" and "PTZ".
#pragma once

#include <QPointer>

#include "channels/channel_page.h"
#include "ui/binders.h"
#include "ui/page.h"

class QTabWidget;
namespace kv::app {
class ShellModel;
}
namespace kv::channels {
class ChannelSubject;
}
namespace kv::base {
class Language;
}

namespace kv::ui {

class PreviewWindow;
class PtzPanelWidget;
class SearchDialog;

class ChannelPageWidget : public Page {
public:
    ChannelPageWidget(channels::ChannelSubject& subject, app::ShellModel& shell, const base::Language& lang);
    ~ChannelPageWidget() override;
    void refresh() override;
    /// The camera search (open over the page) is refreshed with the page, and alone while
    /// another page is on screen.
    void refreshDialogs() override;

    /// The camera search over the page; the search starts at once.
    SearchDialog* openSearch();
    SearchDialog* searchDialog() const;
    PreviewWindow* previewWindow() const;

    /// The tab indices of `tabChannel`.
    static constexpr int kTabSetting = channels::kTabSetting, kTabList = channels::kTabList,
                         kTabPtz = channels::kTabPtz;

private:
    QWidget* buildSettingTab();
    QWidget* buildListTab();
    void finished();

    channels::ChannelSubject& subject_;
    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
    QTabWidget* tabs_ = nullptr;
    PtzPanelWidget* ptz_ = nullptr;
    QPointer<SearchDialog> searchDialog_;
    QPointer<PreviewWindow> preview_;
};

}  // namespace kv::ui
