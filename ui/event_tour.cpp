// The event page's steps of the screenshot tour, made with the widgets as a user would.
#include "ui/event_tour.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLineEdit>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>

#include "app/shell.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/event_page.h"

namespace kv::ui {
namespace {

constexpr int kTimeoutMs = 15000;
// The demo's group that uses every kind of destination.
constexpr int kFullGroupRow = 2;

EventPage* pageOf(ClientApp& client) {
    return client.configWindow() ? dynamic_cast<EventPage*>(client.configWindow()->page(app::menu::kEvent)) : nullptr;
}

// What the refresh changed is laid out and painted before the picture is taken.
void settle(ClientApp& client) {
    client.refreshAll();
    QCoreApplication::processEvents();
}

void clickRow(EventPage* page, const char* grid, int row) {
    auto* view = page->findChild<QTableView*>(grid);
    if (view && row < view->model()->rowCount()) emit view->clicked(view->model()->index(row, 1));
}

void click(EventPage* page, const char* name) {
    if (auto* b = page->findChild<QAbstractButton*>(name); b && b->isEnabled()) b->click();
}

}  // namespace

void AddEventTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                       const std::function<void(std::function<bool()>, int)>& add) {
    // The first mail server open; the cursor in its subject, where the tokens go.
    add([&client, grab] {
        EventPage* page = pageOf(client);
        if (!page || !client.shell()->lbMenu[app::menu::kEvent].enabled) return true;
        client.shell()->lbMenu_Click(app::menu::kEvent);
        client.refreshAll();
        page->findChild<QTabWidget*>("tabEvent")->setCurrentIndex(0);
        page->findChild<QTabBar*>("tabEventServerSetting")->setCurrentIndex(0);
        clickRow(page, "gridEventActionServer", 0);
        if (auto* subject = page->findChild<QLineEdit*>("txtEventMail_9")) subject->setFocus();
        settle(client);
        grab(client.configWindow(), "50-event-mail-server.png");
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        EventPage* page = pageOf(client);
        if (!page) return true;
        page->findChild<QTabWidget*>("tabEvent")->setCurrentIndex(1);
        settle(client);
        grab(client.configWindow(), "51-event-action-groups.png");
        return true;
    }, kTimeoutMs);
    // A group chosen and its sound switched, not saved yet; then dropped again.
    add([&client, grab] {
        EventPage* page = pageOf(client);
        if (!page) return true;
        clickRow(page, "gridEventGroup", kFullGroupRow);
        client.refreshAll();
        click(page, "chkEventGroup_6");
        settle(client);
        grab(client.configWindow(), "52-event-group-edit.png");
        click(page, "imgEventGroupbtn_1");
        page->findChild<QTabWidget*>("tabEvent")->setCurrentIndex(0);
        client.refreshAll();
        return true;
    }, kTimeoutMs);
}

}  // namespace kv::ui
