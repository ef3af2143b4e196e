// The video parameter rules of the channel page.
#include "channels/video_params.h"

#include <algorithm>

#include "app/xml_read.h"
#include "base/lang.h"
#include "base/text.h"

namespace kv::channels {
namespace {

// The GOP lengths the page offers where the format takes one.
constexpr std::array<int16_t, 9> kGopChoices = {1, 5, 10, 15, 20, 25, 30, 50, 60};

const std::vector<int16_t>& pick(int format, const std::vector<int16_t>& jpeg, const std::vector<int16_t>& mpeg4,
                                 const std::vector<int16_t>& h264) {
    return format == kJpeg ? jpeg : format == kMpeg4 ? mpeg4 : h264;
}

}  // namespace

int FormatIndex(std::string_view fmt) {
    if (fmt == "jpeg" || fmt == "mjpeg") return kJpeg;
    if (fmt == "mpeg4") return kMpeg4;
    if (fmt == "h264") return kH264;
    return -1;
}

std::string SizeListOf(const ChannelRecord& r, std::string_view fmt) {
    if (!r.SizeListAll.empty()) return r.SizeListAll;
    switch (FormatIndex(fmt)) {
        case kJpeg: return r.SizeList_JPEG;
        case kMpeg4: return r.SizeList_MPEG4;
        case kH264: return r.SizeList_H264;
        default: return {};
    }
}

const std::vector<int16_t>& FpsLowerOf(const ChannelRecord& r, int f) {
    return pick(f, r.FPSLower_JPEG, r.FPSLower_MPEG4, r.FPSLower_H264);
}
const std::vector<int16_t>& FpsUpperOf(const ChannelRecord& r, int f) {
    return pick(f, r.FPSUpper_JPEG, r.FPSUpper_MPEG4, r.FPSUpper_H264);
}
const std::vector<int16_t>& BitrateLowerOf(const ChannelRecord& r, int f) {
    return pick(f, r.BitrateLower_JPEG, r.BitrateLower_MPEG4, r.BitrateLower_H264);
}
const std::vector<int16_t>& BitrateUpperOf(const ChannelRecord& r, int f) {
    return pick(f, r.BitrateUpper_JPEG, r.BitrateUpper_MPEG4, r.BitrateUpper_H264);
}

int16_t FpsIndexOf(std::string_view text) {
    const std::string t = base::ToUpper(text);
    for (size_t i = 1; i < kFpsTable.size(); ++i)
        if (t == kFpsTable[i]) return static_cast<int16_t>(i);
    return 0;
}

int16_t BitrateIndexOf(std::string_view text) {
    const std::string t = base::ToUpper(text);
    for (size_t i = 1; i < kBitrateTable.size(); ++i)
        if (t == base::ToUpper(kBitrateTable[i])) return static_cast<int16_t>(i);
    return 0;
}

int16_t RateControlOf(std::string_view text) {
    const std::string t = base::ToUpper(text);
    return t == "VBR" ? 0 : t == "CBR" ? 1 : -1;
}

int16_t QualityOf(std::string_view text) {
    return base::ToUpper(text) == "N/A" ? -1 : app::ToInt16(text);
}

int16_t GopOf(std::string_view text) {
    return base::ToUpper(text) == "N/A" ? -1 : app::ToInt16(text);
}

std::string FpsLabel(int16_t index) {
    return index >= 0 && static_cast<size_t>(index) < kFpsTable.size() ? std::string(kFpsTable[static_cast<size_t>(index)])
                                                                        : std::string();
}

std::string BitrateLabel(int16_t index) {
    return index >= 0 && static_cast<size_t>(index) < kBitrateTable.size()
               ? (index == 0 ? std::string("Full") : base::ToUpper(kBitrateTable[static_cast<size_t>(index)]))
               : std::string();
}

std::string MaskSpecCameraValue(int16_t value) {
    return value == 0 ? "VBR" : value == 1 ? "CBR" : "N/A";
}

std::vector<std::string> SplitList(std::string_view text) {
    std::vector<std::string> out;
    if (text.empty()) return out;
    size_t pos = 0;
    while (pos <= text.size()) {
        const size_t end = std::min(text.find(',', pos), text.size());
        out.emplace_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    return out;
}

std::string FirstAlternative(std::string_view item) {
    const size_t bars = item.find("||");
    return std::string(bars == std::string_view::npos ? item : item.substr(0, bars));
}

std::string GetFuhoResolutionString(std::string_view list, std::string_view size) {
    for (const std::string& item : SplitList(list)) {
        std::string_view rest = item;
        while (true) {
            const size_t bars = rest.find("||");
            if (rest.substr(0, bars) == size) return item;
            if (bars == std::string_view::npos) break;
            rest.remove_prefix(bars + 2);
        }
    }
    return {};
}

bool AudioInputOf(std::string_view audioText) {
    for (std::string item : SplitList(base::Trim(audioText))) {
        if (item.size() > 5) item.resize(4);
        if (item == "g711" || item == "G.726" || item == "g726") return true;
    }
    return false;
}

bool HasDualStreamFormat(std::string_view supportFmt) {
    for (const std::string& item : SplitList(supportFmt))
        if (std::count(item.begin(), item.end(), '-') == 2) return true;
    return false;
}

VideoParams::VideoParams(const ChannelRecord& my, const ChannelTable& strCH, const base::Language& lang)
    : my_(my), strCH_(strCH), lang_(lang) {
    Clear();
}

std::string VideoParams::RowLabel(int index) const {
    switch (index) {
        case kCmbFormat: return lang_.GetText(139) + " :";
        case kCmbSize: return lang_.GetText(140) + " :";
        case kCmbFps: return "MAX. FPS :";
        case kCmbRateControl: return lang_.GetText(355) + " :";
        case kCmbBitrate: return lang_.GetText(356) + " :";
        case kCmbGop: return "GOP :";
        case kCmbQuality: return lang_.GetText(357) + " :";
        default: return {};
    }
}

void VideoParams::Clear() {
    for (app::ComboBox& c : cmb_CamDetail) c.clear();
    cmbLensMode.clear();
    for (app::ComboBox& c : cmbDisplayMode) c.clear();
    frameLensMode = false;
    audioText_.clear();
    updateGrid();
}

void VideoParams::Fill() {
    bFilling = true;
    Clear();
    app::ComboBox& fmt = cmb_CamDetail[kCmbFormat];
    for (const std::string& f : SplitList(my_.FMTList)) {
        const std::string item = base::Trim(f);
        if (!item.empty()) fmt.add(item);
    }
    if (fmt.items.empty() && !my_.FMT.empty()) fmt.add(my_.FMT);
    fmt.select(my_.FMT);
    audioText_ = my_.AudioFMT;
    ChangeFMT();
    fillLens();
    updateGrid();
    bFilling = false;
}

bool VideoParams::cmb_CamDetail_Click(int index, int item) {
    if (bFilling || index < 0 || index >= kCamDetailCount) return false;
    app::ComboBox& combo = cmb_CamDetail[static_cast<size_t>(index)];
    if (!combo.enabled || item < 0 || static_cast<size_t>(item) >= combo.items.size()) return false;
    combo.index = item;
    if (index == kCmbFormat) ChangeFMT();
    else if (index == kCmbSize) FillRates(true, true);
    else if (index == kCmbRateControl) ChangeRateCtrl(cmb_CamDetail[kCmbRateControl].text());
    updateGrid();
    changed();
    return true;
}

void VideoParams::ChangeFMT() {
    app::ComboBox& size = cmb_CamDetail[kCmbSize];
    size.clear();
    // An item shows its first alternative; the record's size is the whole item.
    for (const std::string& item : SplitList(SizeListOf(my_, cmb_CamDetail[kCmbFormat].text()))) {
        size.add(FirstAlternative(item));
        if (item == my_.Size) size.index = static_cast<int>(size.items.size() - 1);
    }
    size.selectFirstWhenEmpty();
    // Every dependent field again from the record.
    FillRates(true, true);
    UpdateRateCtrlCombo();
    UpdateQualityCombo();
    ChangeRateCtrl(cmb_CamDetail[kCmbRateControl].text());
    UpdateGopCombo();
}

void VideoParams::FillRates(bool frameRate, bool bitRate) {
    const int f = format();
    if (f < 0) return;
    const std::string shown = cmb_CamDetail[kCmbSize].text();
    if (shown.empty()) return;
    const std::vector<std::string> items = SplitList(SizeListOf(my_, cmb_CamDetail[kCmbFormat].text()));
    const auto& fpsLower = FpsLowerOf(my_, f);
    const auto& fpsUpper = FpsUpperOf(my_, f);
    const auto& bitLower = BitrateLowerOf(my_, f);
    const auto& bitUpper = BitrateUpperOf(my_, f);
    app::ComboBox& fps = cmb_CamDetail[kCmbFps];
    app::ComboBox& bit = cmb_CamDetail[kCmbBitrate];
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string candidate = items[i].find("||") != std::string::npos ? FirstAlternative(items[i]) : items[i];
        if (candidate.find(shown) == std::string::npos) continue;
        if (frameRate && i < fpsLower.size() && i < fpsUpper.size()) {
            fps.clear();
            for (int j = std::max<int>(fpsLower[i], 0); j <= std::min<int>(fpsUpper[i], kFpsTable.size() - 1); ++j) {
                fps.add(std::string(kFpsTable[static_cast<size_t>(j)]));
                if (j == my_.FPS) fps.index = static_cast<int>(fps.items.size() - 1);
            }
            // "FULL" comes last when the lower bound leaves it out, though it is index 0.
            if (fpsLower[i] > 0) {
                fps.add("FULL");
                if (my_.FPS == 0) fps.index = static_cast<int>(fps.items.size() - 1);
            }
        }
        if (bitRate && i < bitLower.size() && i < bitUpper.size()) {
            bit.clear();
            for (int j = std::max<int>(bitLower[i], 0); j <= std::min<int>(bitUpper[i], kBitrateTable.size() - 1);
                 ++j) {
                bit.add(std::string(kBitrateTable[static_cast<size_t>(j)]));
                if (j == my_.Bitrate) bit.index = static_cast<int>(bit.items.size() - 1);
            }
        }
    }
    if (frameRate) fps.selectFirstWhenEmpty();
    if (bitRate) bit.selectFirstWhenEmpty();
}

void VideoParams::UpdateRateCtrlCombo() {
    app::ComboBox& rc = cmb_CamDetail[kCmbRateControl];
    rc.clear();
    const int f = format();
    if (f >= 0 && my_.RateControlCap[static_cast<size_t>(f)]) {
        rc.add("VBR");
        rc.add("CBR");
        rc.select(MaskSpecCameraValue(my_.RateControl));
        rc.selectFirstWhenEmpty();
    } else {
        rc.add("N/A");
        rc.index = 0;
    }
}

void VideoParams::ChangeRateCtrl(const std::string& text) {
    if (text == "VBR") {
        app::ComboBox& bit = cmb_CamDetail[kCmbBitrate];
        bit.clear();
        bit.add("N/A");
        bit.index = 0;
        UpdateQualityCombo();
    } else if (text == "CBR") {
        FillRates(false, true);
        app::ComboBox& q = cmb_CamDetail[kCmbQuality];
        q.clear();
        q.add("N/A");
        q.index = 0;
    }
}

void VideoParams::UpdateQualityCombo() {
    const int f = format();
    if (f < 0) return;
    const size_t k = static_cast<size_t>(f);
    app::ComboBox& q = cmb_CamDetail[kCmbQuality];
    q.clear();
    const int16_t lower = my_.QualityLower[k], upper = my_.QualityUpper[k];
    for (int v = lower; v <= upper; ++v) q.add(std::to_string(v));
    q.select(std::to_string(my_.Quality));
    if (my_.BrandCode == kQualityBrand && my_.CH >= 1 && my_.CH <= kChannelSlots) {
        // This brand counts its values from one less: the saved value sits one place lower.
        const int16_t saved = strCH_[static_cast<size_t>(my_.CH - 1)].Quality;
        if (saved != 0 && saved >= lower && saved <= upper) q.index = saved - lower - 1;
        else if (saved == 0) q.index = q.items.empty() ? -1 : 0;
    }
    q.selectFirstWhenEmpty();
}

void VideoParams::UpdateGopCombo() {
    const int f = format();
    app::ComboBox& gop = cmb_CamDetail[kCmbGop];
    gop.clear();
    if (f >= 0 && my_.GOPCap[static_cast<size_t>(f)]) {
        for (int16_t v : kGopChoices) gop.add(std::to_string(v));
        if (my_.GOP >= 1 && !gop.select(std::to_string(my_.GOP))) {
            gop.add(std::to_string(my_.GOP));
            gop.index = static_cast<int>(gop.items.size() - 1);
        }
        gop.selectFirstWhenEmpty();
    } else {
        gop.add("N/A");
        gop.index = 0;
    }
}

void VideoParams::fillLens() {
    frameLensMode = my_.BrandCode == kLensBrand;
    cmbLensMode.clear();
    for (app::ComboBox& c : cmbDisplayMode) c.clear();
    if (!frameLensMode) return;
    for (const std::string& m : SplitList(my_.LensModeList)) cmbLensMode.add(m);
    cmbLensMode.select(my_.LensMode);
    fillDisplayModes();
}

void VideoParams::fillDisplayModes() {
    const std::string lens = base::ToLower(cmbLensMode.text());
    const bool left = lens == "left" || lens == "both";
    const bool right = lens == "right" || lens == "both";
    const std::array<std::pair<const std::string*, const std::string*>, 2> lists = {
        std::pair{&my_.LeftDisplayModeList, &my_.LeftDisplayMode},
        std::pair{&my_.RightDisplayModeList, &my_.RightDisplayMode}};
    for (size_t i = 0; i < 2; ++i) {
        app::ComboBox& c = cmbDisplayMode[i];
        c.clear();
        c.enabled = i == 0 ? left : right;
        if (!c.enabled) continue;
        for (const std::string& m : SplitList(*lists[i].first)) c.add(m);
        c.select(*lists[i].second);
    }
}

bool VideoParams::cmbLensMode_Click(int item) {
    if (item < 0 || static_cast<size_t>(item) >= cmbLensMode.items.size()) return false;
    cmbLensMode.index = item;
    fillDisplayModes();
    changed();
    return true;
}

bool VideoParams::cmbDisplayMode_Click(int which, int item) {
    if (which < 0 || which > 1) return false;
    app::ComboBox& c = cmbDisplayMode[static_cast<size_t>(which)];
    if (!c.enabled || item < 0 || static_cast<size_t>(item) >= c.items.size()) return false;
    c.index = item;
    changed();
    return true;
}

void VideoParams::SetToRecord(ChannelRecord& r) const {
    const std::string fmt = cmb_CamDetail[kCmbFormat].text();
    const std::string list = SizeListOf(r, fmt);
    r.FMT = fmt;
    // With alternatives the record keeps the whole item, all alternatives included.
    r.Size = list.find("||") != std::string::npos ? GetFuhoResolutionString(list, cmb_CamDetail[kCmbSize].text())
                                                   : cmb_CamDetail[kCmbSize].text();
    r.FPS = FpsIndexOf(cmb_CamDetail[kCmbFps].text());
    r.RateControl = RateControlOf(cmb_CamDetail[kCmbRateControl].text());
    r.Bitrate = BitrateIndexOf(cmb_CamDetail[kCmbBitrate].text());
    r.GOP = GopOf(cmb_CamDetail[kCmbGop].text());
    r.Quality = QualityOf(cmb_CamDetail[kCmbQuality].text());
    if (AudioInputOf(Grid_Videoinfo[kAudioRow][1])) r.CapAudioIn = true;
    if (r.BrandCode == kLensBrand) {
        if (!cmbLensMode.text().empty()) r.LensMode = cmbLensMode.text();
        if (!cmbDisplayMode[0].text().empty()) r.LeftDisplayMode = cmbDisplayMode[0].text();
        if (!cmbDisplayMode[1].text().empty()) r.RightDisplayMode = cmbDisplayMode[1].text();
    }
}

void VideoParams::updateGrid() {
    for (int i = 0; i < kCamDetailCount; ++i) {
        Grid_Videoinfo[static_cast<size_t>(i)] = {RowLabel(i), cmb_CamDetail[static_cast<size_t>(i)].text()};
    }
    Grid_Videoinfo[7] = {lang_.GetText(193) + " :", my_.Manufacturer};
    Grid_Videoinfo[8] = {lang_.GetText(194) + " :", my_.Model};
    Grid_Videoinfo[9] = {"MAC :", my_.MACAddress};
    Grid_Videoinfo[10] = {"RTSP :", my_.configured() || my_.RtspPort ? std::to_string(my_.RtspPort) : ""};
    Grid_Videoinfo[11] = {"DI :", std::to_string(my_.NumberDI)};
    Grid_Videoinfo[12] = {"DO :", std::to_string(my_.NumberDO)};
    Grid_Videoinfo[13] = {"PTZ :", my_.PTZEnable ? "O" : "X"};
    Grid_Videoinfo[kAudioRow] = {lang_.GetText(358) + " :", audioText_};
}

void VideoParams::changed() {
    if (bFilling) return;
    if (onChange) onChange();
}

}  // namespace kv::channels
