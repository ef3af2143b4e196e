// The second-stream dialog as data: the channel's camera with the entry's stream values, the
// video combos under the channel page's rules, and the store back into the recording entry.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "channels/records.h"
#include "channels/video_params.h"
#include "recording/records.h"

namespace kv::base {
class Language;
class Log;
}  // namespace kv::base

namespace kv::recording {

/// The text a stored second stream is logged with.
inline constexpr const char* kDualStreamLogPrefix = "[INFO] Dual Stream Set ";

class FormRECDetailSetting {
    // The rules below read these two, so they come first: the camera as the dialog edits it, and
    // a table whose slot of the channel holds the entry's own values (the saved quality of the
    // brand that counts from one less is the second stream's, not the first's).
    channels::ChannelRecord scratch_;
    std::unique_ptr<channels::ChannelTable> saved_;

public:
    /// `title` is the program's title, the function column of the log line.
    FormRECDetailSetting(const base::Language& lang, std::string title);
    FormRECDetailSetting(const FormRECDetailSetting&) = delete;
    FormRECDetailSetting& operator=(const FormRECDetailSetting&) = delete;

    std::string lbCHInfo;  // "CH n [name]"
    /// The combos of `gridVideoSetting` by row (format, resolution, frame rate, rate control,
    /// bit rate, GOP, quality), with every rule of the channel page.
    channels::VideoParams cmbVideo;
    /// Label and shown value of each row.
    std::array<std::array<std::string, 2>, channels::kCamDetailCount> gridVideoSetting;
    bool changed = false;  // a choice was made since SetstrCH

    /// Takes the camera in, with FMT, Size, FPS, Quality, RateControl, Bitrate and GOP of the
    /// entry when the entry has a format (else the camera's own), and fills the dialog.
    void SetstrCH(const channels::ChannelRecord& camera, const RecSetRecord& entry);
    /// A choice in row `row`; false when the row or the item does not exist.
    bool cmbVideo_Click(int row, int item);
    /// Fills every combo from the dialog's record and shows the rows.
    void InitComponent();
    /// The row labels in the loaded language.
    void LoadLang();
    /// Stores the shown values into the entry's second stream, sets `Edited` and logs the values.
    /// False when no channel was taken in.
    bool imgButton_Click(RecSetRecord& entry, base::Log* log);

    /// The channel the dialog shows, 0 before SetstrCH.
    int32_t channel() const { return scratch_.CH; }
    const channels::ChannelRecord& record() const { return scratch_; }

private:
    void showValues();

    const base::Language& lang_;
    std::string title_;
};

}  // namespace kv::recording
