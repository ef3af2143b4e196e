// The recording subject's wiring.
#include "recording/subject.h"

#include <pugixml.hpp>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "channels/subject.h"
#include "recording/codec.h"
#include "recording/document.h"
#include "recording/save.h"

namespace kv::recording {

RecordingSubject::RecordingSubject(const channels::ChannelTables& channels, const app::SubjectServices& services,
                                   channels::ChannelSubject* channelSubject)
    : channels_(channels), services_(services) {
    if (!channelSubject) return;
    channels::DualStreamHooks& hooks = channelSubject->dualStream;
    hooks.dualMode = [this](int32_t ch) { return dualModeOf(ch); };
    hooks.switchOff = [this](int32_t ch) { return switchDualModeOff(ch); };
    hooks.switchOffSave = [this](int32_t ch) {
        RecSetRecord r = tables_.strRecSet[static_cast<size_t>(ch - 1)];
        r.DualMode = 0;
        r.Edited = false;
        link::ServiceLink& link = services_.link;
        RecordingTables& t = tables_;
        return app::PendingSave{"strRecSet (CH " + std::to_string(ch) + ")", Set_RecSet_XML(r),
                                [&link, r](std::string& reply) { return SaveRecSet_Setting(link, r, &reply); },
                                [&t, r] { t.strRecSet[static_cast<size_t>(r.CH - 1)] = r; }};
    };
}

RecordingSubject::~RecordingSubject() = default;

void RecordingSubject::registerReaders(app::Dispatcher& d) {
    using Doc = pugi::xml_document;
    d.registerParser(32783, [this](const Doc& r) {
        Load_RecSetting_XML(r, tables_.strRecSet);
        // A reload after a save, or the login's second read: the settings show it unless edited.
        if (page_ && !page_->settings.dirty()) page_->settings.ShowRecInfo();
    });
    d.registerParser(32785, [this](const Doc& r) {
        Load_RecPath_XML(r, tables_.strStorage, tables_.RetainDays, tables_.ReservedGB);
    });
    d.registerParser(32808, [this](const Doc& r) { Load_RecSCDL_XML(r, tables_.strRecSCDL); });
    d.registerParser(32815, [this](const Doc& r) { Load_GetHDPath_XML(r, tables_.strHDPath); });
    d.registerParser(32816, [this](const Doc& r) {
        if (page_) page_->storage.OnDirList(r);
    });
    d.setFollowUp(app::FollowUp::ShowRecInfo, [this] {
        if (page_) act([this] { page_->ShowRecInfo(); return true; });
    });
    d.setFollowUp(app::FollowUp::ShowStorage, [this] {
        if (!page_) return;
        act([this] {
            if (page_->storage.dirty()) return true;
            page_->storage.ShowStorage();
            return page_->storage.imgStoragebtn_Click(1);
        });
    });
}

void RecordingSubject::registerRemoval(app::ChannelRemoval& removal) {
    // The tables are by channel and keep the removed channel's entry: only the page follows.
    removal.add(app::RemovalStep::kRecording, nullptr, [this](int32_t ch) {
        if (!page_) return;
        act([this, ch] {
            page_->ChannelRemoved(ch);
            return true;
        });
    });
}

void RecordingSubject::resetBeforeLoad() { tables_.strHDPath = EmptyHDPathList(); }

void RecordingSubject::attach(app::ShellPort& shell) {
    shell_ = &shell;
    page_ = std::make_unique<RecordingPage>(tables_, channels_, services_.link, services_.prompter, services_.lang,
                                            services_.title);
    page_->schedule.onConfigChanged = [&shell] { shell.configChanged(); };
    shell.registerPage(app::menu::kRecording, [this] { open(); });
    shell.registerLeave(app::menu::kRecording, [this] { act([this] { return page_->LeaveSchedule(); }); });
    shell.registerSave(app::area::kStorage, [this] { return saveStorage(); });
    shell.registerSave(app::area::kRecSettings, [this] { return saveSettings(); });
    shell.registerSave(app::area::kRecSchedule, [this] { return saveSchedule(); });
}

std::unique_ptr<app::DocumentPart> RecordingSubject::document() {
    return std::make_unique<RecordingDocument>(tables_, channels_);
}

void RecordingSubject::open() {
    if (!page_) return;
    page_->storage.localService = services_.localLogin();
    act([this] {
        page_->Open();
        return true;
    });
}

bool RecordingSubject::act(const std::function<bool()>& action) {
    const bool ok = action();
    syncShell();
    return ok;
}

bool RecordingSubject::saveSettings() {
    if (!page_) return false;
    const bool wasDirty = page_->settings.dirty();
    const bool ok = act([this] { return page_->settings.imgRecsetbtn_Click(0); });
    if (ok && wasDirty) {
        if (shell_) shell_->saveSucceeded(app::area::kRecSettings);
        reloadSettings();
    }
    return ok;
}

bool RecordingSubject::saveSchedule() {
    return page_ && act([this] { return page_->schedule.imgRecSCDLbtn_Click(0); });
}

bool RecordingSubject::saveStorage() {
    if (!page_) return false;
    const bool ok = act([this] { return page_->storage.imgStoragebtn_Click(0); });
    if (ok && shell_) shell_->saveSucceeded(app::area::kStorage);
    return ok;
}

bool RecordingSubject::commitDualDialog() {
    return page_ && act([this] { return page_->settings.dualDialogCommit(services_.log); });
}

void RecordingSubject::syncShell() {
    if (!shell_ || !page_) return;
    shell_->setDirty(app::area::kStorage, page_->storage.dirty());
    shell_->setDirty(app::area::kRecSettings, page_->settings.dirty());
    shell_->setDirty(app::area::kRecSchedule, page_->schedule.dirty());
}

int16_t RecordingSubject::dualModeOf(int32_t ch) const {
    if (ch < 1 || ch > base::kMaxChannel) return -1;
    return tables_.strRecSet[static_cast<size_t>(ch - 1)].DualMode;
}

bool RecordingSubject::switchDualModeOff(int32_t ch) {
    if (ch < 1 || ch > base::kMaxChannel) return false;
    if (!page_) {
        RecSetRecord r = tables_.strRecSet[static_cast<size_t>(ch - 1)];
        r.DualMode = 0;
        if (!SaveRecSet_Setting(services_.link, r)) return false;
        tables_.strRecSet[static_cast<size_t>(ch - 1)] = r;
        return true;
    }
    const bool ok = act([this, ch] { return page_->settings.SwitchDualModeOff(ch); });
    if (ok && shell_) shell_->configChanged();
    return ok;
}

void RecordingSubject::reloadSettings() {
    // The service may have adjusted what it took: the settings are read again, answered later.
    services_.link.SendCommand(0, false, Get_RecSetting_XML(channels_.iMaxChannel));
}

}  // namespace kv::recording
