// The channel reads the service computes: detection of a camera, the camera search, the channel
// status that changes over time, presets, the camera's position and its fisheye mode.
#include <chrono>

#include "app/commands.h"
#include "sim/envelope.h"
#include "sim/seed_channels.h"
#include "sim/seed_internal.h"
#include "sim/service.h"

namespace kv::sim {

namespace cmd = app::cmd;

std::optional<std::string> SimService::channelAnswer(const Command& c) {
    const int ch = seed::toInt(c.param("CH"));
    switch (c.id) {
        case cmd::kDetectDevice: {
            // The detection's reader takes its code from a third attribute.
            const seed::Detection d = seed::detectCamera(c.param("IP"), c.param("UserName"), c.param("Password"),
                                                         seed::toInt(c.param("VideoNumber")));
            return buildResponse(d.ret, c.id, c.userData, d.body, true);
        }
        case cmd::kSearchCameras: return buildResponse(0, c.id, c.userData, seed::searchReplyBody());
        case cmd::kGetChannelStatus: {
            const auto now = std::chrono::duration_cast<std::chrono::seconds>(
                std::chrono::system_clock::now().time_since_epoch()).count();
            return buildResponse(0, c.id, c.userData, seed::statusAt(store_.get("24578"), now));
        }
        case cmd::kGetPresets:
        case cmd::kGetPresetPositions: {
            // A channel without PTZ has no presets to read: the camera says so.
            if (!seed::ptzChannel(store_.get("24582"), ch)) return buildResponse(-1, c.id, c.userData, "ERROR");
            return buildResponse(0, c.id, c.userData,
                                 store_.get(seed::presetKey(ch)).value_or(seed::wrap("PresetList", "")));
        }
        case cmd::kGetPtzPosition: {
            if (!seed::ptzChannel(store_.get("24582"), ch)) return buildResponse(-1, c.id, c.userData, "");
            const std::string position = store_.get(seed::positionKey(ch))
                                             .value_or(seed::elem("Pan", 0) + seed::elem("Tilt", 0) +
                                                       seed::elem("Zoom", 1) + seed::elem("Focus", 50) +
                                                       seed::elem("Iris", 50));
            return buildResponse(0, c.id, c.userData, seed::elem("CH", ch) + position);
        }
        case cmd::kGetFisheyeMode: {
            const std::optional<std::string> entry = seed::channelEntry(store_.get("24582"), ch);
            pugi::xml_document doc;
            if (!entry || !seed::parseBody(doc, *entry)) return buildResponse(-1, c.id, c.userData, "");
            const char* mode = seed::bodyRoot(doc).first_child().child("PTZ").child_value("Mode4FishEye");
            return buildResponse(0, c.id, c.userData, seed::elem("CH", ch) + seed::elem("Mode4FishEye", mode));
        }
        case cmd::kSelectPresetPoint:
        case cmd::kPreviewCamera: return buildResponse(0, c.id, c.userData, "");
        default: return std::nullopt;
    }
}

}  // namespace kv::sim
