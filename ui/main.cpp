// kelvarra-config: the desktop configuration client of the Kelvarra 64 service.
#include <QApplication>

#include <cstdlib>
#include <memory>

#include "app/cmdline.h"
#include "session/start.h"
#include "ui/client_app.h"
#include "ui/tour.h"

int main(int argc, char** argv) {
    QApplication qapp(argc, argv);
    QApplication::setApplicationName("kelvarra-config");

    kv::ui::ClientOptions options;
    options.home = kv::session::HomeFolder();
    options.commandLine = kv::app::JoinArguments(argc, argv);
    if (const char* d = std::getenv("KELVARRA_DISCOVERY")) options.discovery = d;
    kv::ui::ClientApp client(std::move(options));

    // Hidden: KELVARRA_SCREENSHOTS=DIR makes the client walk its forms, save a picture of each and leave.
    std::unique_ptr<kv::ui::Tour> tour;
    if (const char* dir = std::getenv("KELVARRA_SCREENSHOTS"); dir && *dir) {
        const char* server = std::getenv("KELVARRA_TOUR_SERVER");
        tour = std::make_unique<kv::ui::Tour>(client, dir, server ? server : "");
    }
    client.onFinished = [&qapp] { qapp.quit(); };
    if (!client.start()) return 0;
    if (tour) tour->begin();
    return qapp.exec();
}
