// Form_RECDetailSetting: the second stream of a channel's recording (format, resolution, frame
// rate, rate control, bit rate, GOP, quality) over the settings tab's dialog model.
#pragma once

#include <QDialog>
#include <functional>

#include "ui/binders.h"

namespace kv::base {
class Language;
}
namespace kv::recording {
class FormRECDetailSetting;
class RecordingSubject;
}  // namespace kv::recording

namespace kv::ui {

class RecDetailDialog : public QDialog {
public:
    /// Window-modal and not blocking; shows the dialog model the settings tab holds open.
    RecDetailDialog(QWidget* parent, recording::RecordingSubject& subject, const base::Language& lang);
    void refresh() { binder_.refresh(); }
    /// A choice, the store or the close: the owner refreshes the forms.
    std::function<void()> afterAction;

    void reject() override;

private:
    /// The dialog model; null once the settings tab closed it.
    recording::FormRECDetailSetting* form() const;
    void act(const std::function<bool()>& action);

    recording::RecordingSubject& subject_;
    const base::Language& lang_;
    Binder binder_;
};

}  // namespace kv::ui
