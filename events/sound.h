// The sound test of the warning sounds: the player the desktop client provides, and which paths
// this machine can play at all.
#pragma once

#include <string>
#include <string_view>

namespace kv::events {

/// Plays a sound file of this machine; the desktop client implements it with its toolkit.
class SoundPlayer {
public:
    virtual ~SoundPlayer();
    /// Starts playing `path`; empty on success, otherwise a message for the user.
    virtual std::string play(const std::string& path) = 0;
};

/// Why `path` cannot be played on this machine; empty when it can: an absolute path of a file
/// that exists here. A path of the service's machine ("D:\a.wav") is not absolute here.
std::string SoundFileProblem(std::string_view path);

/// The message when the client has no player.
inline constexpr const char* kNoSoundPlayer = "This computer has no sound player, so the sound cannot be tested here.";

}  // namespace kv::events
