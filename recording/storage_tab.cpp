// The Storage tab: the folder grid as working store, the two number fields, the checks and the save.
#include "recording/storage_tab.h"

#include <algorithm>
#include <charconv>

#include "app/shell.h"
#include "base/text.h"
#include "recording/codec.h"
#include "recording/save.h"

namespace kv::recording {
namespace {

bool isDigit(int key) { return key >= '0' && key <= '9'; }

bool allDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return isDigit(static_cast<unsigned char>(c)); });
}

// A size as the service gave it, without trailing zeros ("85", "9.99").
std::string sizeText(double value) {
    char buf[64];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    return ec == std::errc() ? std::string(buf, end) : "0";
}

// The number of a field; a value the tables gave outside the limits is held to them.
int32_t fieldNumber(const std::string& text, int64_t max) {
    return static_cast<int32_t>(std::clamp<int64_t>(base::LeadingNumber(text), -max, max));
}

}  // namespace

std::string DiskSpaceText(const HDPathRecord& disk) {
    return "[" + sizeText(disk.FreeSpaceGB) + "GB/" + sizeText(disk.TotalSpaceGB) + "GB]";
}

StorageTab::StorageTab(RecordingTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                       const base::Language& lang, std::string title)
    : tables_(tables), link_(link), prompter_(prompter), lang_(lang), title_(std::move(title)) {
    ShowStorage();
}

StorageTab::~StorageTab() = default;

StorageGridRow StorageTab::rowFor(const std::string& path, const std::string& mark) const {
    const HDPathRecord* disk = DiskOf(tables_.strHDPath, path);
    return {path, mark, disk ? DiskSpaceText(*disk) : "", txtReserveSize.text};
}

void StorageTab::ShowStorage() {
    bFilling = true;
    gridTitles = {lang_.GetText(storage_text::kFilePath), "", lang_.GetText(storage_text::kFreeSpace), ""};
    txtStorage.text = std::to_string(tables_.RetainDays);
    txtReserveSize.text = std::to_string(tables_.ReservedGB);
    gridStorage.clear();
    for (const StorageRecord& r : tables_.strStorage)
        if (r.ID >= 0 && !r.FilePath.empty()) gridStorage.push_back(rowFor(r.FilePath, r.Remove ? kRemoveMark : ""));
    lbDisks.clear();
    for (const HDPathRecord& d : tables_.strHDPath)
        if (!d.Path.empty()) lbDisks.push_back(d.Path + " " + DiskSpaceText(d));
    bFilling = false;
    dirty_ = false;
    showSaveBtn();
}

void StorageTab::showSaveBtn() {
    if (bFilling) return;
    const int32_t picture = dirty_ ? app::kPictureDirty : app::kPictureClean;
    imgStoragebtn = {picture, picture};
}

void StorageTab::markEdited() {
    dirty_ = true;
    showSaveBtn();
}

// Digits only; Backspace still edits the field.
bool StorageTab::txtStorage_KeyPress(int key) const { return key == 8 || isDigit(key); }

bool StorageTab::txtReserveSize_KeyPress(int key) const {
    return key == 13 || key == 8 || key == 9 || key == 27 || isDigit(key);
}

bool StorageTab::changeField(app::TextField& field, const std::string& text, int64_t max) {
    if (!allDigits(text)) return false;
    if (!text.empty()) {
        uint64_t value = 0;
        const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (ec != std::errc() || value > static_cast<uint64_t>(max)) return false;
    }
    if (text == field.text) return true;  // the page echoing what the model set
    field.text = text;
    if (!bFilling) markEdited();
    return true;
}

bool StorageTab::txtStorage_Change(const std::string& text) { return changeField(txtStorage, text, kMaxRetainDays); }

bool StorageTab::txtReserveSize_Change(const std::string& text) {
    if (!changeField(txtReserveSize, text, kMaxReservedGB)) return false;
    // The reserve column shows the reserve every disk keeps.
    for (StorageGridRow& r : gridStorage) r.reserve = txtReserveSize.text;
    return true;
}

int StorageTab::AddRow(const std::string& path) {
    const int row = static_cast<int>(gridStorage.size());
    return SetRowPath(row, path) ? row : -1;
}

bool StorageTab::ToggleRemove(int row) {
    if (row < 0 || row >= static_cast<int>(gridStorage.size())) return false;
    std::string& mark = gridStorage[static_cast<size_t>(row)].mark;
    mark = mark == kRemoveMark ? "" : kRemoveMark;
    markEdited();
    return true;
}

