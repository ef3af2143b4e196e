// Form_ServiceCtrl: the local service's state; install, start (waiting for it), stop, remove.
#pragma once

#include <QDialog>
#include <cstdint>

#include "app/local_service.h"
#include "ui/binders.h"

namespace kv::base {
class Language;
}

namespace kv::ui {

class ServiceCtrlDialog : public QDialog {
public:
    /// `forLogin`: the login's dialog, which closes as soon as the service runs.
    ServiceCtrlDialog(QWidget* parent, app::LocalServiceControl& control, const base::Language& lang,
                      bool forLogin = true);
    /// Shows the dialog modally; the state of the service afterwards.
    int32_t run();

private:
    void tick();
    std::string statusText() const;

    app::ServiceCtrlModel model_;
    const base::Language& lang_;
    Binder binder_;
    qint64 startSeconds_ = 0;
};

}  // namespace kv::ui
