// The channel commands, concatenated byte for byte, and the readers of the channel replies.
#include "channels/codec.h"

#include <algorithm>

#include "app/wire.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"
#include "channels/xml_walk.h"

namespace kv::channels {
namespace {

using xml::forEachElement;
using xml::named;
using xml::textOf;

// The codec kit's element builders under one short name: text is escaped, numbers are not.
std::string el(std::string_view name, std::string_view text) { return app::wire::Text(name, text); }
std::string el(std::string_view name, int64_t value) { return app::wire::Num(name, value); }

int16_t num16(pugi::xml_node n) { return app::ToInt16(textOf(n)); }
int32_t num32(pugi::xml_node n) { return app::ToInt32(textOf(n)); }
bool flag(pugi::xml_node n) { return app::ToInt32(textOf(n)) != 0; }

std::string blanksToCommas(std::string text) {
    std::replace(text.begin(), text.end(), ' ', ',');
    return text;
}

std::vector<std::string> splitCommas(std::string_view text) {
    std::vector<std::string> out;
    size_t pos = 0;
    while (pos <= text.size()) {
        const size_t end = std::min(text.find(',', pos), text.size());
        out.emplace_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    return out;
}

// The items of a mode list, each followed by a comma, with the last comma dropped.
std::string modeList(pugi::xml_node list) {
    std::string out;
    forEachElement(list, [&](pugi::xml_node c) { out += textOf(c) + ","; });
    if (!out.empty()) out.pop_back();
    return out;
}

bool retCodeIsZero(pugi::xml_node response) {
    const pugi::xml_attribute a = xml::attributeAt(response, 2);
    return a && app::ToInt32(a.value()) == 0;
}

// The return code by the attribute's name, as the envelope defines it; -1 without one.
int32_t retOf(pugi::xml_node response) {
    for (const pugi::xml_attribute a : response.attributes())
        if (app::BaseName(a.name()) == "RET") return app::ToInt32(a.value());
    return -1;
}

void readSystem(pugi::xml_node system, ChannelRecord& r) {
    forEachElement(system, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "UserName") r.UserName = textOf(e);
        else if (n == "Password") r.Password = textOf(e);
        else if (n == "Manufacturer") r.Manufacturer = textOf(e);
        else if (n == "Model") r.Model = textOf(e);
        else if (n == "MACAddress") r.MACAddress = textOf(e);
        else if (n == "NumberVideo") r.NumberVideo = num16(e);
        else if (n == "VideoNumber") r.VideoNumber = num16(e);
        else if (n == "RtspPort") r.RtspPort = num32(e);
        else if (n == "BrandCode") r.BrandCode = num16(e);
        else if (n == "NumberDI") r.NumberDI = num16(e);
        else if (n == "NumberDO") r.NumberDO = num16(e);
        else if (n == "MotionDetect") r.MotionDetect = num16(e);
        else if (n == "DITriggerType") {
            const int32_t bits = num32(e);
            r.DILow = (bits & 1) != 0;
            r.DIHigh = (bits & 2) != 0;
            r.DIEdge = (bits & 4) != 0;
        }
    });
}

// One stream of a detection's current settings.
void readStream(pugi::xml_node stream, ChannelRecord& r, size_t i) {
    forEachElement(stream, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "FMT") r.CurFMT[i] = textOf(e);
        else if (n == "Size") r.CurSize[i] = textOf(e);
        else if (n == "FPS") r.CurFPS[i] = num16(e);
        else if (n == "Quality") r.CurQuality[i] = num16(e);
        else if (n == "RateControl") r.CurRateControl[i] = textOf(e);
        else if (n == "Bitrate") r.CurBitrate[i] = num16(e);
        else if (n == "GOP") r.CurGOP[i] = num16(e);
    });
}

