// The list of page factories.
#include "ui/pages.h"

#include "admin/subject.h"
#include "app/shell.h"
#include "channels/subject.h"
#include "events/subject.h"
#include "recording/subject.h"
#include "session/session.h"
#include "ui/channel_page.h"
#include "ui/event_page.h"
#include "ui/recording_page.h"
#include "ui/server_page.h"
#include "ui/user_page.h"
#include "users/subject.h"

namespace kv::ui {

const std::vector<PageFactory>& PageFactories() {
    static const std::vector<PageFactory> factories = {
        {app::menu::kServer,
         [](const PageDeps& d) -> Page* {
             return new ServerPage(*d.session.subject<admin::AdminSubject>()->page(), d.shell, d.lang);
         }},
        {app::menu::kChannel,
         [](const PageDeps& d) -> Page* {
             return new ChannelPageWidget(*d.session.subject<channels::ChannelSubject>(), d.shell, d.lang);
         }},
        {app::menu::kEvent,
         [](const PageDeps& d) -> Page* {
             return new EventPage(*d.session.subject<events::EventsSubject>(), d.lang);
         }},
        {app::menu::kUser,
         [](const PageDeps& d) -> Page* { return new UserPage(*d.session.subject<users::UsersSubject>(), d.lang); }},
        {app::menu::kRecording,
         [](const PageDeps& d) -> Page* {
             return new RecordingPage(*d.session.subject<recording::RecordingSubject>(), d.lang);
         }},
    };
    return factories;
}

}  // namespace kv::ui
