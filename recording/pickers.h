// The two folder pickers of the Storage tab: `FormPath` (a drive list and a folder list) for the
// service on this machine, `FormRemoteDriveList` (a folder tree) for a service elsewhere. Both
// browse the service's folders with 32816 without waiting and apply the same rules to a choice.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "link/service_link.h"
#include "recording/records.h"

namespace pugi {
class xml_document;
}

namespace kv::recording {

class StorageTab;

namespace picker_text {
inline constexpr int32_t kSelectFilePath = 248, kAlreadySelected = 307, kDiskTooSmall = 499;
inline constexpr int32_t kNoAnswer = 429, kFolderMissing = 525;
}  // namespace picker_text

/// A chosen folder needs this much free space on its disk; exactly this passes.
inline constexpr double kMinFreeGB = 10.0;
inline constexpr int64_t kKilobytesPerGB = 1048576;
/// Ticks a folder listing may take before the picker gives up on it.
inline constexpr int kDirListTickLimit = 30;
/// Where the bar stops while the answer is still out.
inline constexpr int kDirListWaitingCeiling = 90;

/// The disk of a path by its first letter (case-blind); null when the list has none.
const HDPathRecord* DiskOf(const HDPathList& disks, std::string_view path);
/// Free space of a disk in kilobytes, from the disk list; an empty name means "C"; 0 for a disk
/// the list does not have.
int64_t GetFreeSpace(const HDPathList& disks, std::string_view drive);

/// The rules of a chosen folder, the same in both pickers: under 10 GB free shows 499; empty
/// reserve cells become "0"; a path another row already has shows 307; otherwise the path goes
/// into the row. True when it did.
bool CommitFolder(StorageTab& tab, int row, const std::string& path, app::Prompter& prompter,
                  const base::Language& lang);

/// One folder listing at a time: sent without waiting, answered through the 32816 reader, timed
/// by the picker's one-second ticks.
class DirListRequest {
public:
    enum class Reading { NotOurs, Listed, Failed };

    DirListRequest(link::ServiceLink& link, std::string userData) : link_(link), userData_(std::move(userData)) {}

    /// Asks for the folders under `parent`; false while another listing is out.
    bool send(const std::string& parent);
    bool running() const { return running_; }
    const std::string& parent() const { return parent_; }
    /// 0..100: toward 90 while waiting, 100 once the answer came, 0 after giving up.
    int progress() const { return progress_; }
    /// One second passed; true when the wait just ran out.
    bool Timer1000();
    /// Reads an answer: not this request's (another UserData, or none out), the subfolders of the
    /// parent into `folders`, or a failure (RET not 0, no list).
    Reading Block_Load_DirList_XML(const pugi::xml_document& reply, HDPathList& folders);

private:
    link::ServiceLink& link_;
    std::string userData_;
    std::string parent_;
    bool running_ = false;
    int ticks_ = 0;
    int progress_ = 0;
};

/// The local picker: the service's disks in `Drive1`, the folders of the current one in `Dir1`.
class FormPath {
public:
    FormPath(StorageTab& tab, int row, link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang);

    std::string caption;           // 248 "Select File Path"
    app::ComboBox Drive1;          // disk roots
    std::string Dir1Path;          // the folder shown, with its closing "\"
    std::vector<std::string> Dir1; // its subfolders, full paths with the closing "\"
    std::string errorText;         // why the list is empty
    bool visible = true;

    int row() const { return row_; }
    bool loading() const { return request_.running(); }
    int progress() const { return request_.progress(); }

    /// Shows the root of a disk; false while a listing is out.
    bool Drive1_Click(int index);
    /// Enters a folder of the list.
    bool Dir1_DblClick(int index);
    /// Goes up one folder (not above the disk's root).
    bool Dir1_Up();
    void Timer1000();
    /// A 32816 answer; false when it is not this picker's.
    bool OnDirList(const pugi::xml_document& reply);
    /// Takes the folder shown; closes when the rules let it.
    bool cmdCommit_Click();
    void cmdCancel_Click() { visible = false; }

private:
    bool show(const std::string& path);

    StorageTab& tab_;
    int row_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    DirListRequest request_;
};

/// A node of the folder tree; disks are the roots.
struct FolderNode {
    std::string text;   // "D:\" for a disk, else the folder's name
    std::string path;   // with its closing "\"
    int parent = -1;
    std::vector<int> children;
    bool loaded = false;    // its folders have been read
    bool expanded = false;
};

/// The remote picker: the service's folders as a tree, loaded as nodes open.
class FormRemoteDriveList {
public:
    FormRemoteDriveList(StorageTab& tab, int row, link::ServiceLink& link, app::Prompter& prompter,
                        const base::Language& lang);

    std::string caption;  // 248 "Select File Path"
    std::vector<FolderNode> treeRemoteFolder;
    int selectedNode = -1;
    int progressLoadDriveList = 0;
    std::string errorText;
    bool visible = true;

    int row() const { return row_; }
    bool loading() const { return request_.running(); }
    /// Opens a node; one not yet read asks the service (false while another listing is out).
    bool treeRemoteFolder_Expand(int node);
    void treeRemoteFolder_Collapse(int node);
    bool treeRemoteFolder_NodeClick(int node);
    /// Moves the bar while a listing is out; gives up after 30 ticks.
    void Timer1000();
    /// A 32816 answer; false when it is not this picker's.
    bool OnDirList(const pugi::xml_document& reply);
    /// Takes the selected node's folder; closes when the rules let it.
    bool cmdCommit_Click();
    void cmdCancel_Click() { visible = false; }

private:
    bool valid(int node) const { return node >= 0 && node < static_cast<int>(treeRemoteFolder.size()); }

    StorageTab& tab_;
    int row_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    DirListRequest request_;
    int pendingNode_ = -1;
};

}  // namespace kv::recording
