// The list of subjects.
#include "session/subjects.h"

#include "admin/subject.h"
#include "channels/subject.h"
#include "events/subject.h"
#include "recording/subject.h"
#include "users/subject.h"

namespace kv::session {

SubjectList MakeSubjects(Config& c, const app::SubjectServices& s, admin::ServerPageHost& serverHost) {
    SubjectList list;
    list.push_back(std::make_unique<admin::AdminSubject>(c, c, serverHost, s));
    list.push_back(std::make_unique<users::UsersSubject>(c, c.iMaxChannel, s));
    auto channelSubject = std::make_unique<channels::ChannelSubject>(c, s);
    // The recording lends the channel page its second-stream hooks.
    auto recording = std::make_unique<recording::RecordingSubject>(c, s, channelSubject.get());
    list.push_back(std::move(channelSubject));
    list.push_back(std::move(recording));
    list.push_back(std::make_unique<events::EventsSubject>(c, s));
    return list;
}

}  // namespace kv::session
