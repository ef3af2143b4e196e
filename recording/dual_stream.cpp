// The second-stream dialog: the camera's capabilities with the entry's stream values, edited
// under the channel page's video rules and stored back into the recording entry.
#include "recording/dual_stream.h"

#include <algorithm>

#include "base/lang.h"
#include "base/log.h"

namespace kv::recording {
namespace {

int16_t narrow(int32_t v) { return static_cast<int16_t>(std::clamp<int32_t>(v, INT16_MIN, INT16_MAX)); }

}  // namespace

FormRECDetailSetting::FormRECDetailSetting(const base::Language& lang, std::string title)
    : saved_(std::make_unique<channels::ChannelTable>()), cmbVideo(scratch_, *saved_, lang), lang_(lang),
      title_(std::move(title)) {
    LoadLang();
}

void FormRECDetailSetting::SetstrCH(const channels::ChannelRecord& camera, const RecSetRecord& entry) {
    scratch_ = camera;
    scratch_.CH = entry.CH;
    if (!entry.FMT.empty()) {
        scratch_.FMT = entry.FMT;
        scratch_.Size = entry.Size;
        scratch_.FPS = entry.FPS;
        scratch_.Quality = entry.Quality;
        scratch_.RateControl = narrow(entry.RateControl);
        scratch_.Bitrate = narrow(entry.Bitrate);
        scratch_.GOP = entry.GOP;
    }
    *saved_ = {};
    if (scratch_.CH >= 1 && scratch_.CH <= channels::kChannelSlots)
        (*saved_)[static_cast<size_t>(scratch_.CH - 1)] = scratch_;
    lbCHInfo = "CH " + std::to_string(entry.CH) + " [" + camera.Name + "]";
    InitComponent();
}

void FormRECDetailSetting::InitComponent() {
    LoadLang();
    cmbVideo.Fill();
    showValues();
    changed = false;
}

void FormRECDetailSetting::LoadLang() {
    // The dialog writes its labels with a blank on both sides of the colon.
    const std::array<std::string, channels::kCamDetailCount> labels = {
        lang_.GetText(139), lang_.GetText(140), "MAX. FPS", lang_.GetText(355),
        lang_.GetText(356), "GOP",              lang_.GetText(357)};
    for (size_t i = 0; i < labels.size(); ++i) gridVideoSetting[i][0] = labels[i] + " : ";
}

void FormRECDetailSetting::showValues() {
    for (size_t i = 0; i < gridVideoSetting.size(); ++i) gridVideoSetting[i][1] = cmbVideo.cmb_CamDetail[i].text();
}

bool FormRECDetailSetting::cmbVideo_Click(int row, int item) {
    if (!cmbVideo.cmb_CamDetail_Click(row, item)) return false;
    showValues();
    changed = true;
    return true;
}

bool FormRECDetailSetting::imgButton_Click(RecSetRecord& entry, base::Log* log) {
    if (scratch_.CH < 1) return false;
    channels::ChannelRecord out = scratch_;
    cmbVideo.SetToRecord(out);
    entry.FMT = out.FMT;
    entry.Size = out.Size;
    entry.FPS = out.FPS;
    entry.Quality = out.Quality;
    entry.RateControl = out.RateControl;
    entry.Bitrate = out.Bitrate;
    entry.GOP = out.GOP;
    entry.Edited = true;
    if (log) {
        log->SetLog(title_,
                    std::string(kDualStreamLogPrefix) + "CH " + std::to_string(entry.CH) + ", FMT " + entry.FMT +
                        ", Size " + entry.Size + ", FPS " + std::to_string(entry.FPS) + ", Quality " +
                        std::to_string(entry.Quality) + ", RateControl " + std::to_string(entry.RateControl) +
                        ", Bitrate " + std::to_string(entry.Bitrate) + ", GOP " + std::to_string(entry.GOP),
                    0);
    }
    return true;
}

}  // namespace kv::recording
