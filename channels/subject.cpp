// The channel subject's wiring.
#include "channels/subject.h"

#include <pugixml.hpp>

#include "app/dispatcher.h"
#include "app/protocol.h"
#include "app/removal.h"
#include "app/shell.h"
#include "base/text.h"
#include "channels/codec.h"
#include "channels/document.h"

namespace kv::channels {
namespace {
// The window result that asks for no message (DeviceErrorText of -164 is empty); a service code
// c of the preview comes back as c - 164.
constexpr int32_t kPreviewShown = -164;
constexpr int32_t kPreviewLinkFailed = -1;
}  // namespace

ChannelSubject::ChannelSubject(ChannelTables& tables, const app::SubjectServices& services)
    : tables_(tables),
      services_(services),
      page_(tables, services.link, services.prompter, services.lang, services.clock, *this, services.title),
      ptz_(tables, services.link, services.prompter, services.lang, services.title),
      search_(tables, services.dispatcher, services.link, services.lang) {}

ChannelSubject::~ChannelSubject() = default;

void ChannelSubject::registerReaders(app::Dispatcher& d) {
    using Doc = pugi::xml_document;
    d.registerParser(24582, [this](const Doc& r) { Load_ChannelDetailInfo_XML(r, tables_.strCH); });
    d.registerParser(24578, [this](const Doc& r) { GetChannelStatus(r, tables_.strCH, tables_.iMaxChannel); });
    d.registerParser(8194, [this](const Doc& r) { Load_SearchCAMList_XML(r, tables_.strSearchCam); });
}

void ChannelSubject::attach(app::ShellPort& shell) {
    shell_ = &shell;
    ptz_.onDirtyChanged = [&shell](bool dirty) { shell.setDirty(app::area::kPresets, dirty); };
    ptz_.onSaved = [&shell] { shell.saveSucceeded(app::area::kPresets); };
    shell.registerPage(app::menu::kChannel, [this] {
        page_.OpenChannelFrame();
        ptz_.Refresh();
    });
    shell.registerSave(app::area::kChannel, [this] { return page_.SaveSetting(); });
    shell.registerSave(app::area::kPresets, [this] { return ptz_.SaveSetting(); });
}

std::unique_ptr<app::DocumentPart> ChannelSubject::document() {
    return std::make_unique<ChannelDocument>(tables_, services_.link, services_.removal, dualStream);
}

void ChannelSubject::tabChannel_Click(int index) {
    page_.tabChannel = index;
    if (index == kTabPtz) showPtz();
}

bool ChannelSubject::gridChannelList_DblClick(int row) {
    if (!page_.SelectChannel(row + 1)) return false;
    page_.tabChannel = kTabSetting;
    return true;
}

void ChannelSubject::showPtz() {
    ptz_.Refresh();
    if (ptz_.channel() != 0 || ptz_.cmdPtesetCH.items.empty()) return;
    int item = 0;
    const std::string mark = "[" + std::to_string(page_.iSelCH) + "]";
    for (size_t i = 0; i < ptz_.cmdPtesetCH.items.size(); ++i)
        if (ptz_.cmdPtesetCH.items[i].ends_with(mark)) item = static_cast<int>(i);
    ptz_.cmdPtesetCH_Click(item);
}

void ChannelSubject::channelDirtyChanged(bool dirty) {
    if (shell_) shell_->setDirty(app::area::kChannel, dirty);
}

int32_t ChannelSubject::openPreview(const ChannelRecord& record, const std::string& command) {
    const std::string reply = services_.link.SendCommand(0, true, command);
    if (base::CheckResult(reply) < 0) return kPreviewLinkFailed;
    const int32_t code = app::CheckCMDReturn(reply);
    if (code < 0) return kPreviewLinkFailed;
    if (code > 0) return code + kPreviewShown;
    if (showPreviewWindow) showPreviewWindow(record);
    return kPreviewShown;
}

void ChannelSubject::channelRemoved(int32_t ch) {
    tables_.presetLists.erase(ch);
    services_.removal.run(ch);
}

void ChannelSubject::channelsChanged() {
    if (shell_) shell_->configChanged();
    const std::string reply = services_.link.SendCommand(0, true, ChannelDetail_XML(page_.channelCount()));
    if (base::CheckResult(reply) >= 0) Load_ChannelDetailInfo_XML(reply, tables_.strCH);
    page_.RefreshList();
    ptz_.Refresh();
}

}  // namespace kv::channels
