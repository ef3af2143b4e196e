// The service's cameras: detection and search of cameras on the network, the time-varying channel
// status, presets and positions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "sim/seed.h"

namespace kv::sim::seed {

/// The answer to a detection (8193): its return code and, when 0, the body.
struct Detection {
    int ret = 0;
    std::string body;
};
/// Reads the camera at `ip`:`httpPort` with an account, as the service would over the network: 0 and
/// the body when the camera takes the account, -6 when it refuses it, -3 for a device the service
/// cannot drive, -5 when nothing answers at that address and port.
Detection detectCamera(std::string_view ip, int httpPort, std::string_view user, std::string_view password,
                       int videoNumber);

/// The detail entry of channel `ch` for the camera at `ip`:`httpPort` with the model's capabilities,
/// when a camera the service can drive answers there.
std::optional<std::string> cameraEntry(int ch, std::string_view name, std::string_view ip, int httpPort,
                                       int videoNumber, std::string_view user, std::string_view password);

/// The body of a search (8194): one `Device` per camera found, some of them channels already.
std::string searchReplyBody();

/// The status body (24578) at `nowSeconds`: the stored status of each channel, with Connected and
/// InRecord of a connected channel dropping for a while in every two minutes, at its own time.
std::string statusAt(const std::optional<std::string>& statusDoc, int64_t nowSeconds);

/// Key of the preset list of a channel, in the reply form of 4101 and 8199.
std::string presetKey(int ch);
/// Key of the present position of a channel's camera (12297's body after `CH`).
std::string positionKey(int ch);
/// The detail entry `<CH ID="ch">...</CH>` of a channel in the stored detail document.
std::optional<std::string> channelEntry(const std::optional<std::string>& detailDoc, int ch);
/// True when that channel is configured and has PTZ.
bool ptzChannel(const std::optional<std::string>& detailDoc, int ch);

}  // namespace kv::sim::seed
