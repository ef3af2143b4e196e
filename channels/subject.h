// The channel subject: the readers of the channel replies, the channel page with its PTZ panel
// and camera search, their place in the shell (menu entry 1, save areas 1 and 10), the re-read
// of the channel list after a commit, and the channel sections of kelvarra-ctl's documents.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/subject.h"
#include "channels/channel_page.h"
#include "channels/dual_stream.h"
#include "channels/ptz_panel.h"
#include "channels/records.h"
#include "channels/search.h"

namespace kv::channels {

class ChannelSubject final : public app::Subject, private ChannelPageHost {
public:
    ChannelSubject(ChannelTables& tables, const app::SubjectServices& services);
    ~ChannelSubject() override;

    std::string name() const override { return "channels"; }
    void registerReaders(app::Dispatcher& dispatcher) override;
    void attach(app::ShellPort& shell) override;
    std::unique_ptr<app::DocumentPart> document() override;

    ChannelPage& page() { return page_; }
    PtzPanel& ptz() { return ptz_; }
    FormSearch& search() { return search_; }

    /// A tab of `tabChannel`: the PTZ tab opens with its channel combo following the table, and
    /// a channel is chosen (the one being edited when it has PTZ, else the first).
    void tabChannel_Click(int index);
    void showPtz();
    /// A double click on the channel list: that channel on the setting tab.
    bool gridChannelList_DblClick(int row);
    /// The preview window shows a record (set by the desktop client; nothing without one).
    std::function<void(const ChannelRecord&)> showPreviewWindow;
    /// The recording's second stream of a channel and switching it off (set by the recording
    /// subject; unknown without one).
    DualStreamHooks dualStream;

private:
    // ChannelPageHost.
    void channelDirtyChanged(bool dirty) override;
    int16_t dualModeOf(int32_t ch) override { return dualStream.dualMode ? dualStream.dualMode(ch) : -1; }
    bool switchDualModeOff(int32_t ch) override { return dualStream.switchOff && dualStream.switchOff(ch); }
    int32_t openPreview(const ChannelRecord& record, const std::string& command) override;
    void channelRemoved(int32_t ch) override;
    void channelsChanged() override;

    ChannelTables& tables_;
    app::SubjectServices services_;
    app::ShellPort* shell_ = nullptr;
    ChannelPage page_;
    PtzPanel ptz_;
    FormSearch search_;
};

}  // namespace kv::channels
