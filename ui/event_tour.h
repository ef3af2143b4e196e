// The event page's part of the screenshot tour.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace kv::ui {

class ClientApp;

/// Adds the steps: the Server Setting tab with a mail server open beside the token legend, the
/// Action Group tab, and a group being edited. `add` takes a step (true when done, false to be
/// asked again) and its time limit; `grab` saves a picture. The page is left with nothing to save.
void AddEventTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                       const std::function<void(std::function<bool()>, int)>& add);

}  // namespace kv::ui
