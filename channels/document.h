// The channel sections of kelvarra-ctl's documents: "strCH" (the configured slots, every field
// but the status), "Presets" (the lists by channel number) and the read-only "ChannelStatus".
#pragma once

#include <memory>

#include "app/document.h"
#include "channels/dual_stream.h"
#include "channels/records.h"

namespace kv::app {
class ChannelRemoval;
}
namespace kv::link {
class ServiceLink;
}

namespace kv::channels {

struct Run;

class ChannelDocument final : public app::DocumentPart {
public:
    /// `dualStream` is the subject's: a format change may switch a channel's second stream off.
    ChannelDocument(ChannelTables& tables, link::ServiceLink& link, const app::ChannelRemoval& removal,
                    const DualStreamHooks& dualStream);
    ~ChannelDocument() override;

    std::vector<std::string> names() const override;
    /// The channel status (24578) and the preset list (4101) of every configured PTZ channel.
    void readExtras() override;
    void dump(app::Json& doc, const app::DumpForm& form) const override;
    void stage(const app::Json& doc, app::Stage& stage) override;
    std::vector<std::string> plan() const override;
    void saves(app::Stage& stage, std::vector<app::PendingSave>& out) override;

private:
    ChannelTables& tables_;
    link::ServiceLink& link_;
    const app::ChannelRemoval& removal_;
    const DualStreamHooks& dualStream_;
    std::unique_ptr<Run> run_;
};

}  // namespace kv::channels
