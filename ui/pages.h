// The pages of the configuration window: one factory per subject that has a page. Adding a
// subject's page is one line here.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace kv::app {
class ShellModel;
}
namespace kv::base {
class Language;
}
namespace kv::session {
class Session;
}

namespace kv::ui {

class Page;

/// What a page is built from: the session (its subjects have joined the shell), the shell, the
/// language.
struct PageDeps {
    session::Session& session;
    app::ShellModel& shell;
    const base::Language& lang;
};

struct PageFactory {
    int32_t menuIndex;
    std::function<Page*(const PageDeps&)> make;
};

/// The factories in menu order.
const std::vector<PageFactory>& PageFactories();

}  // namespace kv::ui
