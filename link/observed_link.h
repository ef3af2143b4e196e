// A link that tells an observer of every command sent through it and of what came back, and
// otherwise hands everything to the link beneath. kelvarra-ctl shows the sends it makes so.
#pragma once

#include <functional>
#include <string>

#include "link/service_link.h"

namespace kv::link {

class ObservedLink final : public ServiceLink {
public:
    explicit ObservedLink(ServiceLink& inner) : inner_(inner) {}

    /// A command went out; `reply` is empty for one not waited for.
    std::function<void(const std::string& command, const std::string& reply, bool waited)> onSend;

    void setEvents(LinkEvents* events) override { inner_.setEvents(events); }
    int32_t Login(const std::string& ip, int32_t port, const std::string& user, const std::string& password,
                  const std::string& clientTag) override {
        return inner_.Login(ip, port, user, password, clientTag);
    }
    std::string SendCommand(int32_t reserved, bool bWait, const std::string& xml) override {
        std::string reply = inner_.SendCommand(reserved, bWait, xml);
        if (onSend) onSend(xml, reply, bWait);
        return reply;
    }
    void Logout(int32_t hLogin) override { inner_.Logout(hLogin); }
    int32_t GetExportProgress() override { return inner_.GetExportProgress(); }
    int32_t StartBackupToAVI(int32_t reserved, const std::string& xml) override {
        return inner_.StartBackupToAVI(reserved, xml);
    }
    int32_t GetBackupProgress(int32_t exportID) override { return inner_.GetBackupProgress(exportID); }
    int32_t StartBackupDatabase(int32_t reserved, const std::string& xml) override {
        return inner_.StartBackupDatabase(reserved, xml);
    }
    bool StopExport(int32_t exportID) override { return inner_.StopExport(exportID); }
    void SetVendorName(const std::string& name) override { inner_.SetVendorName(name); }
    int32_t GetMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath,
                          int32_t flag) override {
        return inner_.GetMapPicture(serverFile, groupID, targetPath, flag);
    }
    void UploadMapPicture(const std::string& path, int32_t groupID, int32_t flag) override {
        inner_.UploadMapPicture(path, groupID, flag);
    }
    std::string FilterTest(const std::string& rawText, const std::string& profileXml) override {
        return inner_.FilterTest(rawText, profileXml);
    }
    void SearchServers(int32_t seconds, int32_t type) override { inner_.SearchServers(seconds, type); }
    void setSendTimeout(int32_t milliseconds) override { inner_.setSendTimeout(milliseconds); }
    std::string lastError() const override { return inner_.lastError(); }

private:
    ServiceLink& inner_;
};

}  // namespace kv::link
