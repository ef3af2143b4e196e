// Whether a warning sound's path can be played on this machine.
#include "events/sound.h"

#include <filesystem>
#include <system_error>

#include "base/lang.h"
#include "base/text.h"

namespace kv::events {

SoundPlayer::~SoundPlayer() = default;

std::string SoundFileProblem(std::string_view path, const base::Language& lang) {
    using namespace sound_text;
    const std::string p = base::Trim(path);
    if (p.empty()) return lang.GetText(kNoPath);
    const std::string quoted = " \"" + p + "\"";
    // The list holds paths of the service's machine; only one that is a full path here can be meant
    // for this machine, and a drive path or a relative one never is outside Windows.
    const std::filesystem::path file(p);
    if (!file.is_absolute()) return lang.GetText(kNotHere) + quoted;
    std::error_code ec;
    const std::filesystem::file_status st = std::filesystem::status(file, ec);
    if (st.type() == std::filesystem::file_type::not_found) return lang.GetText(kMissing) + quoted;
    if (ec) return lang.GetText(kUnreachable) + quoted + " (" + ec.message() + ")";
    if (!std::filesystem::is_regular_file(st)) return lang.GetText(kNotAFile) + quoted;
    return "";
}

}  // namespace kv::events
