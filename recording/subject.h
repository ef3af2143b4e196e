// The recording subject: the readers of the settings, schedules, storage, disks and folders, the
// recording page and its place in the shell (menu entry 6; areas 9 storage, 11 settings, 12
// schedule), the channel page's second-stream hooks, its part after a channel removal, and its
// sections of kelvarra-ctl's documents.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/subject.h"
#include "channels/records.h"
#include "recording/page.h"
#include "recording/records.h"

namespace kv::channels {
class ChannelSubject;
}

namespace kv::recording {

class RecordingSubject final : public app::Subject {
public:
    /// `channelSubject`, when given, gets the second-stream hooks of its page and document.
    /// The subject keeps its tables; no step of the login that waits for its answer reads them.
    RecordingSubject(const channels::ChannelTables& channels, const app::SubjectServices& services,
                     channels::ChannelSubject* channelSubject = nullptr);
    ~RecordingSubject() override;

    std::string name() const override { return "recording"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void registerRemoval(app::ChannelRemoval& removal) override;
    void resetBeforeLoad() override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    RecordingTables& tables() { return tables_; }
    /// The page model; null before the configuration opens.
    RecordingPage* page() const { return page_.get(); }

    /// The menu entry.
    void open();
    /// Runs an action of the page; the shell's three areas follow the tabs afterwards.
    bool act(const std::function<bool()>& action);
    /// The saves of areas 11, 12 and 9 (their buttons' procedures).
    bool saveSettings();
    bool saveSchedule();
    bool saveStorage();
    /// The second-stream dialog's store button; the client's log records it.
    bool commitDualDialog();
    /// After any action of the page: the shell's areas follow the tabs.
    void syncShell();

private:
    int16_t dualModeOf(int32_t ch) const;
    bool switchDualModeOff(int32_t ch);
    void reloadSettings();

    RecordingTables tables_;
    const channels::ChannelTables& channels_;
    app::SubjectServices services_;
    app::ShellPort* shell_ = nullptr;
    std::unique_ptr<RecordingPage> page_;
};

}  // namespace kv::recording
