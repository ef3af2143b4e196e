// The sound test over Qt Multimedia.
#include "ui/sound_player.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>
#include <cstring>
#include <functional>

#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {
namespace {

constexpr int kTextNotPlayable = 1018, kTextNoOutput = 1019;

// Runs the event loop until `done` holds or `limitMs` passed; the user's input waits meanwhile,
// so no other click of the page runs in the middle of the test.
template <typename Signal, typename Sender>
void waitFor(Sender* sender, Signal signal, const std::function<bool()>& done, int limitMs) {
    if (done()) return;
    QEventLoop loop;
    QTimer::singleShot(limitMs, &loop, &QEventLoop::quit);
    QObject::connect(sender, signal, &loop, [&] {
        if (done()) loop.quit();
    });
    if (!done()) loop.exec(QEventLoop::ExcludeUserInputEvents);
}

bool hasOutput() { return !QMediaDevices::audioOutputs().isEmpty(); }

uint32_t le32(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return u[0] | (u[1] << 8) | (u[2] << 16) | (static_cast<uint32_t>(u[3]) << 24);
}
uint16_t le16(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return static_cast<uint16_t>(u[0] | (u[1] << 8));
}

// True for a RIFF WAVE file whose format chunk names samples QSoundEffect decodes (integer PCM,
// float, or the extensible form of either) and that has sound data after it.
bool isPlayableWave(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return false;
    char head[12];
    if (f.read(head, 12) != 12 || std::memcmp(head, "RIFF", 4) != 0 || std::memcmp(head + 8, "WAVE", 4) != 0)
        return false;
    bool format = false;
    char chunk[8];
    while (f.read(chunk, 8) == 8) {
        const uint32_t size = le32(chunk + 4);
        if (std::memcmp(chunk, "fmt ", 4) == 0) {
            if (size < 16) return false;
            const QByteArray fmt = f.read(16);
            if (fmt.size() != 16) return false;
            const uint16_t tag = le16(fmt.data()), channels = le16(fmt.data() + 2), bits = le16(fmt.data() + 14);
            const bool known = tag == 1 || tag == 3 || tag == 0xFFFE;
            if (!known || channels == 0 || le32(fmt.data() + 4) == 0 || bits == 0 || bits % 8 != 0 || bits > 32)
                return false;
            format = true;
            if (!f.seek(f.pos() + (size - 16) + (size & 1))) return false;
        } else if (std::memcmp(chunk, "data", 4) == 0) {
            return format && size > 0 && f.size() > f.pos();
        } else if (!f.seek(f.pos() + size + (size & 1))) {
            return false;
        }
    }
    return false;
}

}  // namespace

QtSoundPlayer::QtSoundPlayer(const base::Language& lang) : lang_(lang) {}

QtSoundPlayer::~QtSoundPlayer() { stop(); }

std::string QtSoundPlayer::play(const std::string& path) {
    if (std::string problem = events::SoundFileProblem(path, lang_); !problem.empty()) return problem;
    stop();
    const QFileInfo file(Q(path));
    if (!file.isReadable()) return notPlayable(path);
    // QSoundEffect decodes WAV itself, with or without a sound output; the rest needs the player.
    return file.suffix().compare("wav", Qt::CaseInsensitive) == 0 ? playEffect(path) : playMedia(path);
}

std::string QtSoundPlayer::playEffect(const std::string& path) {
    // QSoundEffect's sample cache may stall on the file it loads after one it could not decode:
    // a file that is no wave never reaches it.
    if (!isPlayableWave(Q(path))) return notPlayable(path);
    if (!hasOutput()) return noOutput();
    effect_ = std::make_unique<QSoundEffect>();
    QSoundEffect* e = effect_.get();
    e->setSource(QUrl::fromLocalFile(Q(path)));
    waitFor(
        e, &QSoundEffect::statusChanged,
        [e] { return e->status() == QSoundEffect::Ready || e->status() == QSoundEffect::Error; }, loadLimitMs_);
    if (e->status() != QSoundEffect::Ready) {
        effect_.reset();
        return notPlayable(path);
    }
    e->play();
    return "";
}

std::string QtSoundPlayer::playMedia(const std::string& path) {
    // The media back end is not made without an output: some back ends fail hard without one.
    if (!hasOutput()) return noOutput();
    output_ = std::make_unique<QAudioOutput>();
    player_ = std::make_unique<QMediaPlayer>();
    QMediaPlayer* p = player_.get();
    p->setAudioOutput(output_.get());
    p->setSource(QUrl::fromLocalFile(Q(path)));
    const auto loaded = [p] {
        const QMediaPlayer::MediaStatus s = p->mediaStatus();
        return p->error() != QMediaPlayer::NoError || s == QMediaPlayer::LoadedMedia ||
               s == QMediaPlayer::BufferedMedia || s == QMediaPlayer::InvalidMedia;
    };
    waitFor(p, &QMediaPlayer::mediaStatusChanged, loaded, loadLimitMs_);
    const QMediaPlayer::MediaStatus s = p->mediaStatus();
    if (p->error() != QMediaPlayer::NoError || (s != QMediaPlayer::LoadedMedia && s != QMediaPlayer::BufferedMedia)) {
        stop();
        return notPlayable(path);
    }
    p->play();
    return "";
}

// An empty answer means the sound plays: a language without these texts still gets a message.
std::string QtSoundPlayer::notPlayable(const std::string& path) const {
    const std::string text = lang_.GetText(kTextNotPlayable);
    return (text.empty() ? "This file cannot be played as a sound:" : text) + " \"" + path + "\"";
}

std::string QtSoundPlayer::noOutput() const {
    const std::string text = lang_.GetText(kTextNoOutput);
    return text.empty() ? "This computer has no sound output, so the sound cannot be heard here." : text;
}

void QtSoundPlayer::stop() {
    if (effect_) effect_->stop();
    if (player_) player_->stop();
    player_.reset();
    output_.reset();
    effect_.reset();
}

}  // namespace kv::ui
