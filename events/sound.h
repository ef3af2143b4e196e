// The sound test of the warning sounds: the player the desktop client provides, and which paths
// this machine can play at all.
#pragma once

#include <string>
#include <string_view>

namespace kv::base {
class Language;
}

namespace kv::events {

/// Plays a sound file of this machine; the desktop client implements it with its toolkit.
class SoundPlayer {
public:
    virtual ~SoundPlayer();
    /// Starts playing `path`; empty on success, otherwise a message for the user.
    virtual std::string play(const std::string& path) = 0;
};

/// Why `path` cannot be played on this machine, in the client's language; empty when it can: an
/// absolute path of a file that exists here. A path of the service's machine ("D:\a.wav") is not
/// absolute here.
std::string SoundFileProblem(std::string_view path, const base::Language& lang);

/// Texts of the sound test.
namespace sound_text {
inline constexpr int32_t kNoPlayer = 1020, kNoPath = 1021, kNotHere = 1022, kMissing = 1023, kUnreachable = 1024,
                         kNotAFile = 1025;
}

}  // namespace kv::events
