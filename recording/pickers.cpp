// The folder pickers: the shared rules of a choice, the asynchronous folder listing, the drive
// and folder lists of the local picker and the folder tree of the remote one.
#include "recording/pickers.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "base/text.h"
#include "recording/codec.h"
#include "recording/storage_tab.h"

namespace kv::recording {
namespace {

constexpr int32_t kSendFailed = 50;  // "Connecting to the server failed!"

// The name of `folder` when it lies directly under `parent` (which ends with "\"); the listing
// names its folders by full path, the closing "\" left off.
std::optional<std::string> childName(const std::string& parent, std::string_view folder) {
    while (!folder.empty() && folder.back() == '\\') folder.remove_suffix(1);
    if (folder.size() <= parent.size()) return std::nullopt;
    if (base::ToUpper(folder.substr(0, parent.size())) != base::ToUpper(parent)) return std::nullopt;
    const std::string_view name = folder.substr(parent.size());
    if (name.find('\\') != std::string_view::npos) return std::nullopt;
    return std::string(name);
}

}  // namespace

const HDPathRecord* DiskOf(const HDPathList& disks, std::string_view path) {
    if (path.empty()) return nullptr;
    const std::string letter = base::ToUpper(path.substr(0, 1));
    for (const HDPathRecord& d : disks)
        if (!d.Path.empty() && base::ToUpper(std::string_view(d.Path).substr(0, 1)) == letter) return &d;
    return nullptr;
}

int64_t GetFreeSpace(const HDPathList& disks, std::string_view drive) {
    const HDPathRecord* disk = DiskOf(disks, drive.empty() ? std::string_view("C") : drive);
    if (!disk || !(disk->FreeSpaceGB > 0)) return 0;
    constexpr double kMaxGB = static_cast<double>(std::numeric_limits<int64_t>::max() / kKilobytesPerGB);
    if (disk->FreeSpaceGB >= kMaxGB) return std::numeric_limits<int64_t>::max();
    // Whole kilobytes, as a byte count divided by 1024 gives them.
    return static_cast<int64_t>(disk->FreeSpaceGB * static_cast<double>(kKilobytesPerGB));
}

bool CommitFolder(StorageTab& tab, int row, const std::string& path, app::Prompter& prompter,
                  const base::Language& lang) {
    if (path.empty() || row < 0) return false;
    const double freeGB =
        static_cast<double>(GetFreeSpace(tab.disks(), std::string_view(path).substr(0, 1))) / kKilobytesPerGB;
    if (freeGB < kMinFreeGB) {
        prompter.box(app::BoxKind::Notice, lang.GetText(picker_text::kDiskTooSmall), tab.title());
        return false;
    }
    // The rows may have been shown again while the picker was open: past the end appends.
    const size_t target = std::min(static_cast<size_t>(row), tab.gridStorage.size());
    const std::string wanted = base::ToUpper(WithClosingBackslash(path));
    bool taken = false;
    for (size_t i = 0; i < tab.gridStorage.size(); ++i) {
        StorageGridRow& r = tab.gridStorage[i];
        if (r.reserve.empty()) r.reserve = "0";
        if (i != target && !r.path.empty() && base::ToUpper(WithClosingBackslash(r.path)) == wanted) taken = true;
    }
    if (taken) {
        prompter.box(app::BoxKind::Notice, lang.GetText(picker_text::kAlreadySelected), tab.title());
        return false;
    }
    return tab.SetRowPath(static_cast<int>(target), WithClosingBackslash(path));
}

bool DirListRequest::send(const std::string& parent) {
    if (running_ || parent.empty()) return false;
    parent_ = WithClosingBackslash(parent);
    ticks_ = 0;
    progress_ = 0;
    const std::string result = link_.SendCommand(0, false, Get_DirList_XML(userData_, parent_));
    // A send the link refused never gets an answer.
    running_ = base::CheckResult(result) >= 0;
    return running_;
}

bool DirListRequest::Timer1000() {
    if (!running_) return false;
    if (++ticks_ >= kDirListTickLimit) {
        running_ = false;
        progress_ = 0;
        return true;
    }
    // Big steps first, then slower, so a long wait still shows movement.
    progress_ = std::min(kDirListWaitingCeiling, progress_ + std::max(1, (kDirListWaitingCeiling - progress_) / 4));
    return false;
}

DirListRequest::Reading DirListRequest::Block_Load_DirList_XML(const pugi::xml_document& reply, HDPathList& folders) {
    if (!running_) return Reading::NotOurs;
    HDPathList read;
    std::string userData;
    const bool listed = Load_DirList_XML(reply, read, &userData);
    // A refusal may come with an empty body: with one listing out at a time it is this one's.
    if (!userData.empty() && userData != userData_) return Reading::NotOurs;
    running_ = false;
    progress_ = 100;
    if (!listed) return Reading::Failed;
    FilterExitParentPath(read, parent_);
    folders.insert(folders.end(), read.begin(), read.end());
    return Reading::Listed;
}

// ---- FormPath ----

FormPath::FormPath(StorageTab& tab, int row, link::ServiceLink& link, app::Prompter& prompter,
                   const base::Language& lang)
    : caption(lang.GetText(picker_text::kSelectFilePath)), tab_(tab), row_(row), prompter_(prompter), lang_(lang),
      request_(link, "formPath") {
    for (const HDPathRecord& d : tab.disks())
        if (!d.Path.empty()) Drive1.add(d.Path);
    // Opens on the row's folder when its disk is known, else on the first disk.
    const bool hasRow = row >= 0 && row < static_cast<int>(tab.gridStorage.size());
    const std::string current = hasRow ? base::Trim(tab.gridStorage[static_cast<size_t>(row)].path) : "";
    if (const HDPathRecord* disk = DiskOf(tab.disks(), current); disk && !current.empty()) {
        Drive1.select(disk->Path);
        show(current);
    } else if (!Drive1.items.empty()) {
        Drive1_Click(0);
    }
}

bool FormPath::show(const std::string& path) {
    if (request_.running() || path.empty()) return false;
    Dir1Path = WithClosingBackslash(path);
    Dir1.clear();
    errorText.clear();
    if (!request_.send(Dir1Path)) errorText = lang_.GetText(kSendFailed);
    return true;
}

bool FormPath::Drive1_Click(int index) {
    if (index < 0 || index >= static_cast<int>(Drive1.items.size()) || request_.running()) return false;
    Drive1.index = index;
    return show(Drive1.items[static_cast<size_t>(index)]);
}

bool FormPath::Dir1_DblClick(int index) {
    if (index < 0 || index >= static_cast<int>(Dir1.size())) return false;
    return show(Dir1[static_cast<size_t>(index)]);
}

bool FormPath::Dir1_Up() {
    std::string_view p = Dir1Path;
    while (!p.empty() && p.back() == '\\') p.remove_suffix(1);
    const size_t cut = p.rfind('\\');
    if (cut == std::string_view::npos) return false;  // at the disk's root
    return show(std::string(p.substr(0, cut + 1)));
}

void FormPath::Timer1000() {
    if (request_.Timer1000()) errorText = lang_.GetText(picker_text::kNoAnswer);
}

bool FormPath::OnDirList(const pugi::xml_document& reply) {
    HDPathList folders;
    const DirListRequest::Reading r = request_.Block_Load_DirList_XML(reply, folders);
    if (r == DirListRequest::Reading::NotOurs) return false;
    Dir1.clear();
    if (r == DirListRequest::Reading::Failed) {
        errorText = lang_.GetText(picker_text::kFolderMissing);
        return true;
    }
    for (const HDPathRecord& f : folders)
        if (const auto name = childName(request_.parent(), f.Path)) Dir1.push_back(request_.parent() + *name + "\\");
    return true;
}

bool FormPath::cmdCommit_Click() {
    if (!CommitFolder(tab_, row_, Dir1Path, prompter_, lang_)) return false;
    visible = false;
    return true;
}

// ---- FormRemoteDriveList ----

FormRemoteDriveList::FormRemoteDriveList(StorageTab& tab, int row, link::ServiceLink& link, app::Prompter& prompter,
                                         const base::Language& lang)
    : caption(lang.GetText(picker_text::kSelectFilePath)), tab_(tab), row_(row), prompter_(prompter), lang_(lang),
      request_(link, "FormRemoteDriveList") {
    for (const HDPathRecord& d : tab.disks()) {
        if (d.Path.empty()) continue;
        FolderNode root;
        root.text = d.Path;
        root.path = WithClosingBackslash(d.Path);
        treeRemoteFolder.push_back(std::move(root));
    }
}

bool FormRemoteDriveList::treeRemoteFolder_Expand(int node) {
    if (!valid(node)) return false;
    FolderNode& n = treeRemoteFolder[static_cast<size_t>(node)];
    if (n.loaded) {
        n.expanded = true;
        return true;
    }
    if (request_.running()) return false;
    errorText.clear();
    progressLoadDriveList = 0;
    if (!request_.send(n.path)) {
        errorText = lang_.GetText(kSendFailed);
        return false;
    }
    pendingNode_ = node;
    n.expanded = true;
    return true;
}

void FormRemoteDriveList::treeRemoteFolder_Collapse(int node) {
    if (valid(node)) treeRemoteFolder[static_cast<size_t>(node)].expanded = false;
}

bool FormRemoteDriveList::treeRemoteFolder_NodeClick(int node) {
    if (!valid(node)) return false;
    selectedNode = node;
    return true;
}

void FormRemoteDriveList::Timer1000() {
    if (!request_.running()) return;
    if (request_.Timer1000()) {
        // The node stays unread: opening it again asks again.
        errorText = lang_.GetText(picker_text::kNoAnswer);
        pendingNode_ = -1;
    }
    progressLoadDriveList = request_.progress();
}

bool FormRemoteDriveList::OnDirList(const pugi::xml_document& reply) {
    HDPathList folders;
    const DirListRequest::Reading r = request_.Block_Load_DirList_XML(reply, folders);
    if (r == DirListRequest::Reading::NotOurs) return false;
    progressLoadDriveList = request_.progress();
    const int node = pendingNode_;
    pendingNode_ = -1;
    if (!valid(node)) return true;
    if (r == DirListRequest::Reading::Failed) {
        // A folder that went away shows empty; a later opening asks again.
        errorText = lang_.GetText(picker_text::kFolderMissing);
        return true;
    }
    const std::string parentPath = treeRemoteFolder[static_cast<size_t>(node)].path;
    for (const HDPathRecord& f : folders) {
        const auto name = childName(parentPath, f.Path);
        if (!name) continue;
        const std::vector<int>& siblings = treeRemoteFolder[static_cast<size_t>(node)].children;
        const bool known = std::any_of(siblings.begin(), siblings.end(), [&](int c) {
            return base::ToUpper(treeRemoteFolder[static_cast<size_t>(c)].text) == base::ToUpper(*name);
        });
        if (known) continue;
        FolderNode child;
        child.text = *name;
        child.path = parentPath + *name + "\\";
        child.parent = node;
        treeRemoteFolder.push_back(std::move(child));
        treeRemoteFolder[static_cast<size_t>(node)].children.push_back(static_cast<int>(treeRemoteFolder.size()) - 1);
    }
    treeRemoteFolder[static_cast<size_t>(node)].loaded = true;
    return true;
}

bool FormRemoteDriveList::cmdCommit_Click() {
    if (!valid(selectedNode)) return false;
    if (!CommitFolder(tab_, row_, treeRemoteFolder[static_cast<size_t>(selectedNode)].path, prompter_, lang_))
        return false;
    visible = false;
    return true;
}

}  // namespace kv::recording