void readVideo(pugi::xml_node video, ChannelRecord& r, bool detection) {
    if (detection) {
        for (size_t i = 0; i < kStreams; ++i) {
            r.CurFMT[i].clear();
            r.CurSize[i].clear();
            r.CurFPS[i] = r.CurQuality[i] = r.CurBitrate[i] = r.CurGOP[i] = -1;
            r.CurRateControl[i] = "-1";
        }
    }
    r.GOPCap = {false, true, true};
    forEachElement(video, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "FMT") r.FMT = textOf(e);
        else if (n == "Size") r.Size = textOf(e);
        else if (n == "FPS") r.FPS = num16(e);
        else if (n == "Quality") r.Quality = num16(e);
        else if (n == "RateControl") r.RateControl = num16(e);
        else if (n == "Bitrate") r.Bitrate = num16(e);
        else if (n == "LensMode") r.LensMode = textOf(e);
        else if (n == "LeftDisplayMode") r.LeftDisplayMode = textOf(e);
        else if (n == "RightDisplayMode") r.RightDisplayMode = textOf(e);
        else if (n == "GOP") {
            // Decided by the format read so far: the reply has to give FMT before GOP.
            r.GOP = num16(e);
            if (r.FMT == "mpeg4" && r.GOP < 1) r.GOPCap[kMpeg4] = false;
            if (r.FMT == "h264" && r.GOP < 1) r.GOPCap[kH264] = false;
        } else if (n == "SupportFMT") r.SupportFMT = textOf(e);
        else if (n == "FMTList") {
            if (detection) {
                size_t i = 0;
                r.FMTItem = {};
                forEachElement(e, [&](pugi::xml_node item) {
                    if (i < kStreams) r.FMTItem[i++] = textOf(item);
                });
            }
            r.FMTList = blanksToCommas(textOf(e));
        } else if (n == "SizeList") SetstrCHSystem(r, e);
        else if (n == "LensModeList") r.LensModeList = modeList(e);
        else if (n == "LeftDisplayModeList") r.LeftDisplayModeList = modeList(e);
        else if (n == "RightDisplayModeList") r.RightDisplayModeList = modeList(e);
        else if (n == "CurrentSettingsList" && detection) {
            size_t i = 0;
            forEachElement(e, [&](pugi::xml_node stream) {
                if (i < kStreams) readStream(stream, r, i++);
            });
            for (size_t s = 0; s < kStreams; ++s) {
                const std::string& f = r.CurFMT[s];
                if (f == "mjpeg" || f == "jpeg") r.GOPCap[s] = false;
                else if (f == "mpeg4" || f == "h264") r.GOPCap[s] = r.CurGOP[s] >= 1;
            }
        }
    });
}

void readAudio(pugi::xml_node audio, ChannelRecord& r) {
    forEachElement(audio, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "FMT") r.AudioFMT = textOf(e);
        else if (n == "FMTList") r.AudioFMT = blanksToCommas(textOf(e));
        else if (n == "CapAudioIn") r.CapAudioIn = flag(e);
        else if (n == "CapAudioOut") r.CapAudioOut = flag(e);
    });
}

void readPtz(pugi::xml_node ptz, ChannelRecord& r, bool detection) {
    forEachElement(ptz, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "PTZEnable") r.PTZEnable = flag(e);
        else if (n == "PTZABS") r.PTZABS = flag(e);
        else if (n == "SetPreset") r.SetPreset = flag(e);
        else if (n == "AutoPan") r.AutoPan = num16(e);
        else if (n == "SpeedLower") {
            // A detection reply's lower speed lands in CapAudioOut; the detail reply's does not.
            if (detection) r.CapAudioOut = flag(e);
            else r.SpeedLower = num16(e);
        } else if (n == "SpeedUpper") r.SpeedUpper = num16(e);
        else if (n == "SpeedStep") r.SpeedStep = num16(e);
        else if (n == "Zoom") r.Zoom = num16(e);
        else if (n == "Focus") r.Focus = num16(e);
        else if (n == "Iris") r.Iris = num16(e);
        else if (n == "SyncPreset") r.SyncPreset = num16(e);
        else if (n == "Move") r.Move = num16(e);
        else if (n == "Mode4FishEye") r.Mode4FishEye = textOf(e);
        else if (n == "ModeList4FishEye") {
            r.ModeList4FishEye = textOf(e);
            if (!r.ModeList4FishEye.empty()) r.FishEyeModes = splitCommas(r.ModeList4FishEye);
        } else if (n == "FMTList" && detection) r.CapAudioOut = flag(e);
    });
}

