// The sound test of the warning sounds on this machine, over Qt Multimedia.
#pragma once

#include <memory>
#include <string>

#include "events/sound.h"

class QAudioOutput;
class QMediaPlayer;
class QSoundEffect;

namespace kv::base {
class Language;
}

namespace kv::ui {

/// Plays a sound file of this computer: WAV files through `QSoundEffect`, other formats through
/// `QMediaPlayer`. A path that is not a file here, a file that is no sound or does not load, or a
/// computer without a sound output comes back as a message; a sound that starts comes back empty.
class QtSoundPlayer final : public events::SoundPlayer {
public:
    explicit QtSoundPlayer(const base::Language& lang);
    ~QtSoundPlayer() override;

    std::string play(const std::string& path) override;

    /// How long a file may take to load before it counts as not playable.
    void setLoadLimit(int ms) { loadLimitMs_ = ms; }

private:
    std::string playEffect(const std::string& path);
    std::string playMedia(const std::string& path);
    std::string notPlayable(const std::string& path) const;
    std::string noOutput() const;
    void stop();

    const base::Language& lang_;
    int loadLimitMs_ = 3000;
    std::unique_ptr<QSoundEffect> effect_;
    std::unique_ptr<QAudioOutput> output_;
    std::unique_ptr<QMediaPlayer> player_;
};

}  // namespace kv::ui
