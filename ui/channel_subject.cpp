// The channel subject's wiring in the desktop client.
#include "ui/channel_subject.h"

#include "app/protocol.h"
#include "app/session.h"
#include "app/shell.h"
#include "base/text.h"
#include "channels/codec.h"
#include "ui/channel_page.h"
#include "ui/channel_preview.h"
#include "ui/search_dialog.h"

namespace kv::ui {

namespace {
// The window result that asks for no message (DeviceErrorText of -164 is empty); a service code
// c of the preview comes back as c - 164.
constexpr int32_t kPreviewShown = -164;
constexpr int32_t kPreviewLinkFailed = -1;
}  // namespace

ChannelSubject::ChannelSubject(app::Session& session, app::ShellModel& shell, link::ServiceLink& link,
                               app::Prompter& prompter, const base::Language& lang, const app::Clock& clock,
                               const std::string& title)
    : session_(session),
      shell_(shell),
      link_(link),
      lang_(lang),
      page_(session.config, link, prompter, lang, clock, *this, title),
      ptz_(session.config, link, prompter, lang, title),
      search_(session.config, session.dispatcher, link, lang) {
    ptz_.onDirtyChanged = [this](bool dirty) { shell_.setDirty(app::area::kPresets, dirty); };
    shell_.registerPage(app::menu::kChannel, [this] {
        page_.OpenChannelFrame();
        ptz_.Refresh();
    });
    // The shell's save runs the page's own save button, then what follows a commit.
    shell_.registerSave(app::area::kChannel, [this] {
        const bool ok = page_.SaveSetting();
        afterAction();
        return ok;
    });
    shell_.registerSave(app::area::kPresets, [this] {
        const bool ok = ptz_.SaveSetting();
        if (ok) shell_.saveSucceeded(app::area::kPresets);
        return ok;
    });
}

ChannelSubject::~ChannelSubject() {
    delete searchDialog_.data();
    delete preview_.data();
}

ChannelPageWidget* ChannelSubject::pageWidget() const { return pageWidget_; }
SearchDialog* ChannelSubject::searchDialog() const { return searchDialog_; }
PreviewWindow* ChannelSubject::previewWindow() const { return preview_; }

ChannelPageWidget* ChannelSubject::createPage() {
    pageWidget_ = new ChannelPageWidget(*this, shell_, lang_);
    return pageWidget_;
}

SearchDialog* ChannelSubject::openSearch() {
    if (searchDialog_) return searchDialog_;
    searchDialog_ = new SearchDialog(pageWidget_, search_, page_, session_.dispatcher, lang_);
    searchDialog_->afterAction = [this] {
        afterAction();
        if (refreshAll) refreshAll();
    };
    searchDialog_->start();
    return searchDialog_;
}

void ChannelSubject::afterAction() {
    if (page_.bReload) {
        page_.bReload = false;
        // A commit or a removal reached the service.
        shell_.bConfigChanged = true;
        reloadChannels();
    }
    // A preset edit changes no channel: the list on the panel is already the new one.
    ptz_.bReload = false;
}

void ChannelSubject::reloadChannels() {
    const std::string reply = link_.SendCommand(0, true, channels::ChannelDetail_XML(page_.channelCount()));
    if (base::CheckResult(reply) >= 0) channels::Load_ChannelDetailInfo_XML(reply, session_.config.strCH);
    page_.RefreshList();
    ptz_.Refresh();
}

void ChannelSubject::showPtz() {
    ptz_.Refresh();
    if (ptz_.channel() != 0 || ptz_.cmdPtesetCH.items.empty()) return;
    // The channel being edited when it has PTZ, else the first one.
    int item = 0;
    const std::string mark = "[" + std::to_string(page_.iSelCH) + "]";
    for (size_t i = 0; i < ptz_.cmdPtesetCH.items.size(); ++i)
        if (ptz_.cmdPtesetCH.items[i].ends_with(mark)) item = static_cast<int>(i);
    ptz_.cmdPtesetCH_Click(item);
}

void ChannelSubject::channelDirtyChanged(bool dirty) { shell_.setDirty(app::area::kChannel, dirty); }

int32_t ChannelSubject::openPreview(const channels::ChannelRecord& record, const std::string& command) {
    const std::string reply = link_.SendCommand(0, true, command);
    if (base::CheckResult(reply) < 0) return kPreviewLinkFailed;
    const int32_t code = app::CheckCMDReturn(reply);
    if (code < 0) return kPreviewLinkFailed;
    if (code > 0) return code + kPreviewShown;
    if (!preview_) preview_ = new PreviewWindow(pageWidget_, lang_);
    preview_->show(record);
    return kPreviewShown;
}

}  // namespace kv::ui