bool StorageTab::SetRowPath(int row, const std::string& path) {
    const std::string p = base::Trim(path);
    if (p.empty() || row < 0 || row > static_cast<int>(gridStorage.size())) return false;
    if (row == static_cast<int>(gridStorage.size())) {
        gridStorage.push_back(rowFor(p, ""));
    } else {
        StorageGridRow& r = gridStorage[static_cast<size_t>(row)];
        const StorageGridRow fresh = rowFor(p, r.mark);
        r.path = fresh.path;
        r.freeSpace = fresh.freeSpace;
    }
    markEdited();
    return true;
}

StorageList StorageTab::SetGridToStorage() const {
    StorageList out;
    int16_t next = 0;
    for (const StorageGridRow& row : gridStorage) {
        const std::string path = base::Trim(row.path);
        if (path.empty()) continue;
        StorageRecord r;
        r.Remove = row.mark == kRemoveMark;
        r.ID = r.Remove ? int16_t{-1} : next++;
        r.FilePath = WithClosingBackslash(path);
        out.push_back(std::move(r));
    }
    return out;
}

int StorageTab::GetHDPathID(const std::string& path) const { return recording::GetHDPathID(tables_.strHDPath, path); }

bool StorageTab::CheckStorageSetting(bool warn) {
    const StorageList rows = SetGridToStorage();
    const auto kept = [](const StorageRecord& r) { return r.ID >= 0; };
    if (std::none_of(rows.begin(), rows.end(), kept)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(warn ? storage_text::kNoPathWarning : storage_text::kNoPath),
                      title_);
        return false;
    }
    if (warn) return true;
    if (fieldNumber(txtStorage.text, kMaxRetainDays) < 1) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(storage_text::kRetentionTooShort), title_);
        return false;
    }
    const int32_t reserve = fieldNumber(txtReserveSize.text, kMaxReservedGB);
    for (const StorageRecord& r : rows) {
        if (!kept(r)) continue;
        // A disk whose size the service did not tell is not judged.
        const HDPathRecord* disk = DiskOf(tables_.strHDPath, r.FilePath);
        if (disk && disk->TotalSpaceGB > 0 && reserve >= disk->TotalSpaceGB) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(storage_text::kReserveTooLarge), title_);
            return false;
        }
    }
    return true;
}

bool StorageTab::save() {
    if (base::Trim(txtStorage.text).empty() || base::Trim(txtReserveSize.text).empty()) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(storage_text::kFieldEmpty), title_);
        return false;
    }
    if (!CheckStorageSetting(false)) return false;
    const StorageList rows = SetGridToStorage();
    const int32_t days = fieldNumber(txtStorage.text, kMaxRetainDays);
    const int32_t gb = fieldNumber(txtReserveSize.text, kMaxReservedGB);
    if (!SaveStorage_Setting(link_, rows, days, gb)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(storage_text::kSaveFailed), title_);
        return false;
    }
    StorageList sent;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(sent), [](const StorageRecord& r) { return r.ID >= 0; });
    tables_.strStorage = std::move(sent);
    tables_.RetainDays = days;
    tables_.ReservedGB = gb;
    ShowStorage();
    // The service's own view of the paths and the disks comes back through the readers.
    link_.SendCommand(0, false, Get_RECPathInfo_XML());
    link_.SendCommand(0, false, Get_HDPathSetting_XML());
    return true;
}

bool StorageTab::imgStoragebtn_Click(int index) {
    switch (index) {
    case kSaveButton: return save();
    case kRefreshButton: ShowStorage(); return true;
    default: return false;
    }
}

bool StorageTab::gridStorage_DblClick(int row) {
    if (row < 0) return false;
    row = std::min(row, static_cast<int>(gridStorage.size()));
    if (localService) {
        openRemote_.reset();
        openLocal_ = std::make_unique<FormPath>(*this, row, link_, prompter_, lang_);
    } else {
        openLocal_.reset();
        openRemote_ = std::make_unique<FormRemoteDriveList>(*this, row, link_, prompter_, lang_);
    }
    return true;
}

bool StorageTab::OnDirList(const pugi::xml_document& reply) {
    if (FormPath* p = formPath()) return p->OnDirList(reply);
    if (FormRemoteDriveList* r = formRemoteDriveList()) return r->OnDirList(reply);
    return false;
}

}  // namespace kv::recording
