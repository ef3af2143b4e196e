// The recording sections of kelvarra-ctl's documents: "strStorage" (the folders, retention and
// reserve, with the service's disks read-only), "strRecSet" (the modes and the second stream of
// each configured channel) and "strRecSCDL" (each configured channel's week).
#pragma once

#include <memory>

#include "app/document.h"
#include "channels/records.h"
#include "recording/records.h"

namespace kv::recording {

struct RecordingRun;

class RecordingDocument final : public app::DocumentPart {
public:
    /// `channels` decides which channels are configured (an address, up to the server's count).
    RecordingDocument(RecordingTables& tables, const channels::ChannelTables& channels);
    ~RecordingDocument() override;

    std::vector<std::string> names() const override;
    void dump(app::Json& doc, const app::DumpForm& form) const override;
    void stage(const app::Json& doc, app::Stage& stage) override;
    std::vector<std::string> plan() const override;
    /// The storage first, then the settings of each changed channel, then each changed week, as
    /// the shell's save of every area orders them.
    void saves(app::Stage& stage, std::vector<app::PendingSave>& out) override;

private:
    RecordingTables& tables_;
    const channels::ChannelTables& channels_;
    std::unique_ptr<RecordingRun> run_;
};

}  // namespace kv::recording
