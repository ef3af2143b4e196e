// The screenshot tour: drives the client through its forms as a user would and saves a PNG of
// each (login form, known-server dialog with the search, every page, an unsaved page and the exit
// question), then leaves.
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <string>
#include <vector>

class QTimer;
class QWidget;

namespace kv::ui {

class ClientApp;

class Tour {
public:
    /// `server` ("address:port") is used when the search of the local network finds nothing.
    Tour(ClientApp& client, QString folder, std::string server);
    void begin();
    /// The names of the pictures saved so far.
    const std::vector<QString>& saved() const { return saved_; }

private:
    struct Step {
        std::function<bool()> run;  // true when done; false to be asked again at the next poll
        int timeoutMs = 30000;
    };
    void poll();
    void grab(QWidget* widget, const QString& name);
    void buildSteps();

    ClientApp& client_;
    QString folder_;
    std::string server_;
    QObject context_;
    QTimer* timer_ = nullptr;
    std::vector<Step> steps_;
    size_t current_ = 0;
    int elapsedMs_ = 0;
    int page_ = 0;
    std::vector<QString> saved_;
};

}  // namespace kv::ui
