// Regions and lines of the analytics kinds: object-loss rectangles, tripwire lines and polygons,
// counting lines. Coordinates are pixels of a picture of Width by Height.
#pragma once

#include <cstdint>
#include <vector>

namespace kv::analytics {

struct OBLossROIRecord {
    int16_t CH = -1;  // negative: the blank record of an empty list
    int16_t ID = -1;
    int32_t Width = 0, Height = 0, LeftTopX = 0, LeftTopY = 0, RightBottomX = 0, RightBottomY = 0;
    bool operator==(const OBLossROIRecord&) const = default;
};

struct TripWireROIRecord {
    int16_t CH = -1;
    int16_t ID = -1;
    int32_t Width = 0, Height = 0, LeftTopX = 0, LeftTopY = 0, RightBottomX = 0, RightBottomY = 0;
    int32_t Direction = 0;
    bool operator==(const TripWireROIRecord&) const = default;
};

struct PolygonPoint {
    int16_t X = 0, Y = 0;
    bool operator==(const PolygonPoint&) const = default;
};

/// The tripwire polygon, one per channel.
struct PolygonROIRecord {
    int16_t CH = -1;
    std::vector<PolygonPoint> Points;
    int32_t Width = 0, Height = 0;
    int32_t Direction = 0;  // in or out
    bool operator==(const PolygonROIRecord&) const = default;
};

struct ObjCountingROIRecord {
    int16_t CH = -1;
    int16_t ID = -1;
    int32_t Width = 0, Height = 0, LeftTopX = 0, LeftTopY = 0, RightBottomX = 0, RightBottomY = 0;
    int32_t Direction = 0;
    int16_t InDisplayLeftTopX = 0, InDisplayLeftTopY = 0, OutDisplayLeftTopX = 0, OutDisplayLeftTopY = 0;
    int16_t AlarmLevel = 0, CurrPeriod = 0, AccuPeriod = 0;
    bool operator==(const ObjCountingROIRecord&) const = default;
};

/// Each list holds one blank record when empty.
using OBLossROIList = std::vector<OBLossROIRecord>;
using TripWireROIList = std::vector<TripWireROIRecord>;
using PolygonROIList = std::vector<PolygonROIRecord>;
using ObjCountingROIList = std::vector<ObjCountingROIRecord>;

}  // namespace kv::analytics
