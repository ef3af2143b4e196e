// The two folder pickers of the storage tab: `formPath` (the service's disks and the folders of the
// one chosen, for a service on this machine) and `FormRemoteDriveList` (the service's folders as a
// tree). Both list folders without waiting; a one-second timer moves the model on while it waits.
#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "ui/binders.h"

class QTimer;
class QTreeWidget;
class QTreeWidgetItem;
namespace kv::base {
class Language;
}
namespace kv::recording {
class FormPath;
class FormRemoteDriveList;
class RecordingSubject;
}  // namespace kv::recording

namespace kv::ui {

/// What both pickers share: the subject's act, the timer while a listing is out, the close.
class FolderPickerBase : public QDialog {
public:
    void refresh();
    /// A choice, a listing or the close: the owner refreshes the forms.
    std::function<void()> afterAction;

protected:
    FolderPickerBase(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang);
    void act(const std::function<bool()>& action);
    /// The model's state: a listing is out (the timer runs only then).
    virtual bool loading() const = 0;
    virtual void tick() = 0;
    void followTimer();

    recording::RecordingSubject& subject_;
    const base::Language& lang_;
    Binder binder_;
    QTimer* timer_ = nullptr;
};

class FolderPathDialog : public FolderPickerBase {
public:
    FolderPathDialog(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang);
    void reject() override;

private:
    recording::FormPath* form() const;
    bool loading() const override;
    void tick() override;
};

class RemoteFolderDialog : public FolderPickerBase {
public:
    RemoteFolderDialog(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang);
    void reject() override;

private:
    recording::FormRemoteDriveList* form() const;
    bool loading() const override;
    void tick() override;
    /// Adds the model's new nodes to the tree and sets their state.
    void showTree();
    int nodeOf(QTreeWidgetItem* item) const;

    QTreeWidget* tree_ = nullptr;
    std::vector<QTreeWidgetItem*> items_;  // by node index
};

}  // namespace kv::ui
