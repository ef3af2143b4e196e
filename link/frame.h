// Frames of the link: types, the incremental parser, encoders and the field encoding of bodies.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kv::link {

inline constexpr char kMagic0 = 'K';
inline constexpr char kMagic1 = 'V';
inline constexpr std::size_t kHeaderSize = 12;
inline constexpr int32_t kProtocolVersion = 1;
inline constexpr uint16_t kDefaultPort = 9877;

enum class FrameType : uint16_t {
    kHello = 1,
    kChallenge = 2,
    kProof = 3,
    kWelcome = 4,
    kStatus = 5,
    kLogout = 6,
    kPing = 7,
    kPong = 8,
    kCommand = 16,
    kResponse = 17,
    kNotify = 18,
    kGetFile = 32,
    kFile = 33,
    kPutFile = 34,
    kAck = 35,
    kFilterTest = 48,
    kFilterResult = 49,
    kStartExport = 64,
    kExportStarted = 65,
    kExportProgress = 66,
    kExportDone = 67,
    kStopExport = 68,
    kExportStopped = 69,
};

bool isKnownType(uint16_t type);
/// Handshake and control frames (HELLO to PONG) have the small size limit.
bool isControlType(FrameType type);
const char* typeName(FrameType type);

struct Frame {
    FrameType type = FrameType::kPing;
    uint32_t requestId = 0;
    std::string body;
};

struct FrameLimits {
    uint32_t maxBody = 16u * 1024 * 1024;
    uint32_t maxControlBody = 4096;
};

/// Builds the bytes of one frame.
std::string encodeFrame(FrameType type, uint32_t requestId, std::string_view body);

/// Consumes bytes and answers whether a whole frame is ready, the input is faulty, or more is needed.
class FrameParser {
public:
    enum class Result { good, bad, indeterminate };

    explicit FrameParser(FrameLimits limits = {}) : limits_(limits) {}

    /// Consumes from [begin, end) up to the end of one frame. Returns the result and where it stopped:
    /// on good the frame is in `frame()` and the rest of the input is still unread.
    std::pair<Result, const char*> parse(const char* begin, const char* end);
    /// The completed frame; moving it out also readies the parser for the next one.
    Frame take();
    /// Why the input was refused (after bad).
    const std::string& error() const { return error_; }
    void setLimits(FrameLimits limits) { limits_ = limits; }
    void reset();

private:
    Result headerDone();

    FrameLimits limits_;
    std::array<unsigned char, kHeaderSize> header_{};
    std::size_t headerFill_ = 0;
    uint32_t bodyLength_ = 0;
    bool inBody_ = false;
    bool failed_ = false;
    Frame frame_;
    std::string error_;
};

/// Writes the fields of a multi-field body.
class FieldWriter {
public:
    FieldWriter& putInt(int32_t value);
    FieldWriter& putText(std::string_view text);
    std::string take() { return std::move(out_); }

private:
    std::string out_;
};

/// Reads the fields of a multi-field body; every getter fails once the body runs short.
class FieldReader {
public:
    explicit FieldReader(std::string_view body) : rest_(body) {}
    bool getInt(int32_t& value);
    bool getText(std::string& text);

private:
    std::string_view rest_;
};

}  // namespace kv::link
