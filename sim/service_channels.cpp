// The channel commands the service answers by computing: detection of a camera, the camera search,
// the channel status that changes over time, presets, the camera's position, its fisheye mode, and
// the preview of a camera that is not yet a channel.
#include <chrono>

#include "sim/envelope.h"
#include "sim/seed_channels.h"
#include "sim/seed_internal.h"
#include "sim/service.h"

namespace kv::sim {

namespace {

constexpr const char* kDetailKey = "24582";

int channelOf(const Command& c) { return seed::toInt(c.param("CH")); }

}  // namespace

std::string SimService::detectDevice(const Call& call) {
    const Command& c = call.cmd;
    // The detection's reader takes its code from a third attribute.
    const seed::Detection d = seed::detectCamera(c.param("IP"), seed::toInt(c.param("HTTPPort")), c.param("UserName"),
                                                 c.param("Password"), seed::toInt(c.param("VideoNumber")));
    return buildResponse(d.ret, c.id, c.userData, d.body, true);
}

std::string SimService::searchCameras(const Call& call) {
    return buildResponse(0, call.cmd.id, call.cmd.userData, seed::searchReplyBody());
}

std::string SimService::channelStatus(const Call& call) {
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch()).count();
    return buildResponse(0, call.cmd.id, call.cmd.userData, seed::statusAt(store_.get(call.row.key), now));
}

std::string SimService::channelDetail(const Call& call) {
    // The detail's reader takes its code from a third attribute.
    return buildResponse(0, call.cmd.id, call.cmd.userData, store_.get(call.row.key).value_or(""), true);
}

std::string SimService::presets(const Call& call) {
    const Command& c = call.cmd;
    const int ch = channelOf(c);
    // A channel without PTZ has no presets to read: the camera says so.
    if (!seed::ptzChannel(store_.get(kDetailKey), ch)) return buildResponse(-1, c.id, c.userData, "ERROR");
    return buildResponse(0, c.id, c.userData, store_.get(seed::presetKey(ch)).value_or(seed::wrap("PresetList", "")));
}

std::string SimService::ptzPosition(const Call& call) {
    const Command& c = call.cmd;
    const int ch = channelOf(c);
    if (!seed::ptzChannel(store_.get(kDetailKey), ch)) return buildResponse(-1, c.id, c.userData, "");
    const std::string position = store_.get(seed::positionKey(ch))
                                     .value_or(seed::elem("Pan", 0) + seed::elem("Tilt", 0) + seed::elem("Zoom", 1) +
                                               seed::elem("Focus", 50) + seed::elem("Iris", 50));
    return buildResponse(0, c.id, c.userData, seed::elem("CH", ch) + position);
}

std::string SimService::selectPresetPoint(const Call& call) {
    // Only a camera with PTZ has preset points.
    const Command& c = call.cmd;
    const bool ptz = seed::ptzChannel(store_.get(kDetailKey), channelOf(c));
    return buildResponse(ptz ? 0 : -1, c.id, c.userData, "");
}

std::string SimService::fisheyeMode(const Call& call) {
    const Command& c = call.cmd;
    const int ch = channelOf(c);
    const std::optional<std::string> entry = seed::channelEntry(store_.get(call.row.key), ch);
    pugi::xml_document doc;
    if (!entry || !seed::parseBody(doc, *entry)) return buildResponse(-1, c.id, c.userData, "");
    const char* mode = seed::bodyRoot(doc).first_child().child("PTZ").child_value("Mode4FishEye");
    return buildResponse(0, c.id, c.userData, seed::elem("CH", ch) + seed::elem("Mode4FishEye", mode));
}

std::string SimService::previewCamera(const Call& call) {
    // The service opens the camera the settings name: one that does not answer, or refuses the
    // account, gives the detection's code.
    const Command& c = call.cmd;
    const seed::Detection d = seed::detectCamera(c.param("IP"), seed::toInt(c.param("HTTPPort")), c.param("UserName"),
                                                 c.param("Password"), seed::toInt(c.param("VideoNumber")));
    return buildResponse(d.ret, c.id, c.userData, "");
}

}  // namespace kv::sim
