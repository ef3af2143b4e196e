// Whether a warning sound's path can be played on this machine.
#include "events/sound.h"

#include <filesystem>
#include <system_error>

#include "base/text.h"

namespace kv::events {

SoundPlayer::~SoundPlayer() = default;

std::string SoundFileProblem(std::string_view path) {
    const std::string p = base::Trim(path);
    if (p.empty()) return "No sound file is given: enter the path of a sound file first.";
    const std::string quoted = "\"" + p + "\"";
    // The list holds paths of the service's machine; only one that is a full path here can be meant
    // for this machine, and a drive path or a relative one never is outside Windows.
    const std::filesystem::path file(p);
    if (!file.is_absolute())
        return quoted + " is not a path of this computer (it names a file on the service's machine), so it cannot "
                        "be played here.";
    std::error_code ec;
    const std::filesystem::file_status st = std::filesystem::status(file, ec);
    if (st.type() == std::filesystem::file_type::not_found)
        return "The sound file " + quoted + " does not exist on this computer.";
    if (ec) return "The sound file " + quoted + " cannot be reached on this computer: " + ec.message() + ".";
    if (!std::filesystem::is_regular_file(st)) return quoted + " is not a sound file.";
    return "";
}

}  // namespace kv::events
