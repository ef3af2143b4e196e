// The server page: identity, ports, language, DDNS, the service's state and the channel overview.
#pragma once

#include "ui/binders.h"
#include "ui/page.h"

namespace kv::admin {
class ServerPageModel;
}
namespace kv::app {
class ShellModel;
}
namespace kv::base {
class Language;
}

namespace kv::ui {

class ServerPage : public Page {
public:
    ServerPage(admin::ServerPageModel& model, app::ShellModel& shell, const base::Language& lang);
    void refresh() override { binder_.refresh(); }

private:
    admin::ServerPageModel& model_;
    app::ShellModel& shell_;
    const base::Language& lang_;
    Binder binder_;
};

}  // namespace kv::ui
