// The recording subject's part of the screenshot tour.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace kv::ui {

class ClientApp;

/// Adds the steps: the settings tab, the schedule tab with a week being painted, the storage tab,
/// the second-stream dialog and a folder picker with the service's folders. `add` takes a step
/// (true when done, false to be asked again) and its time limit; `grab` saves a picture. The page
/// is left with nothing to save.
void AddRecordingTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                           const std::function<void(std::function<bool()>, int)>& add);

}  // namespace kv::ui
