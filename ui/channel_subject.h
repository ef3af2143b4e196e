// The channel subject in the desktop client: the models of the channel page, the PTZ panel and the
// camera search, what they need of the shell, and the re-read of the channel list after a commit.
#pragma once

#include <QPointer>
#include <functional>
#include <string>

#include "channels/channel_page.h"
#include "channels/ptz_panel.h"
#include "channels/search.h"

class QWidget;
namespace kv::app {
class Clock;
class Prompter;
class Session;
class ShellModel;
}  // namespace kv::app
namespace kv::base {
class Language;
}
namespace kv::link {
class ServiceLink;
}

namespace kv::ui {

class ChannelPageWidget;
class PreviewWindow;
class SearchDialog;

class ChannelSubject : public channels::ChannelPageHost {
public:
    /// Builds the models and joins the shell: the channel menu entry, the save areas 1 and 10.
    ChannelSubject(app::Session& session, app::ShellModel& shell, link::ServiceLink& link, app::Prompter& prompter,
                   const base::Language& lang, const app::Clock& clock, const std::string& title);
    ~ChannelSubject() override;
    ChannelSubject(const ChannelSubject&) = delete;
    ChannelSubject& operator=(const ChannelSubject&) = delete;

    /// The channel page with its tabs, the PTZ panel among them; the window takes it.
    ChannelPageWidget* createPage();
    /// The camera search over the channel page; the search starts at once.
    SearchDialog* openSearch();

    channels::ChannelPage& page() { return page_; }
    channels::PtzPanel& ptz() { return ptz_; }
    channels::FormSearch& search() { return search_; }
    ChannelPageWidget* pageWidget() const;
    SearchDialog* searchDialog() const;
    PreviewWindow* previewWindow() const;

    /// After each action on the channel page: a commit or a removal re-reads the channel list.
    void afterAction();
    /// The PTZ panel's channel combo follows the table; on the PTZ tab a channel is chosen.
    void showPtz();
    /// Every form is refreshed (set by the owner).
    std::function<void()> refreshAll;

    // ChannelPageHost.
    void channelDirtyChanged(bool dirty) override;
    int32_t openPreview(const channels::ChannelRecord& record, const std::string& command) override;

private:
    void reloadChannels();

    app::Session& session_;
    app::ShellModel& shell_;
    link::ServiceLink& link_;
    const base::Language& lang_;
    channels::ChannelPage page_;
    channels::PtzPanel ptz_;
    channels::FormSearch search_;
    QPointer<ChannelPageWidget> pageWidget_;
    QPointer<SearchDialog> searchDialog_;
    QPointer<PreviewWindow> preview_;
};

}  // namespace kv::ui
