// The recording subject's steps of the screenshot tour.
#include "ui/recording_tour.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTabWidget>

#include "app/shell.h"
#include "recording/page.h"
#include "recording/subject.h"
#include "session/session.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/folder_pickers.h"
#include "ui/rec_detail_dialog.h"
#include "ui/recording_page.h"
#include "ui/week_grid_widget.h"

namespace kv::ui {
namespace {

// The demo's channels shown: one recording on its schedule, one with a second stream.
constexpr int32_t kScheduledChannel = 3;
constexpr int32_t kDualChannel = 1;
constexpr int kTimeoutMs = 15000;

recording::RecordingSubject* subjectOf(ClientApp& client) {
    return client.session() ? client.session()->subject<recording::RecordingSubject>() : nullptr;
}

RecordingPage* pageOf(ClientApp& client) {
    return client.configWindow() ? dynamic_cast<RecordingPage*>(client.configWindow()->page(app::menu::kRecording))
                                 : nullptr;
}

// The tab strip goes through the page model like a click on it.
void showTab(RecordingPage* page, int tab) { page->findChild<QTabWidget*>("tabREC")->setCurrentIndex(tab); }

// What the refresh changed is laid out and painted before the picture is taken.
void settle(ClientApp& client) {
    client.refreshAll();
    QCoreApplication::processEvents();
}

void mouse(QWidget* w, QEvent::Type type, Qt::MouseButton button, QPoint at) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button);
    QMouseEvent e(type, at, w->mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : button, held, {});
    QCoreApplication::sendEvent(w, &e);
}

}  // namespace

void AddRecordingTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                           const std::function<void(std::function<bool()>, int)>& add) {
    add([&client, grab] {
        recording::RecordingSubject* s = subjectOf(client);
        RecordingPage* page = pageOf(client);
        if (!s || !page || !client.shell()->lbMenu[app::menu::kRecording].enabled) return true;
        client.shell()->lbMenu_Click(app::menu::kRecording);
        s->act([s] { return s->page()->SelectChannel(kScheduledChannel); });
        settle(client);
        grab(client.configWindow(), "40-recording-settings.png");
        return true;
    }, kTimeoutMs);
    // A week with an evening painted in, the band of a second drag still open over Sunday.
    add([&client, grab] {
        RecordingPage* page = pageOf(client);
        if (!page || !subjectOf(client)) return true;
        showTab(page, recording::kTabSchedule);
        client.refreshAll();
        WeekGridWidget* week = page->weekGrid();
        mouse(week, QEvent::MouseButtonPress, Qt::LeftButton, week->cellRect(2, 77).center());
        mouse(week, QEvent::MouseMove, Qt::LeftButton, week->cellRect(6, 88).center());
        mouse(week, QEvent::MouseButtonRelease, Qt::LeftButton, week->cellRect(6, 88).center());
        mouse(week, QEvent::MouseButtonPress, Qt::LeftButton, week->cellRect(1, 40).center());
        mouse(week, QEvent::MouseMove, Qt::LeftButton, week->cellRect(1, 56).center());
        settle(client);
        grab(client.configWindow(), "41-recording-schedule.png");
        mouse(week, QEvent::MouseButtonRelease, Qt::LeftButton, week->cellRect(1, 56).center());
        page->findChild<QAbstractButton*>("imgRecSCDLbtn_1")->click();
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        RecordingPage* page = pageOf(client);
        if (!page) return true;
        showTab(page, recording::kTabStorage);
        settle(client);
        grab(client.configWindow(), "42-recording-storage.png");
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        recording::RecordingSubject* s = subjectOf(client);
        RecordingPage* page = pageOf(client);
        if (!s || !page) return true;
        showTab(page, recording::kTabSettings);
        s->act([s] { return s->page()->SelectChannel(kDualChannel); });
        client.refreshAll();
        page->findChild<QAbstractButton*>("imgDualModify")->click();
        settle(client);
        if (RecDetailDialog* d = page->detailDialog()) {
            grab(d, "43-dual-stream.png");
            d->reject();
        }
        client.refreshAll();
        return true;
    }, kTimeoutMs);
    // The picker the page opens for the first folder, once the service listed its disk.
    add([&client] {
        recording::RecordingSubject* s = subjectOf(client);
        RecordingPage* page = pageOf(client);
        if (!s || !page) return true;
        showTab(page, recording::kTabStorage);
        s->act([s] { return s->page()->storage.gridStorage_DblClick(0); });
        client.refreshAll();
        return true;
    }, kTimeoutMs);
    add([&client, grab] {
        recording::RecordingSubject* s = subjectOf(client);
        RecordingPage* page = pageOf(client);
        if (!s || !page) return true;
        recording::StorageTab& storage = s->page()->storage;
        QDialog* dialog = page->pathDialog() ? static_cast<QDialog*>(page->pathDialog()) : page->remoteDialog();
        if (!dialog) return true;
        if (storage.formPath() && storage.formPath()->loading()) return false;
        if (recording::FormRemoteDriveList* r = storage.formRemoteDriveList()) {
            if (r->loading()) return false;
            // The disk of the first folder opened, its folders listed, the first one chosen.
            const std::string& first = storage.gridStorage.empty() ? std::string() : storage.gridStorage[0].path;
            for (size_t i = 0; i < r->treeRemoteFolder.size(); ++i) {
                const recording::FolderNode& n = r->treeRemoteFolder[i];
                if (n.parent >= 0 || first.rfind(n.path, 0) != 0) continue;
                if (!n.expanded) {
                    s->act([r, i] { return r->treeRemoteFolder_Expand(static_cast<int>(i)); });
                    client.refreshAll();
                    return false;
                }
                if (!n.children.empty() && r->selectedNode < 0)
                    s->act([r, &n] { return r->treeRemoteFolder_NodeClick(n.children.front()); });
            }
        }
        settle(client);
        grab(dialog, "44-folder-picker.png");
        dialog->reject();
        showTab(page, recording::kTabSettings);
        client.refreshAll();
        return true;
    }, kTimeoutMs);
}

}  // namespace kv::ui
