// The video parameter rules: a camera's capability lists turned into the choices of the channel
// page, and the choices turned back into the numbers of the channel record.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "channels/records.h"

namespace kv::base {
class Language;
}

namespace kv::channels {

/// The combos of `cmb_CamDetail` by index.
enum CamDetail : int { kCmbFormat = 0, kCmbSize, kCmbFps, kCmbRateControl, kCmbBitrate, kCmbGop, kCmbQuality };
inline constexpr int kCamDetailCount = 7;
/// Rows of `Grid_Videoinfo`; the last holds the audio format.
inline constexpr int kVideoInfoRows = 15;
inline constexpr int kAudioRow = 14;
/// The brand whose lens and display modes the page shows, and the one whose quality values count
/// from one less.
inline constexpr int16_t kLensBrand = 20;
inline constexpr int16_t kQualityBrand = 3;

/// 0 for "jpeg" and "mjpeg", 1 "mpeg4", 2 "h264", -1 for any other text.
int FormatIndex(std::string_view fmt);
/// The size list of a format: `SizeListAll` when it holds text, else the format's own list.
std::string SizeListOf(const ChannelRecord& r, std::string_view fmt);
/// The frame-rate and bit-rate bounds of a format.
const std::vector<int16_t>& FpsLowerOf(const ChannelRecord& r, int format);
const std::vector<int16_t>& FpsUpperOf(const ChannelRecord& r, int format);
const std::vector<int16_t>& BitrateLowerOf(const ChannelRecord& r, int format);
const std::vector<int16_t>& BitrateUpperOf(const ChannelRecord& r, int format);

// Combo text to record value, comparing upper-cased text.
int16_t FpsIndexOf(std::string_view text);      // unknown text: 0
int16_t BitrateIndexOf(std::string_view text);  // unknown text ("N/A" too): 0
int16_t RateControlOf(std::string_view text);   // "VBR" 0, "CBR" 1, else -1
int16_t QualityOf(std::string_view text);       // "N/A" -1, else the number
int16_t GopOf(std::string_view text);           // "N/A" -1, else the integer part

// Record value to display text.
std::string FpsLabel(int16_t index);
std::string BitrateLabel(int16_t index);
/// The rate control text: -1 "N/A", 0 "VBR", 1 "CBR".
std::string MaskSpecCameraValue(int16_t value);

/// The first alternative of a size item ("a||b" shows "a").
std::string FirstAlternative(std::string_view item);
/// The item of the comma list that has an alternative equal to `size`; empty when none has.
std::string GetFuhoResolutionString(std::string_view list, std::string_view size);
/// The audio rule on save: true when an item of the comma list (items longer than 5 characters
/// cut to 4) is "g711", "G.726" or "g726".
bool AudioInputOf(std::string_view audioText);
/// True when an item of `SupportFMT` has three parts joined by "-": the camera sends two streams.
bool HasDualStreamFormat(std::string_view supportFmt);

/// Comma list to items (an empty text gives none).
std::vector<std::string> SplitList(std::string_view text);

/// The video part of the channel page, over the page's working record. A change of a control
/// calls `onChange` (the page marks itself dirty and offers the save).
class VideoParams {
public:
    /// `my` is the page's working record (MyCH); `strCH` gives the saved quality the brand-3 rule reads.
    VideoParams(const ChannelRecord& my, const ChannelTable& strCH, const base::Language& lang);

    std::array<app::ComboBox, kCamDetailCount> cmb_CamDetail;
    /// Two columns: label and value, read-only; row 14 is the audio format the camera reports.
    std::array<std::array<std::string, 2>, kVideoInfoRows> Grid_Videoinfo;
    app::ComboBox cmbLensMode;
    std::array<app::ComboBox, 2> cmbDisplayMode;  // left, right
    bool frameLensMode = false;                   // shown for brand 20 only
    bool bFilling = false;                        // the page fills its controls: changes are not edits
    std::function<void()> onChange;

    /// The label of a row of `cmb_CamDetail`: the message text with " :" behind it.
    std::string RowLabel(int index) const;

    /// Fills every control from the working record.
    void Fill();
    /// Empties every control.
    void Clear();

    /// A choice in combo `index`: selects `item` and applies the rule of that combo. Ignored while
    /// filling.
    bool cmb_CamDetail_Click(int index, int item);
    /// Format change: the sizes of the chosen format, then every dependent combo from the record.
    void ChangeFMT();
    /// The frame-rate fill (combo 2) and the bit-rate fill (combo 4) for the chosen size.
    void FillRates(bool frameRate, bool bitRate);
    void UpdateRateCtrlCombo();
    /// "VBR" makes quality live and bit rate "N/A"; "CBR" the other way round; other text: nothing.
    void ChangeRateCtrl(const std::string& text);
    void UpdateQualityCombo();
    void UpdateGopCombo();
    /// The lens mode decides which display-mode combos are offered (brand 20).
    bool cmbLensMode_Click(int item);
    bool cmbDisplayMode_Click(int which, int item);
    /// The video part of SetToSetCH: format, size, rates, quality, GOP, audio input and, for
    /// brand 20, the lens and display modes.
    void SetToRecord(ChannelRecord& r) const;

private:
    void fillLens();
    void fillDisplayModes();
    void updateGrid();
    void changed();
    int format() const { return FormatIndex(cmb_CamDetail[kCmbFormat].text()); }

    const ChannelRecord& my_;
    const ChannelTable& strCH_;
    const base::Language& lang_;
    std::string audioText_;
};

}  // namespace kv::channels
