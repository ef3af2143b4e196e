// The server page's subject: the readers of the server information, DDNS settings and service
// state, the server page in the shell (menu entry 0, save area 0, its marks), and the read-only
// sections "ServerInfo" and "DDNSSetting" of kelvarra-ctl's documents.
#pragma once

#include <memory>
#include <string>

#include "admin/records.h"
#include "admin/server_page.h"
#include "app/subject.h"
#include "channels/records.h"

namespace kv::admin {

class AdminSubject final : public app::Subject {
public:
    /// `channels` feeds the page's channel overview; `host` is the client around the page.
    AdminSubject(AdminTables& tables, const channels::ChannelTables& channels, ServerPageHost& host,
                 const app::SubjectServices& services);
    ~AdminSubject() override;

    std::string name() const override { return "server"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    /// The page model; null before the configuration opens.
    ServerPageModel* page() const { return page_.get(); }

private:
    AdminTables& tables_;
    const channels::ChannelTables& channels_;
    ServerPageHost& host_;
    app::SubjectServices services_;
    std::unique_ptr<ServerPageModel> page_;
};

}  // namespace kv::admin
