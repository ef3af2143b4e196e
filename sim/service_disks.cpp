// The service's disks: drive letters mapped onto local folders, their space (32815), the folders
// under a path (32816), and the storage write (32786) that makes the folders it names.
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <system_error>

#include "app/commands.h"
#include "sim/envelope.h"
#include "sim/service.h"

namespace kv::sim {

namespace fs = std::filesystem;

namespace {

// A path of the service's machine taken apart: its drive letter as written and its folders, with
// "." dropped and ".." taking a folder back.
struct DrivePath {
    char letter = 0;
    std::vector<std::string> parts;
};

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Nothing for a path that is no drive path, or whose ".." goes above its drive's root.
std::optional<DrivePath> splitPath(std::string_view path) {
    // "C:x" would be relative to the drive's current folder, which a service does not have.
    if (path.size() < 2 || !isLetter(path[0]) || path[1] != ':') return std::nullopt;
    if (path.size() > 2 && path[2] != '\\' && path[2] != '/') return std::nullopt;
    DrivePath out{path[0], {}};
    for (size_t at = 2; at < path.size();) {
        size_t end = path.find_first_of("\\/", at);
        if (end == std::string_view::npos) end = path.size();
        const std::string_view part = path.substr(at, end - at);
        at = end + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (out.parts.empty()) return std::nullopt;
            out.parts.pop_back();
            continue;
        }
        out.parts.emplace_back(part);
    }
    return out;
}

std::optional<fs::path> localFolder(const DiskMap& disks, const DrivePath& path) {
    const auto disk = disks.find(upper(path.letter));
    if (disk == disks.end()) return std::nullopt;
    fs::path local = disk->second;
    for (const std::string& part : path.parts) local /= part;
    // A link inside the disk may lead off it: once links are followed the folder must still lie on it.
    std::error_code ec;
    const fs::path root = fs::weakly_canonical(disk->second, ec);
    if (ec) return std::nullopt;
    const fs::path real = fs::weakly_canonical(local, ec);
    if (ec) return std::nullopt;
    if (std::mismatch(root.begin(), root.end(), real.begin(), real.end()).first != root.end()) return std::nullopt;
    return local;
}

// The modification time of a folder in the service's local time, "YYYY/MM/DD hh:mm:ss".
std::optional<std::string> modifyTime(const fs::path& folder) {
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) return std::nullopt;
    std::tm tm{};
    if (!::localtime_r(&st.st_mtime, &tm)) return std::nullopt;
    char text[32];
    return std::string(text, std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &tm));
}

// Bytes as gigabytes of 2^30 with two decimals, trailing zeros dropped: "85.37", "237", "10.5".
std::string gigabytes(uint64_t bytes) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<double>(bytes) / (1024.0 * 1024.0 * 1024.0),
                                   std::chars_format::fixed, 2).ptr;
    std::string out(text, end);
    out.erase(out.find_last_not_of('0') + 1);
    if (out.back() == '.') out.pop_back();
    return out;
}

// A folder name the wire can carry: a "\" would split it, a control character is no XML text.
bool wireName(const std::string& name) {
    return std::none_of(name.begin(), name.end(), [](char c) { return c == '\\' || static_cast<unsigned char>(c) < 0x20; });
}

}  // namespace

base::Result<std::pair<char, fs::path>> parseDiskMapping(std::string_view value) {
    using R = base::Result<std::pair<char, fs::path>>;
    if (value.size() < 3 || !isLetter(value[0]) || value[1] != '=')
        return R::failure("a disk is a letter A-Z, \"=\" and a folder, as C=/srv/disk-c: " + std::string(value));
    std::error_code ec;
    const fs::path folder = fs::absolute(fs::path(value.substr(2)), ec).lexically_normal();
    if (ec) return R::failure("cannot read the folder of disk " + std::string(value) + ": " + ec.message());
    return std::pair{upper(value[0]), folder};
}

DiskMap defaultDisks(const fs::path& dataDir) {
    DiskMap disks;
    for (char letter : {'C', 'D', 'E'}) disks[letter] = dataDir / "disks" / std::string(1, letter);
    return disks;
}

bool makeDiskFolders(const DiskMap& disks, std::string* error) {
    for (const auto& [letter, folder] : disks) {
        std::error_code ec;
        fs::create_directories(folder, ec);
        if (!ec && fs::is_directory(folder, ec)) continue;
        if (error) {
            *error = "cannot make the folder of disk " + std::string(1, letter) + ": " + folder.string() +
                     (ec ? ": " + ec.message() : ": not a folder");
        }
        return false;
    }
    return true;
}

