// The account sections of kelvarra-ctl's documents: "strUser" and "strUserGroup".
#pragma once

#include <memory>

#include "app/document.h"
#include "users/records.h"

namespace kv::users {

struct UserRun;

class UserDocument final : public app::DocumentPart {
public:
    /// `channelCount` is the server's, as it stands when a run stages.
    UserDocument(UserTables& tables, const int32_t& channelCount);
    ~UserDocument() override;

    std::vector<std::string> names() const override;
    void dump(app::Json& doc, const app::DumpForm& form) const override;
    void stage(const app::Json& doc, app::Stage& stage) override;
    std::vector<std::string> plan() const override;
    void saves(app::Stage& stage, std::vector<app::PendingSave>& out) override;

private:
    UserTables& tables_;
    const int32_t& channelCount_;
    std::unique_ptr<UserRun> run_;
};

}  // namespace kv::users
