// A subject of the configuration as the programs see it: its readers, its place in the shell,
// its reaction to a removed channel and its sections of kelvarra-ctl's documents. The session,
// the desktop client and kelvarra-ctl each walk one list of subjects.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/document.h"

namespace kv::base {
class Language;
class Log;
}
namespace kv::link {
class ServiceLink;
}

namespace kv::app {

class ChannelRemoval;
class Clock;
class Dispatcher;
class Prompter;
class ShellPort;

/// What the session lends every subject, for the session's lifetime.
struct SubjectServices {
    link::ServiceLink& link;
    Dispatcher& dispatcher;
    Prompter& prompter;
    const base::Language& lang;
    const Clock& clock;
    ChannelRemoval& removal;
    std::string title;
    /// The login is to the service on this machine (read once the configuration opened).
    std::function<bool()> localLogin = [] { return false; };
    /// The client's log file; none in tests that do not read it.
    base::Log* log = nullptr;
};

class Subject {
public:
    virtual ~Subject() = default;
    /// The subject's name in the list ("channels", "users" ...).
    virtual std::string name() const = 0;
    /// The readers of its replies and their follow-ups; once, when the session is made.
    virtual void registerReaders(Dispatcher& dispatcher) = 0;
    /// Its reactions to a removed channel; once, when the session is made.
    virtual void registerRemoval(ChannelRemoval& /*removal*/) {}
    /// The login is about to ask for the subject's data without waiting: lists the answers
    /// refill go back to their blank state, so a missing answer leaves no stale rows.
    virtual void resetBeforeLoad() {}
    /// The configuration opens (the window, or kelvarra-ctl's shell without one): the page
    /// models are made and join the shell with their menu entry, save areas and marks.
    virtual void attach(ShellPort& shell) = 0;
    /// Its sections of kelvarra-ctl's documents; nothing for a subject without any.
    virtual std::unique_ptr<DocumentPart> document() { return nullptr; }
};

}  // namespace kv::app
