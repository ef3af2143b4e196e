// The user page's part of the screenshot tour.
#pragma once

#include <QString>
#include <functional>
#include <vector>

class QWidget;

namespace kv::ui {

class ClientApp;

struct TourStep {
    std::function<bool()> run;  // true when done; false to be asked again at the next poll
    int timeoutMs = 30000;
};

/// The Users tab with an account selected, then the User Group tab with a group's rights grids;
/// each is saved through `grab`. Nothing is left to save.
std::vector<TourStep> UserTourSteps(ClientApp& client, std::function<void(QWidget*, const QString&)> grab);

}  // namespace kv::ui
