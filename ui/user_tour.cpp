// The user page in the screenshot tour.
#include "ui/user_tour.h"

#include <QAbstractButton>
#include <QTabWidget>
#include <QTableWidget>

#include "app/shell.h"
#include "ui/client_app.h"
#include "ui/config_window.h"

namespace kv::ui {
namespace {

// The last row of a list (in the demo, the record with every field filled in); -1 when empty.
int lastRow(QWidget* window, const char* grid) {
    auto* g = window ? window->findChild<QTableWidget*>(grid) : nullptr;
    return g ? g->rowCount() - 1 : -1;
}

}  // namespace

std::vector<TourStep> UserTourSteps(ClientApp& client, std::function<void(QWidget*, const QString&)> grab) {
    std::vector<TourStep> steps;
    steps.push_back({[&client, grab] {
        app::ShellModel* shell = client.shell();
        QWidget* window = client.configWindow();
        if (!shell || !window || !client.userPage() || !shell->lbMenu[static_cast<size_t>(app::menu::kUser)].enabled) return true;
        auto* menu = window->findChild<QAbstractButton*>(QString("lbMenu_%1").arg(app::menu::kUser));
        if (menu) menu->click();
        // An account chosen in the list, as a click on its row does.
        auto* grid = window->findChild<QTableWidget*>("gridUser_0");
        const int row = lastRow(window, "gridUser_0");
        if (grid && row >= 0) emit grid->cellClicked(row, 1);
        client.refreshAll();
        grab(window, "12-user-accounts.png");
        return true;
    }});
    steps.push_back({[&client, grab] {
        QWidget* window = client.configWindow();
        if (!window || !client.userPage()) return true;
        if (auto* tabs = window->findChild<QTabWidget*>("tabUser")) tabs->setCurrentIndex(1);
        auto* grid = window->findChild<QTableWidget*>("gridUser_1");
        const int row = lastRow(window, "gridUser_1");
        if (grid && row >= 0) emit grid->cellClicked(row, 1);
        client.refreshAll();
        grab(window, "13-user-group-rights.png");
        // Back to the accounts, so that the page is left as it was found.
        if (auto* tabs = window->findChild<QTabWidget*>("tabUser")) tabs->setCurrentIndex(0);
        client.refreshAll();
        return true;
    }});
    return steps;
}

}  // namespace kv::ui
