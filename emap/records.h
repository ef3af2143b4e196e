// The e-map's nodes: groups with a picture, and cameras placed on a group's picture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv::emap {

inline constexpr int32_t kCameraNode = 0;
inline constexpr int32_t kGroupNode = 1;

struct EMapNodeRecord {
    int16_t ID = -1;       // a camera: its channel number; a group: its id (0 the root); -1: blank
    int32_t Type = kCameraNode;
    std::string Name;
    std::string PicFile;   // local path of a group's picture
    int32_t ParentGroup = 0;
    int16_t PositionLeft = 0;  // 0..100 of the parent picture's width
    int16_t PositionTop = 0;
    int32_t Direction = 0;     // 0..7
    bool operator==(const EMapNodeRecord&) const = default;
};

/// One blank record until the first load.
using EMapNodeList = std::vector<EMapNodeRecord>;

}  // namespace kv::emap
