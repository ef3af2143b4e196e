// The channel subject's part of the screenshot tour.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace kv::ui {

class ClientApp;

/// Adds the steps: the channel page with a fisheye channel of brand 20 (lens frame shown), the
/// channel list, the PTZ tab of a speed dome with its presets, and the camera search with its
/// results. `add` takes a step (true when done, false to be asked again) and its time limit;
/// `grab` saves a picture. The page is left with nothing to save.
void AddChannelTourSteps(ClientApp& client, const std::function<void(QWidget*, const QString&)>& grab,
                         const std::function<void(std::function<bool()>, int)>& add);

}  // namespace kv::ui
