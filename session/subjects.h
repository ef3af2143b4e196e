// The list of subjects: the one place that names them. The session, the desktop client and
// kelvarra-ctl walk it; its order is the order of the document's sections and of their saves.
#pragma once

#include <memory>
#include <vector>

#include "app/subject.h"
#include "session/config.h"

namespace kv::admin {
class ServerPageHost;
}

namespace kv::session {

using SubjectList = std::vector<std::unique_ptr<app::Subject>>;

/// Every subject of this version over the session's tables.
SubjectList MakeSubjects(Config& config, const app::SubjectServices& services, admin::ServerPageHost& serverHost);

}  // namespace kv::session