void readChannel(pugi::xml_node channel, ChannelRecord& r, const ChannelRecord& saved) {
    forEachElement(channel, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "Name") r.Name = textOf(e);
        else if (n == "IP") {
            // An unchanged camera gets its saved record back whole, with what detection learned
            // of it; the elements after IP are laid over it, those before it are lost.
            std::string ip = textOf(e);
            if (ip != saved.IP) r.IP = std::move(ip);
            else r = saved;
        } else if (n == "HTTPPort") r.HTTPPort = num32(e);
        else if (n == "StartConfig") r.StartConfig = num32(e);
        else if (n == "System") readSystem(e, r);
        else if (n == "Video") readVideo(e, r, false);
        else if (n == "Audio") readAudio(e, r);
        else if (n == "PTZ") readPtz(e, r, false);
    });
}

}  // namespace

std::string ChannelDetail_XML(int32_t count) {
    std::string list = "<CHList>";
    for (int32_t ch = 1; ch <= count; ++ch) list += "<CH>" + std::to_string(ch) + "</CH>";
    list += "</CHList>";
    return app::CommandA(app::cmd::kGetChannelDetail, app::userdata::kFormMain, list);
}

bool ChannelRetCode(std::string_view text, int32_t& code) {
    pugi::xml_document doc;
    if (!app::LoadReply(doc, text)) return false;
    const pugi::xml_attribute a = xml::attributeAt(app::ResponseOf(doc), 2);
    if (!a) return false;
    code = app::ToInt32(a.value());
    return true;
}

int Load_ChannelDetailInfo_XML(const pugi::xml_document& doc, ChannelTable& strCH) {
    try {
        const pugi::xml_node response = app::ResponseOf(doc);
        if (!response || !retCodeIsZero(response)) return 0;
        if (!response.first_child()) return 1;

        // Every slot starts blank: a channel the reply leaves out is no longer configured. The
        // old records move aside (no copy) for the rule of the unchanged address.
        ChannelTable saved{};
        saved.swap(strCH);
        bool whole = true;
        forEachElement(response, [&](pugi::xml_node list) {
            if (!whole || !named(list, "CHList")) return;
            if (xml::elementCount(list) == 0) {
                whole = false;
                return;
            }
            // Channel nodes count by position: their tag is not read.
            forEachElement(list, [&](pugi::xml_node channel) {
                if (!whole) return;
                const pugi::xml_attribute number = channel.first_attribute();
                const int32_t ch = number ? app::ToInt32(number.value()) : 0;
                if (ch < 1 || ch > kChannelSlots) {
                    whole = false;
                    return;
                }
                ChannelRecord& r = strCH[static_cast<size_t>(ch - 1)];
                r.CH = static_cast<int16_t>(ch);
                readChannel(channel, r, saved[static_cast<size_t>(ch - 1)]);
            });
        });
        return whole ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

int Load_ChannelDetailInfo_XML(std::string_view text, ChannelTable& strCH) {
    return Load_ChannelDetailInfo_XML(app::ParseReply(text), strCH);
}

bool SetstrCHSystem(ChannelRecord& r, pugi::xml_node sizeList) {
    size_t index = kJpeg;
    for (const pugi::xml_attribute a : sizeList.attributes()) {
        const std::string_view n = a.name();
        if (n == "FMT") {
            const std::string_view fmt = a.value();
            std::string* list = nullptr;
            std::vector<int16_t>*fpsLower = nullptr, *fpsUpper = nullptr, *bitLower = nullptr, *bitUpper = nullptr;
            if (fmt == "jpeg") {
                list = &r.SizeList_JPEG;
                fpsLower = &r.FPSLower_JPEG, fpsUpper = &r.FPSUpper_JPEG;
                bitLower = &r.BitrateLower_JPEG, bitUpper = &r.BitrateUpper_JPEG;
            } else if (fmt == "mpeg4") {
                list = &r.SizeList_MPEG4;
                fpsLower = &r.FPSLower_MPEG4, fpsUpper = &r.FPSUpper_MPEG4;
                bitLower = &r.BitrateLower_MPEG4, bitUpper = &r.BitrateUpper_MPEG4;
            } else if (fmt == "h264") {
                list = &r.SizeList_H264;
                fpsLower = &r.FPSLower_H264, fpsUpper = &r.FPSUpper_H264;
                bitLower = &r.BitrateLower_H264, bitUpper = &r.BitrateUpper_H264;
            }
            if (list) {
                const size_t count = xml::elementCount(sizeList);
                if (count == 0) {
                    list->clear();
                    *fpsLower = *fpsUpper = *bitLower = *bitUpper = {-1};
                } else {
                    list->clear();
                    forEachElement(sizeList, [&](pugi::xml_node size) { *list += base::Trim(textOf(size)) + ","; });
                    list->pop_back();
                    for (auto* v : {fpsLower, fpsUpper, bitLower, bitUpper}) v->assign(count, 0);
                    // The four bounds of a size are read by position.
                    size_t i = 0;
                    bool complete = true;
                    forEachElement(sizeList, [&](pugi::xml_node size) {
                        const pugi::xml_attribute b0 = xml::attributeAt(size, 0), b1 = xml::attributeAt(size, 1),
                                                  b2 = xml::attributeAt(size, 2), b3 = xml::attributeAt(size, 3);
                        if (!complete || !b3) {
                            complete = false;
                            return;
                        }
                        (*fpsLower)[i] = app::ToInt16(b0.value());
                        (*fpsUpper)[i] = app::ToInt16(b1.value());
                        (*bitLower)[i] = app::ToInt16(b2.value());
                        (*bitUpper)[i] = app::ToInt16(b3.value());
                        ++i;
                    });
                    if (!complete) return false;
                }
            }
            const std::string upper = base::ToUpper(fmt);
            index = upper == "JPEG" ? kJpeg : upper == "MPEG4" ? kMpeg4 : kH264;
        } else if (n == "QualityLower") {
            r.QualityLower[index] = app::ToInt16(a.value());
        } else if (n == "QualityUpper") {
            r.QualityUpper[index] = app::ToInt16(a.value());
        } else if (n == "RateControl") {
            r.RateControlCap[index] = app::ToInt32(a.value()) != 0;
        }
    }
    return true;
}

int Load_ChannelDetectInfo_XML(std::string_view text, ChannelRecord& r) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, text)) return 0;
        const pugi::xml_node response = app::ResponseOf(doc);
        if (!response || !retCodeIsZero(response)) return 0;
        forEachElement(response, [&](pugi::xml_node e) {
            if (named(e, "System")) readSystem(e, r);
            else if (named(e, "Video")) readVideo(e, r, true);
            else if (named(e, "Audio")) readAudio(e, r);
            else if (named(e, "PTZ")) readPtz(e, r, true);
        });
        return 1;
    } catch (...) {
        return 0;
    }
}

