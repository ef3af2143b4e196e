// The recording page: the settings, schedule and storage tabs of `tabREC`, bound to the page model
// of the recording subject, with the second-stream dialog and the folder pickers it opens.
#pragma once

#include <QPointer>
#include <string>

#include "ui/binders.h"
#include "ui/page.h"

class QTabWidget;
namespace kv::base {
class Language;
}
namespace kv::recording {
class RecordingPage;
class RecordingSubject;
class RecScheduleTab;
class RecSettingTab;
class StorageTab;
}  // namespace kv::recording

namespace kv::ui {

class FolderPathDialog;
class RecDetailDialog;
class RemoteFolderDialog;
class WeekGridWidget;

/// A text of the recording page and its dialogs: the language's, or the page's English one where
/// the language files do not have the id yet.
std::string RecordingText(const base::Language& lang, int id);

class RecordingPage : public Page {
public:
    /// The subject has joined the shell: its page model exists.
    RecordingPage(recording::RecordingSubject& subject, const base::Language& lang);
    ~RecordingPage() override;
    void refresh() override;
    /// The dialogs follow the models also while another page is on screen (a folder listing
    /// answered, a picker given up).
    void refreshDialogs() override;

    RecDetailDialog* detailDialog() const;
    FolderPathDialog* pathDialog() const;
    RemoteFolderDialog* remoteDialog() const;
    WeekGridWidget* weekGrid() const { return week_; }

private:
    QWidget* buildSettingsTab();
    QWidget* buildScheduleTab();
    QWidget* buildStorageTab();
    void openCopyDay();
    void openCopyWeek();
    /// Opens or closes the Qt dialogs as the models have them open.
    void followDialogs();
    void finished();
    /// Runs a model action through the subject, then refreshes like any bound widget.
    void act(const std::function<bool()>& action);

    recording::RecordingSubject& subject_;
    recording::RecordingPage& model_;
    recording::RecSettingTab& settings_;
    recording::RecScheduleTab& schedule_;
    recording::StorageTab& storage_;
    const base::Language& lang_;
    Binder binder_;
    QTabWidget* tabs_ = nullptr;
    WeekGridWidget* week_ = nullptr;
    QPointer<RecDetailDialog> detail_;
    QPointer<FolderPathDialog> path_;
    QPointer<RemoteFolderDialog> remote_;
};

}  // namespace kv::ui
