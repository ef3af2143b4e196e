// FormSearch: the cameras the service finds on its network, less those already in use; a double
// click hands a camera to the channel page.
#pragma once

#include <QDialog>
#include <functional>

#include "ui/binders.h"

class QTimer;
namespace kv::base {
class Language;
}
namespace kv::channels {
class ChannelPage;
class FormSearch;
}  // namespace kv::channels

namespace kv::ui {

class SearchDialog : public QDialog {
public:
    SearchDialog(QWidget* parent, channels::FormSearch& model, channels::ChannelPage& page,
                 const base::Language& lang);
    /// Sends the search and shows the dialog (window-modal, not blocking).
    void start();
    void refresh() { binder_.refresh(); }
    /// A camera was taken over, or the dialog closed: the owner refreshes the forms.
    std::function<void()> afterAction;

private:
    void poll();

    channels::FormSearch& model_;
    channels::ChannelPage& page_;
    Binder binder_;
    QTimer* timer_ = nullptr;
};

}  // namespace kv::ui
