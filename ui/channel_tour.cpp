// The channel subject's steps of the screenshot tour.
#include "ui/channel_tour.h"

#include <QAbstractButton>
#include <QTabWidget>

#include "app/shell.h"
#include "channels/channel_page.h"
#include "channels/ptz_panel.h"
#include "channels/search.h"
#include "ui/channel_page.h"
#include "channels/subject.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/search_dialog.h"

namespace kv::ui {
namespace {

// The channels shown: a dual-lens fisheye (brand 20) and a speed dome with presets.
constexpr int32_t kFisheyeChannel = 12;
constexpr int32_t kPtzChannel = 3;
constexpr int kTimeoutMs = 15000;

void showTab(ClientApp& client, int tab) {
    client.channelPage()->findChild<QTabWidget*>("tabChannel")->setCurrentIndex(tab);
}

}  // namespace

void AddChannelTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                         const std::function<void(std::function<bool()>, int)>& add) {
    add([&client, grab] {
        channels::ChannelSubject* s = client.channelPage() ? client.channelSubject() : nullptr;
        if (!s || !client.shell()->lbMenu[app::menu::kChannel].enabled) return true;
        client.shell()->lbMenu_Click(app::menu::kChannel);
        s->page().SelectChannel(kFisheyeChannel);
        client.refreshAll();
        grab(client.configWindow(), "30-channel-page.png");
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        if (!client.channelPage()) return true;
        showTab(client, ChannelPageWidget::kTabList);
        client.refreshAll();
        grab(client.configWindow(), "31-channel-list.png");
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        channels::ChannelSubject* s = client.channelPage() ? client.channelSubject() : nullptr;
        if (!s) return true;
        s->page().SelectChannel(kPtzChannel);
        showTab(client, ChannelPageWidget::kTabPtz);
        s->ptz().gridPresetList_Click(0);
        client.refreshAll();
        grab(client.configWindow(), "32-ptz-panel.png");
        return true;
    }, kTimeoutMs);
    add([&client] {
        channels::ChannelSubject* s = client.channelPage() ? client.channelSubject() : nullptr;
        if (!s) return true;
        showTab(client, ChannelPageWidget::kTabSetting);
        client.channelPage()->openSearch();
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        channels::ChannelSubject* s = client.channelPage() ? client.channelSubject() : nullptr;
        SearchDialog* dialog = s ? client.channelPage()->searchDialog() : nullptr;
        if (!dialog) return true;
        if (s->search().searching) return false;
        grab(dialog, "33-camera-search.png");
        dialog->reject();
        s->page().cmdComit_Click(channels::kCommitCancel);
        client.refreshAll();
        return true;
    }, kTimeoutMs);
}

}  // namespace kv::ui
