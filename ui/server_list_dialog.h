// Form_ServerList: the known servers, their edit fields and the search of the local network.
#pragma once

#include <QDialog>
#include <functional>

#include "ui/binders.h"

class QTimer;
namespace kv::session {
class ServerListModel;
}
namespace kv::base {
class Language;
}

namespace kv::ui {

class ServerListDialog : public QDialog {
public:
    ServerListDialog(QWidget* parent, session::ServerListModel& model, const base::Language& lang);
    /// Model to widgets, the ON column first.
    void refresh();
    /// The dialog's one-second timer: the ON column and the search results.
    void tick();

protected:
    void reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void closeIfDone();

    session::ServerListModel& model_;
    const base::Language& lang_;
    Binder binder_;
    QTimer* timer_ = nullptr;
};

}  // namespace kv::ui
