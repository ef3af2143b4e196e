// Frame parser, frame encoder and the field encoding of bodies.
#include "link/frame.h"

#include <algorithm>

namespace kv::link {
namespace {

void putU16(std::string& out, uint16_t v) {
    out.push_back(static_cast<char>(v >> 8));
    out.push_back(static_cast<char>(v & 0xff));
}

void putU32(std::string& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>((v >> shift) & 0xff));
}

uint32_t getU32(const unsigned char* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}

}  // namespace

bool isKnownType(uint16_t type) {
    switch (static_cast<FrameType>(type)) {
        case FrameType::kHello:
        case FrameType::kChallenge:
        case FrameType::kProof:
        case FrameType::kWelcome:
        case FrameType::kStatus:
        case FrameType::kLogout:
        case FrameType::kPing:
        case FrameType::kPong:
        case FrameType::kCommand:
        case FrameType::kResponse:
        case FrameType::kNotify:
        case FrameType::kGetFile:
        case FrameType::kFile:
        case FrameType::kPutFile:
        case FrameType::kAck:
        case FrameType::kFilterTest:
        case FrameType::kFilterResult:
        case FrameType::kStartExport:
        case FrameType::kExportStarted:
        case FrameType::kExportProgress:
        case FrameType::kExportDone:
        case FrameType::kStopExport:
        case FrameType::kExportStopped:
            return true;
    }
    return false;
}

bool isControlType(FrameType type) {
    auto n = static_cast<uint16_t>(type);
    return n >= static_cast<uint16_t>(FrameType::kHello) && n <= static_cast<uint16_t>(FrameType::kPong);
}

const char* typeName(FrameType type) {
    switch (type) {
        case FrameType::kHello: return "HELLO";
        case FrameType::kChallenge: return "CHALLENGE";
        case FrameType::kProof: return "PROOF";
        case FrameType::kWelcome: return "WELCOME";
        case FrameType::kStatus: return "STATUS";
        case FrameType::kLogout: return "LOGOUT";
        case FrameType::kPing: return "PING";
        case FrameType::kPong: return "PONG";
        case FrameType::kCommand: return "COMMAND";
        case FrameType::kResponse: return "RESPONSE";
        case FrameType::kNotify: return "NOTIFY";
        case FrameType::kGetFile: return "GET_FILE";
        case FrameType::kFile: return "FILE";
        case FrameType::kPutFile: return "PUT_FILE";
        case FrameType::kAck: return "ACK";
        case FrameType::kFilterTest: return "FILTER_TEST";
        case FrameType::kFilterResult: return "FILTER_RESULT";
        case FrameType::kStartExport: return "START_EXPORT";
        case FrameType::kExportStarted: return "EXPORT_STARTED";
        case FrameType::kExportProgress: return "EXPORT_PROGRESS";
        case FrameType::kExportDone: return "EXPORT_DONE";
        case FrameType::kStopExport: return "STOP_EXPORT";
        case FrameType::kExportStopped: return "EXPORT_STOPPED";
    }
    return "?";
}

std::string encodeFrame(FrameType type, uint32_t requestId, std::string_view body) {
    std::string out;
    out.reserve(kHeaderSize + body.size());
    out.push_back(kMagic0);
    out.push_back(kMagic1);
    putU16(out, static_cast<uint16_t>(type));
    putU32(out, requestId);
    putU32(out, static_cast<uint32_t>(body.size()));
    out.append(body);
    return out;
}

std::pair<FrameParser::Result, const char*> FrameParser::parse(const char* begin, const char* end) {
    if (failed_) return {Result::bad, begin};
    while (begin != end) {
        if (!inBody_) {
            header_[headerFill_++] = static_cast<unsigned char>(*begin++);
            // Check each part as soon as it is complete, so that garbage is refused early.
            if (headerFill_ == 1 && header_[0] != static_cast<unsigned char>(kMagic0)) {
                failed_ = true;
                error_ = "wrong magic";
                return {Result::bad, begin};
            }
            if (headerFill_ == 2 && header_[1] != static_cast<unsigned char>(kMagic1)) {
                failed_ = true;
                error_ = "wrong magic";
                return {Result::bad, begin};
            }
            if (headerFill_ == 4) {
                uint16_t type = static_cast<uint16_t>((header_[2] << 8) | header_[3]);
                if (!isKnownType(type)) {
                    failed_ = true;
                    error_ = "unknown frame type " + std::to_string(type);
                    return {Result::bad, begin};
                }
            }
            if (headerFill_ == kHeaderSize) {
                Result r = headerDone();
                if (r != Result::indeterminate) return {r, begin};
            }
            continue;
        }
        std::size_t want = bodyLength_ - frame_.body.size();
        std::size_t n = std::min<std::size_t>(want, static_cast<std::size_t>(end - begin));
        frame_.body.append(begin, n);
        begin += n;
        if (frame_.body.size() == bodyLength_) {
            inBody_ = false;
            headerFill_ = 0;
            return {Result::good, begin};
        }
    }
    return {Result::indeterminate, begin};
}

FrameParser::Result FrameParser::headerDone() {
    auto type = static_cast<FrameType>((header_[2] << 8) | header_[3]);
    uint32_t id = getU32(&header_[4]);
    uint32_t length = getU32(&header_[8]);
    uint32_t limit = isControlType(type) ? limits_.maxControlBody : limits_.maxBody;
    if (length > limit) {
        failed_ = true;
        error_ = std::string("frame too large: ") + typeName(type) + " of " + std::to_string(length) +
                 " bytes, limit " + std::to_string(limit);
        return Result::bad;
    }
    frame_ = Frame{type, id, {}};
    headerFill_ = 0;
    if (length == 0) return Result::good;
    frame_.body.reserve(std::min<uint32_t>(length, 64 * 1024));
    bodyLength_ = length;
    inBody_ = true;
    return Result::indeterminate;
}

Frame FrameParser::take() {
    Frame f = std::move(frame_);
    frame_ = Frame{};
    return f;
}

void FrameParser::reset() {
    headerFill_ = 0;
    bodyLength_ = 0;
    inBody_ = false;
    failed_ = false;
    frame_ = Frame{};
    error_.clear();
}

FieldWriter& FieldWriter::putInt(int32_t value) {
    putU32(out_, static_cast<uint32_t>(value));
    return *this;
}

FieldWriter& FieldWriter::putText(std::string_view text) {
    putU32(out_, static_cast<uint32_t>(text.size()));
    out_.append(text);
    return *this;
}

bool FieldReader::getInt(int32_t& value) {
    if (rest_.size() < 4) {
        rest_ = {};
        return false;
    }
    value = static_cast<int32_t>(getU32(reinterpret_cast<const unsigned char*>(rest_.data())));
    rest_.remove_prefix(4);
    return true;
}

bool FieldReader::getText(std::string& text) {
    int32_t raw = 0;
    if (!getInt(raw)) return false;
    auto length = static_cast<uint32_t>(raw);
    if (length > rest_.size()) {
        rest_ = {};
        return false;
    }
    text.assign(rest_.data(), length);
    rest_.remove_prefix(length);
    return true;
}

}  // namespace kv::link
