// The login: start of the connection, the status timer, and the session start (steps in order).
#include "session/login.h"

#include <vector>

#include "admin/codec.h"
#include "channels/codec.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "base/lang.h"
#include "base/log.h"
#include "base/text.h"
#include "link/service_link.h"
#include "users/codec.h"

namespace kv::session {
namespace {

// Splits "a.b.c" into its parts; the parts are read as numbers.
std::vector<int64_t> versionParts(const std::string& v) {
    std::vector<int64_t> parts;
    size_t pos = 0;
    while (pos <= v.size()) {
        size_t dot = v.find('.', pos);
        if (dot == std::string::npos) dot = v.size();
        parts.push_back(base::LeadingNumber(std::string_view(v).substr(pos, dot - pos)));
        pos = dot + 1;
    }
    return parts;
}

std::string channelListBody(int32_t count) {
    std::string body = "<CHList>";
    for (int32_t ch = 1; ch <= count; ++ch) body += "<CH>" + std::to_string(ch) + "</CH>";
    return body + "</CHList>";
}

}  // namespace

int32_t CompareVersion(const std::string& server, const std::string& client) {
    const auto s = versionParts(server);
    const auto c = versionParts(client);
    if (s.size() < 3 || c.size() < 3) return -3;
    for (size_t i = 0; i < 3; ++i) {
        if (s[i] < c[i]) return -1;
        if (s[i] > c[i]) return -2;
    }
    return 0;
}

LoginController::LoginController(link::ServiceLink& link, app::Dispatcher& dispatcher, Config& config,
                                 app::Prompter& prompter, const base::Language& lang, base::Log& log,
                                 LoginHost& host, std::string appTitle)
    : link_(link), dispatcher_(dispatcher), config_(config), prompter_(prompter), lang_(lang), log_(log),
      host_(host), appTitle_(std::move(appTitle)) {}

std::string LoginController::text(int32_t id) const { return lang_.GetText(id); }

ServerRow& LoginController::row() {
    if (strService.empty()) strService.emplace_back();
    if (iCurService < 0 || static_cast<size_t>(iCurService) >= strService.size()) iCurService = 0;
    return strService[static_cast<size_t>(iCurService)];
}

void LoginController::failBox(int32_t textId) {
    prompter_.box(app::BoxKind::Critical, text(textId), appTitle_);
    host_.unload();
}

void LoginController::imgLoginBtn_Click(int32_t index) {
    if (index != 0) {
        prompter_.status(text(49));
        bExitAsked = true;
        return;
    }
    link_.SetVendorName(kVendorName);
    const std::string tag = appTitle_ + "_" + kVendorName;
    std::string user, pass, ip;
    int32_t port = 0;
    if (cmdLine.bCmdLogin && !bClickLogin) {
        user = cmdLine.sCmdUser;
        pass = cmdLine.sCmdPass;
        iCurService = 0;
        ip = cmdLine.sCmdIP;
        port = cmdLine.iCmdPort;
    } else {
        if (cmbServiceIndex < 0 || static_cast<size_t>(cmbServiceIndex) >= strService.size()) {
            prompter_.box(app::BoxKind::Notice, text(45), appTitle_);
            return;
        }
        const int32_t i = cmbServiceIndex;
        ServerRow& r = strService[static_cast<size_t>(i)];
        bLocalLogin = strService[0].bLocalService && i == 0;
        if (bLocalLogin) r.iState = host_.queryLocalServiceState();
        if (bLocalLogin && r.iState != 4) {
            r.iState = host_.runServiceControl();
            if (r.iState != 4) {
                const int32_t id = r.iState == -2 ? 513 : r.iState == 2 ? 515 : r.iState == 3 ? 514 : 516;
                prompter_.status(text(id));
                return;
            }
        }
        const std::string open = bLocalLogin ? " [ local server  " : " [ ";
        prompter_.status(text(46) + open + r.ServiceName + " - " + r.ServiceIP + " : " + std::to_string(r.ServicePort) + "]");
        user = txtUser;
        pass = txtPassword;
        // A row without a name lends its saved account only where the form has none: what the
        // user typed is what the user means.
        if (r.ServiceName.empty() && base::Trim(user).empty()) {
            user = r.ServiceUserAccount;
            pass = r.ServicePassword;
        }
        iCurService = i;
        ip = r.ServiceIP;
        port = r.ServicePort;
        log_.SetLog("Login Service", std::to_string(port) + ":" + ip, 0);
    }
    sLoginUser = user;
    sLoginPass = pass;
    dispatcher_.resetDataReady();
    row().iLinkStatus = 0;  // a new attempt: the last attempt's status no longer counts
    iWaitSeconds = 0;       // and it has the whole time limit
    gaveUp_ = false;
    link_.Logout(hLogin);
    hLogin = link_.Login(ip, port, user, pass, tag);
    if (hLogin < 0) {
        prompter_.status(text(48));
        return;
    }
    bLoginWait = true;
}

void LoginController::onLinkStatus(int32_t status) {
    ServerRow& r = row();
    r.iLinkActive = 1;
    r.iLinkStatus = status;
    if (bLoginWait && !inSessionStart_) evaluateStatus(status);
    // The form gave up on this attempt: a late success is logged out, not left open.
    else if (gaveUp_ && status == link::status::kLoggedIn) {
        gaveUp_ = false;
        link_.Logout(hLogin);
    }
}

void LoginController::Timer1000() {
    try {
        if (bExitAsked) {
            bLoginWait = false;
            host_.unload();
            return;
        }
        if (!bLoginWait) return;
        ++iWaitSeconds;
        evaluateStatus(row().iLinkStatus);
        if (iWaitSeconds >= kLoginTickLimit && !bEntered) {
            iWaitSeconds = 0;
            bLoginWait = false;
            gaveUp_ = true;
            prompter_.status(text(50));
            if (cmdLine.bCmdLogin) failBox(50);
        }
    } catch (...) {
        // An unexpected error ends this tick; the next one goes on.
    }
}

void LoginController::evaluateStatus(int32_t status) {
    switch (status) {
        case link::status::kShuttingDown:
            prompter_.status(text(461));
            if (cmdLine.bCmdLogin) failBox(461);
            break;
        case link::status::kRemoteUnsupported:
            prompter_.status(text(443));
            bLoginWait = false;
            if (cmdLine.bCmdLogin) failBox(47);
            break;
        case link::status::kRemoteRejected:
            prompter_.status(text(442));
            bLoginWait = false;
            if (cmdLine.bCmdLogin) failBox(442);
            break;
        case link::status::kAuthFailed:
            prompter_.status(text(672));
            bLoginWait = false;
            if (cmdLine.bCmdLogin) failBox(53);
            break;
        case link::status::kDisconnected: {
            // The connection could not be made (refused, unknown host, no route) or was lost
            // before the service let us in: nothing more will come, so the wait ends now, with
            // the link's reason.
            if (bEntered) break;
            bLoginWait = false;
            const std::string why = link_.lastError();
            const std::string line = text(50) + (why.empty() ? std::string() : " (" + why + ")");
            prompter_.status(line);
            if (cmdLine.bCmdLogin) {
                prompter_.box(app::BoxKind::Critical, line, appTitle_);
                host_.unload();
            }
            break;
        }
        case link::status::kConnecting: prompter_.status(text(46)); break;
        case link::status::kAuthorizing: prompter_.status(text(51)); break;
        case link::status::kLoggedIn:
            prompter_.status(text(56));
            bLoginWait = false;
            sessionStart();
            break;
        default: break;
    }
}

void LoginController::sessionStart() {
    inSessionStart_ = true;
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{inSessionStart_};

    auto sync = [this](const std::string& command, std::string& reply) {
        reply = link_.SendCommand(0, true, command);
        return base::CheckResult(reply) >= 0;
    };
    auto async = [this](const std::string& command) { link_.SendCommand(0, false, command); };
    std::string reply;

    // 1. The accounts; with none at all, the group check is skipped.
    if (!sync(app::CommandC(app::cmd::kGetUsers), reply)) return;
    users::Load_UserList_XML(reply, config_.strUser);
    // The synchronous answers do not pass the dispatcher: their data-arrived flags are set here.
    dispatcher_.bDataReady[16] = true;
    // 2. Only the administrators' group may configure.
    if (!users::NoUsers(config_.strUser)) {
        if (!sync(users::Get_UserGroupOfUser_XML(sLoginUser), reply)) return;
        if (users::XML_GetUserGroupID(reply) != 1) {
            prompter_.status(text(53));
            link_.Logout(hLogin);
            if (cmdLine.bCmdLogin) failBox(53);
            return;
        }
    }
    // 3. The session's server and account.
    ServerRow& r = row();
    sSessionIP = cmdLine.bCmdLogin && !bClickLogin ? cmdLine.sCmdIP : r.ServiceIP;
    iSessionPort = cmdLine.bCmdLogin && !bClickLogin ? cmdLine.iCmdPort : r.ServicePort;
    // 4. Server information.
    prompter_.status(text(414));
    if (!sync(admin::Get_ServiceInfo_XML(), reply)) return;
    admin::Load_ServiceInfo_XML(reply, config_.serverInfo);
    // 5. Only a service of this client's version goes on.
    const int32_t cmp = CompareVersion(config_.serverInfo.Version, kCompatVersion);
    if (cmp != 0) {
        prompter_.status(text(570));
        if (cmp == -1)
            prompter_.box(app::BoxKind::Critical, text(568), appTitle_ + " ver" + config_.serverInfo.PackageVersion);
        else
            prompter_.box(app::BoxKind::Critical, text(569), appTitle_ + " ver" + host_.packageVersion());
        host_.unload();
        return;
    }
    // 6. The local server table keeps this login's account and time zone.
    host_.storeServerTable(r, config_.serverInfo);
    dispatcher_.bDataReady[0] = true;
    // 7. Groups, 8. DDNS, 9. channels.
    prompter_.status(text(417));
    if (sync(users::Get_UserGroup_XML(), reply)) {
        users::Load_UserGroup_XML(reply, config_.strUserGroup);
        dispatcher_.bDataReady[15] = true;
    }
    if (sync(app::CommandC(app::cmd::kGetDdns), reply)) admin::Load_DDNSSetting_XML(reply, config_.ddns);
    prompter_.status(text(374));
    if (sync(app::CommandA(app::cmd::kGetChannelDetail, app::userdata::kFormMain, channelListBody(config_.iMaxChannel)), reply)) {
        channels::Load_ChannelDetailInfo_XML(reply, config_.strCH);
        dispatcher_.bDataReady[1] = true;
    }
    // 10. Analytics: the region reads with channel 0 stand for all channels.
    prompter_.status(text(415));
    async(app::CommandA(app::cmd::kGetAnalytics, ""));
    for (int32_t id : {app::cmd::kGetMotionRoi, app::cmd::kGetObjectLossRoi, app::cmd::kGetTripwireRoi, app::cmd::kGetFaceCountingRoi})
        async(app::CommandA(id, "<CH>0</CH>"));
    async(app::CommandC(app::cmd::kGetObjectCountingRoi));
    async(app::CommandC(app::cmd::kGetPosTriggers));
    // 11. Events and their destinations.
    prompter_.status(text(416));
    for (int32_t id : {app::cmd::kGetEventActions, app::cmd::kGetActionGroups, app::cmd::kGetEventSchedule, app::cmd::kGetMailServers,
                       app::cmd::kGetFtpServers, app::cmd::kGetHttpServers, app::cmd::kGetTcpServers, app::cmd::kGetSoundFiles,
                       app::cmd::kGetSopList})
        async(app::CommandA(id, ""));
    // 12. Map nodes: groups first, then cameras.
    prompter_.status(text(375));
    async(app::CommandA(app::cmd::kGetEMapNode, app::userdata::kFormGetRemoteData, "<Type>1</Type>"));
    async(app::CommandA(app::cmd::kGetEMapNode, app::userdata::kFormGetRemoteData, "<Type>0</Type>"));
    // 13. Recording and storage; the recording settings are asked twice on purpose. The disk
    // list (with the map pictures and the POS table) goes back to one row before its read.
    prompter_.status(text(378));
    async(app::CommandA(app::cmd::kGetStorage, ""));
    async(app::CommandA(app::cmd::kGetRecSettings, ""));
    async(app::CommandA(app::cmd::kGetRecSchedule, ""));
    if (resetBeforeLoad) resetBeforeLoad();
    async(app::CommandA(app::cmd::kGetDiskSizes, ""));
    async(app::CommandA(app::cmd::kGetRecSettings, ""));
    async(app::CommandC(app::cmd::kGetServiceStatus));
    // 14. POS.
    async(app::CommandC(app::cmd::kGetPosDevices));
    async(app::CommandC(app::cmd::kGetPosProfiles));
    async(app::CommandC(app::cmd::kGetComPorts));
    // 15. The configuration window.
    bKeepForm = false;
    bEntered = true;
    host_.enterConfiguration(cmdLine.bCmdLogin ? cmdLine.iCmdFrame : -1);
}

}  // namespace kv::session
