// Routing of the link's events, and the parsers of the subjects this layer knows.
#include "app/session.h"

#include <pugixml.hpp>
#include <chrono>

#include "admin/codec.h"
#include "channels/codec.h"
#include "users/codec.h"

namespace kv::app {

void QueueExecutor::post(std::function<void()> fn) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(fn));
    }
    cv_.notify_one();
}

size_t QueueExecutor::drain(int timeoutMs) {
    std::deque<std::function<void()>> batch;
    {
        std::unique_lock lock(mutex_);
        if (queue_.empty() && timeoutMs > 0)
            cv_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return !queue_.empty(); });
        batch.swap(queue_);
    }
    for (auto& fn : batch) {
        try {
            fn();
        } catch (...) {
        }
    }
    return batch.size();
}

Session::Session(link::ServiceLink& link, Prompter& prompter, const base::Language& lang, base::Log& log,
                 LoginHost& host, std::string appTitle)
    : login(link, dispatcher, config, prompter, lang, log, host, std::move(appTitle)), link_(link) {
    registerParsers();
    link_.setEvents(this);
}

Session::~Session() { link_.setEvents(nullptr); }

void Session::registerParsers() {
    using Doc = pugi::xml_document;
    dispatcher.registerParser(24582, [this](const Doc& r) { channels::Load_ChannelDetailInfo_XML(r, config.strCH); });
    login.syncParsers.channelDetail = [this](const std::string& x) {
        channels::Load_ChannelDetailInfo_XML(x, config.strCH);
    };
    dispatcher.registerParser(24578, [this](const Doc& r) {
        channels::GetChannelStatus(r, config.strCH, config.iMaxChannel);
    });
    dispatcher.registerParser(8194, [this](const Doc& r) { channels::Load_SearchCAMList_XML(r, config.strSearchCam); });
    dispatcher.registerParser(32790, [this](const Doc& r) { admin::Load_ServiceInfo_XML(r, config.serverInfo); });
    dispatcher.registerParser(32801, [this](const Doc& r) { users::Load_UserList_XML(r, config.strUser); });
    dispatcher.registerParser(32803, [this](const Doc& r) { users::Load_UserGroup_XML(r, config.strUserGroup); });
    dispatcher.registerParser(32837, [this](const Doc& r) { admin::Load_DDNSSetting_XML(r, config.ddns); });
    dispatcher.registerParser(40961, [this](const Doc& r) { admin::GetServiceStatus(r, config.serviceStatus); });
}

void Session::OnResponse(int32_t, const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    ++responsesRouted_;
    dispatcher.ControlCOM_OnResponse(xml);
}

void Session::OnNotifyServiceStatus(int32_t, int32_t status) {
    if (dispatcher.bAppEnding) return;
    login.onLinkStatus(status);
}

void Session::OnGetMapPic(int32_t, int32_t, int32_t, const std::string&) {}
void Session::OnBackupDatabaseStatus(int32_t, int32_t) {}
void Session::OnBackupToAVIStatus(int32_t, int32_t) {}

void Session::OnNotify(int32_t, const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    dispatcher.ServerNotify(xml);
}

void Session::OnSearchResult(const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    if (onSearchResult) onSearchResult(xml);
}

void Session::OnReceiveStatus(int32_t, int32_t) {}

}  // namespace kv::app