bool GetChannelStatus(const pugi::xml_document& doc, ChannelTable& strCH, int32_t channelCount) {
    try {
        const pugi::xml_node response = app::ResponseOf(doc);
        const pugi::xml_attribute ret = response.first_attribute();
        if (!ret || app::ToInt32(ret.value()) != 0) return false;
        pugi::xml_node list;
        forEachElement(response, [&](pugi::xml_node first) {
            if (!list) forEachElement(first, [&](pugi::xml_node inner) {
                if (!list) list = inner;
            });
        });
        bool ok = true;
        forEachElement(list, [&](pugi::xml_node channel) {
            if (!ok) return;
            const pugi::xml_attribute number = channel.first_attribute();
            const int32_t ch = number ? app::ToInt32(number.value()) : 0;
            if (ch < 1) {
                ok = false;
                return;
            }
            if (ch > channelCount || ch > kChannelSlots) return;
            ChannelRecord& r = strCH[static_cast<size_t>(ch - 1)];
            // RecordMode, Bitrate and FPS come too and are not kept.
            forEachElement(channel, [&](pugi::xml_node e) {
                if (named(e, "Connected")) r.Connected = num32(e);
                else if (named(e, "InRecord")) r.InRecord = num32(e);
            });
        });
        return ok;
    } catch (...) {
        return false;
    }
}

bool GetChannelStatus(std::string_view text, ChannelTable& strCH, int32_t channelCount) {
    return GetChannelStatus(app::ParseReply(text), strCH, channelCount);
}