std::optional<fs::path> diskFolder(const DiskMap& disks, std::string_view path) {
    const std::optional<DrivePath> parts = splitPath(path);
    return parts ? localFolder(disks, *parts) : std::nullopt;
}

void makeFoldersOnDisks(const DiskMap& disks, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        std::error_code ec;
        if (const auto folder = diskFolder(disks, path)) fs::create_directories(*folder, ec);
    }
}

void SimService::makeStorageFolders() {
    std::vector<std::string> paths;
    pugi::xml_document doc;
    const auto body = store_.get(findCommand(app::cmd::kSetStorage)->key);
    if (body && loadFragment(doc, *body)) {
        for (const pugi::xml_node f : doc.select_node(".//FilePathList").node().children("FilePath"))
            paths.emplace_back(f.child_value());
    }
    makeFoldersOnDisks(options_.disks, paths);
}

std::string SimService::diskSpace(const Call& c) {
    std::string body = "<HDPathList>";
    int id = 1;
    for (const auto& [letter, folder] : options_.disks) {
        // A disk whose folder is gone is not there for the recorder either.
        struct statvfs fsInfo {};
        std::error_code ec;
        if (!fs::is_directory(folder, ec) || ::statvfs(folder.c_str(), &fsInfo) != 0) continue;
        const uint64_t free = static_cast<uint64_t>(fsInfo.f_bavail) * fsInfo.f_frsize;
        const uint64_t total = static_cast<uint64_t>(fsInfo.f_blocks) * fsInfo.f_frsize;
        body += "<HDPath ID=\"" + std::to_string(id++) + "\" Path=\"" + std::string(1, letter) + ":\\\"><FreeSpaceGB>" +
                gigabytes(free) + "</FreeSpaceGB><TotalSpaceGB>" + gigabytes(total) + "</TotalSpaceGB></HDPath>";
    }
    return buildResponse(0, c.cmd.id, c.cmd.userData, body + "</HDPathList>");
}

std::string SimService::listFolders(const Call& c) {
    const std::string parent = c.cmd.param("ParentPath");
    const std::optional<DrivePath> parts = splitPath(parent);
    const std::optional<fs::path> folder = parts ? localFolder(options_.disks, *parts) : std::nullopt;
    std::error_code ec;
    const std::optional<std::string> parentTime =
        folder && fs::is_directory(*folder, ec) ? modifyTime(*folder) : std::nullopt;
    if (!parentTime) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");

    std::vector<std::string> names;
    for (fs::directory_iterator it(*folder, ec), end; !ec && it != end; it.increment(ec)) {
        // Real folders only: files hold no recordings to browse, and a link may lead off the disk.
        std::error_code typeError;
        if (it->symlink_status(typeError).type() != fs::file_type::directory) continue;
        std::string name = it->path().filename().string();
        if (wireName(name)) names.push_back(std::move(name));
    }
    if (ec) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    std::sort(names.begin(), names.end());

    // The parent as it was asked for, then each folder by its full path, written with "\".
    std::string prefix = std::string(1, parts->letter) + ":\\";
    for (const std::string& part : parts->parts) prefix += part + "\\";
    std::string body = "<DirectoryList><Directory ModifyTime=\"" + *parentTime + "\">" + xmlEscape(parent) + "</Directory>";
    for (const std::string& name : names) {
        const std::optional<std::string> time = modifyTime(*folder / name);
        if (!time) continue;  // removed since it was listed
        body += "<Directory ModifyTime=\"" + *time + "\">" + xmlEscape(prefix + name) + "</Directory>";
    }
    return buildResponse(0, c.cmd.id, c.cmd.userData, body + "</DirectoryList>");
}

std::string SimService::writeStorage(const Call& c) {
    const pugi::xml_node param = c.cmd.doc.document_element().child("Param");
    std::vector<fs::path> folders;
    for (const pugi::xml_node f : param.child("FilePathList").children("FilePath")) {
        const std::optional<fs::path> folder = diskFolder(options_.disks, f.child_value());
        if (!folder) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
        folders.push_back(*folder);
    }
    SimStore::Documents docs =
        documentsFromWrite(c.cmd.id, c.cmd.paramBody, [this](const std::string& key) { return store_.get(key); });
    if (docs.empty()) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    // The recorder writes into these folders from now on: one that cannot be made refuses the setting.
    for (const fs::path& folder : folders) {
        std::error_code ec;
        fs::create_directories(folder, ec);
        if (ec || !fs::is_directory(folder, ec)) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    }
    return commit(c, std::move(docs));
}

}  // namespace kv::sim
