// Form_ServiceCtrl: starts the local service and waits for it, one tick a second.
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
    ServiceCtrlDialog(QWidget* parent, app::LocalServiceControl& control, const base::Language& lang);
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
