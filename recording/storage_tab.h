// The Storage tab as data: the folders the service records into, the retention and the reserve,
// the service's disks, and the folder picker a double click opens.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/controls.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "link/service_link.h"
#include "recording/pickers.h"
#include "recording/records.h"

namespace pugi {
class xml_document;
}

namespace kv::recording {

/// Text ids of the tab's titles and messages.
namespace storage_text {
inline constexpr int32_t kFilePath = 231, kFreeSpace = 436;
inline constexpr int32_t kFieldEmpty = 87, kNoPathWarning = 477, kNoPath = 317, kSaveFailed = 579;
inline constexpr int32_t kReserveTooLarge = 653, kRetentionTooShort = 654;
}  // namespace storage_text

/// The mark of a row that the next save drops.
inline constexpr const char* kRemoveMark = "REMOVE";

/// Upper limits of the two fields: their wire forms (hours, megabytes) stay 32-bit.
inline constexpr int64_t kMaxRetainDays = INT32_MAX / 24;
inline constexpr int64_t kMaxReservedGB = INT32_MAX / 1024;

/// One row of `gridStorage`.
struct StorageGridRow {
    std::string path;
    std::string mark;       // "" or "REMOVE"
    std::string freeSpace;  // "[free GB/total GB]" of the path's disk; empty when no disk has it
    std::string reserve;    // the reserve column (GB); the picker turns an empty one into "0"
    bool operator==(const StorageGridRow&) const = default;
};

/// "[free GB/total GB]" of a disk, the numbers as the service gave them.
std::string DiskSpaceText(const HDPathRecord& disk);

/// The Storage tab. `gridStorage` is the working store: edits reach the tables and the service
/// only through the save button (dirty area 9).
class StorageTab {
public:
    StorageTab(RecordingTables& tables, link::ServiceLink& link, app::Prompter& prompter,
               const base::Language& lang, std::string title);
    ~StorageTab();

    static constexpr int kSaveButton = 0;
    static constexpr int kRefreshButton = 1;  // what the disks' answer presses: the tables shown again

    std::array<std::string, 4> gridTitles;  // File Path, mark, Free Space, reserve
    std::vector<StorageGridRow> gridStorage;
    app::TextField txtStorage;      // retention, days
    app::TextField txtReserveSize;  // reserve, GB
    std::vector<std::string> lbDisks;  // "C:\ [85GB/237GB]", one line a disk
    std::array<int32_t, 2> imgStoragebtn{};  // pictures of save and refresh: 5 nothing to save, 6 edits
    bool bFilling = false;     // the page fills its controls: changes are not edits
    bool localService = false; // the login is to the service on this machine: the local picker

    bool dirty() const { return dirty_; }
    const HDPathList& disks() const { return tables_.strHDPath; }
    const std::string& title() const { return title_; }

    /// Fills the tab from the tables; leaves it clean.
    void ShowStorage();
    /// True when the key may reach the field: digits only.
    bool txtStorage_KeyPress(int key) const;
    /// True when the key may reach the field: 13, 8, 9, 27 and digits.
    bool txtReserveSize_KeyPress(int key) const;
    /// A new text of a field; false (text unchanged) for anything but digits or a value whose wire
    /// form would not fit.
    bool txtStorage_Change(const std::string& text);
    bool txtReserveSize_Change(const std::string& text);
    /// Appends a row for `path`; its index, -1 for an empty path.
    int AddRow(const std::string& path);
    /// Marks a row "REMOVE", or clears the mark.
    bool ToggleRemove(int row);
    /// Puts `path` into a row; `row` one past the last appends.
    bool SetRowPath(int row, const std::string& path);
    /// The rows as records: ID -1 for a row marked REMOVE, else its place among the kept rows;
    /// paths with their closing "\"; rows without a path left out.
    StorageList SetGridToStorage() const;
    /// The disk of a path by its drive letter (the disk's ID, -1 when none).
    int GetHDPathID(const std::string& path) const;
    /// No row with a path: 477 when warning, 317 otherwise; false. When not warning also a
    /// retention of 0 days (654) and a reserve not below the size of a disk in use (653).
    bool CheckStorageSetting(bool warn);
    /// 0 saves (87 for an empty field, the checks, 32786; on success the tables take the values
    /// and 32785 and 32815 go out without waiting; on failure 579). 1 shows the tables again.
    bool imgStoragebtn_Click(int index);
    /// Opens the picker for a row (beyond the last: a new row); the local one on the local service.
    bool gridStorage_DblClick(int row);
    /// A 32816 answer: to the open picker.
    bool OnDirList(const pugi::xml_document& reply);

    /// The picker a double click opened; null before any, or after it closed.
    FormPath* formPath() const { return openLocal_ && openLocal_->visible ? openLocal_.get() : nullptr; }
    FormRemoteDriveList* formRemoteDriveList() const {
        return openRemote_ && openRemote_->visible ? openRemote_.get() : nullptr;
    }

private:
    StorageGridRow rowFor(const std::string& path, const std::string& mark) const;
    bool changeField(app::TextField& field, const std::string& text, int64_t max);
    void markEdited();
    void showSaveBtn();
    bool save();

    RecordingTables& tables_;
    link::ServiceLink& link_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    bool dirty_ = false;
    std::unique_ptr<FormPath> openLocal_;
    std::unique_ptr<FormRemoteDriveList> openRemote_;
};

}  // namespace kv::recording