// The video settings both the channel write and the preview send, in their order.
static std::string videoElements(const ChannelRecord& r) {
    return el("FMT", r.FMT) + el("Size", r.Size) + el("FPS", r.FPS) + el("Quality", r.Quality) +
           el("RateControl", r.RateControl) + el("Bitrate", r.Bitrate) + el("GOP", r.GOP);
}

std::string Get_Channel_ADD_XML(const ChannelRecord& r) {
    std::string b;
    b += el("CH", r.CH);
    b += el("Name", r.Name);
    b += el("IP", r.IP);
    b += el("HTTPPort", r.HTTPPort);
    b += el("UserName", r.UserName);
    b += el("Password", r.Password);
    b += el("VideoNumber", r.VideoNumber);
    b += el("BrandCode", r.BrandCode);
    b += el("Model", r.Model);
    b += el("MACAddress", r.MACAddress.empty() ? kNoMACAddress : r.MACAddress);
    b += el("RtspPort", r.RtspPort);
    b += el("StartConfig", r.StartConfig);
    b += "<Video>";
    b += videoElements(r);
    b += el("LensMode", r.LensMode);
    b += el("LeftDisplayMode", r.LeftDisplayMode);
    b += el("RightDisplayMode", r.RightDisplayMode);
    b += "</Video><Audio>";
    b += el("FMT", r.AudioFMT);
    b += "</Audio>";
    return app::CommandA(app::cmd::kCommitChannel, b);
}

std::string Get_Channel_Remove_XML(const ChannelRecord& r) {
    return app::CommandA(app::cmd::kCommitChannel, el("CH", r.CH));
}

std::string Get_PreView_XML(const ChannelRecord& r) {
    std::string b;
    b += el("IP", r.IP);
    b += el("HTTPPort", r.HTTPPort);
    b += el("UserName", r.UserName);
    b += el("Password", r.Password);
    b += el("VideoNumber", r.VideoNumber);
    b += el("BrandCode", r.BrandCode);
    b += el("RtspPort", r.RtspPort);
    b += "<Video>";
    b += videoElements(r);
    b += "</Video>";
    return app::CommandA(app::cmd::kPreviewCamera, app::userdata::kFormMain, b);
}

std::string GetRemoteChannelXML(std::string_view ip, int32_t port, std::string_view user, std::string_view password,
                                int32_t videoNumber) {
    return app::CommandB(app::cmd::kDetectDevice, el("IP", ip) + el("HTTPPort", port) + el("UserName", user) +
                                                      el("Password", password) + el("VideoNumber", videoNumber));
}

std::string Get_SearchCAM_XML() { return app::CommandC(app::cmd::kSearchCameras); }

bool Load_SearchCAMList_XML(const pugi::xml_document& doc, SearchCamList& list) {
    list.assign(1, SearchCamRecord{});
    try {
        const pugi::xml_node response = app::ResponseOf(doc);
        if (!response || retOf(response) != 0) return false;
        const size_t count = xml::elementCount(response);
        if (count == 0) return true;
        list.assign(count, SearchCamRecord{});
        size_t i = 0;
        forEachElement(response, [&](pugi::xml_node device) {
            SearchCamRecord& cam = list[i++];
            if (!named(device, "Device")) return;
            forEachElement(device, [&](pugi::xml_node e) {
                const std::string_view n = e.name();
                if (n == "IP") cam.IP = textOf(e);
                else if (n == "NetMask") cam.NetMask = textOf(e);
                else if (n == "HTTPPort") cam.HTTPPort = num32(e);
                else if (n == "Manufacturer") cam.Manufacturer = textOf(e);
                else if (n == "Model") cam.Model = textOf(e);
                else if (n == "DeviceType") cam.DeviceType = textOf(e);
                else if (n == "DeviceName") cam.DeviceName = textOf(e);
                else if (n == "MACAddress") cam.MACAddress = textOf(e);
            });
        });
        return true;
    } catch (...) {
        list.assign(1, SearchCamRecord{});
        return false;
    }
}

bool Load_SearchCAMList_XML(std::string_view text, SearchCamList& list) {
    return Load_SearchCAMList_XML(app::ParseReply(text), list);
}

}  // namespace kv::channels
