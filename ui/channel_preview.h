// The preview window of the channel page: the settings the service took for a preview of a
// camera that is not saved yet. The client shows no live video, and says so.
#pragma once

#include <QDialog>

#include "channels/records.h"

class QLabel;
namespace kv::base {
class Language;
}

namespace kv::ui {

class PreviewWindow : public QDialog {
public:
    PreviewWindow(QWidget* parent, const base::Language& lang);
    /// Shows the window with the values of `record`.
    void show(const channels::ChannelRecord& record);

private:
    const base::Language& lang_;
    QLabel* values_ = nullptr;
};

}  // namespace kv::ui
