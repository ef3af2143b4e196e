// The Storage tab's rules: the rows as the save sends them, the checks and their messages, the
// re-reads, the key filters, and the two folder pickers (free space, duplicates, the listing).
#include <gtest/gtest.h>

#include <functional>

#include "app/xml_read.h"
#include "recording/codec.h"
#include "recording/pickers.h"
#include "recording/storage_tab.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::recording;

namespace {

using Texts = std::vector<std::string>;

class StorageTabTest : public ::testing::Test {
protected:
    StorageTabTest() {
        tables.RetainDays = 30;
        tables.ReservedGB = 10;
        tables.strStorage = {{0, false, "D:\\Record\\"}, {1, false, "E:\\Record\\"}};
        tables.strHDPath = {{}, {1, "C:\\", 85, 237}, {2, "D:\\", 1210.5, 1863}, {3, "E:\\", 10, 1863},
                            {4, "F:\\", 9.99, 100}};
    }
    StorageTab& tab() {
        prompter.boxes.clear();
        tab_ = std::make_unique<StorageTab>(tables, link, prompter, test::English(), "T");
        return *tab_;
    }
    // A 32816 answer to the picker that marks its listings with `userData`.
    bool answer(const std::string& userData, const std::vector<std::string>& dirs) {
        std::string list;
        for (const std::string& d : dirs) list += "<Directory ModifyTime=\"2026/11/23 10:15:07\">" + d + "</Directory>";
        return tab_->OnDirList(app::ParseReply("<RESPONSE RET=\"0\" ID=\"32816\"><UserData>" + userData +
                                               "</UserData><DirectoryList>" + list + "</DirectoryList></RESPONSE>"));
    }

    RecordingTables tables;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    std::unique_ptr<StorageTab> tab_;
};

}  // namespace

TEST_F(StorageTabTest, ShowsPathsAndDisksWithSizesAsTheServiceGaveThem) {
    tables.strStorage.push_back({2, false, "Z:\\Old\\"});
    StorageTab& t = tab();
    EXPECT_EQ(t.gridStorage, (std::vector<StorageGridRow>{{"D:\\Record\\", "", "[1210.5GB/1863GB]", "10"},
                                                          {"E:\\Record\\", "", "[10GB/1863GB]", "10"},
                                                          {"Z:\\Old\\", "", "", "10"}}))  // no disk of Z
        << "sizes as the service gave them";
    EXPECT_EQ(t.lbDisks[3], "F:\\ [9.99GB/100GB]");
    EXPECT_EQ(t.txtStorage.text, "30");
}

TEST_F(StorageTabTest, SaveSendsTheKeptRowsThenBothReReadsWithoutWaiting) {
    StorageTab& t = tab();
    t.txtStorage_Change("1");
    ASSERT_EQ(t.AddRow("C:\\New"), 2);
    ASSERT_TRUE(t.ToggleRemove(1));
    EXPECT_EQ(t.imgStoragebtn, (std::array<int32_t, 2>{6, 6}));
    ASSERT_TRUE(t.imgStoragebtn_Click(StorageTab::kSaveButton));
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{32786, 32785, 32815}));
    EXPECT_EQ(link.waited, (std::vector<bool>{true, false, false}));
    EXPECT_EQ(link.sent[0], Set_Storage_XML({{0, false, "D:\\Record\\"}, {1, false, "C:\\New\\"}}, 1, 10));
    EXPECT_EQ(tables.strStorage, (StorageList{{0, false, "D:\\Record\\"}, {1, false, "C:\\New\\"}}));
    EXPECT_EQ(tables.RetainDays, 1) << "one day is enough";
    EXPECT_EQ(t.imgStoragebtn, (std::array<int32_t, 2>{5, 5}));
}

TEST_F(StorageTabTest, RefusalsStopTheSaveWithTheirMessage) {
    const std::pair<std::function<void(StorageTab&)>, const char*> cases[] = {
        // Every row marked counts as no path (317).
        {[](StorageTab& t) { t.ToggleRemove(0), t.ToggleRemove(1); },
         "There is no storage path set. Please add at least one path!"},
        // An empty field, either of them.
        {[](StorageTab& t) { t.txtStorage_Change(""); }, "This field is empty"},
        {[](StorageTab& t) { t.txtReserveSize_Change(""); }, "This field is empty"},
        {[](StorageTab& t) { t.txtStorage_Change("0"); }, "The retention time must be at least one day!"},
        // A reserve as big as a disk in use.
        {[](StorageTab& t) { t.AddRow("c:\\x"), t.txtReserveSize_Change("237"); },
         "The reserved space must be smaller than the disk size!"},
    };
    for (const auto& [edit, message] : cases) {
        StorageTab& t = tab();
        edit(t);
        EXPECT_FALSE(t.imgStoragebtn_Click(StorageTab::kSaveButton)) << message;
        EXPECT_EQ(prompter.boxes, Texts{message});
        EXPECT_TRUE(link.sent.empty()) << message;
    }
    // One GB under the disk's size passes.
    StorageTab& t = tab();
    t.AddRow("C:\\x");
    t.txtReserveSize_Change("236");
    EXPECT_TRUE(t.CheckStorageSetting(false));
    // The warning mode only looks at the paths, and has its own text (477).
    t.txtStorage_Change("0");
    EXPECT_TRUE(t.CheckStorageSetting(true));
    for (int row = 0; row < 3; ++row) t.ToggleRemove(row);
    EXPECT_FALSE(t.CheckStorageSetting(true));
    EXPECT_EQ(prompter.boxes, Texts{"Storage setting has not any path to be Set , this setting will be not work !"});
}

TEST_F(StorageTabTest, ARefusedSaveKeepsTheEditsUntilTheRefresh) {
    link.replies[32786] = "<RESPONSE RET=\"-1\" ID=\"32786\"></RESPONSE>";
    StorageTab& t = tab();
    t.txtStorage_Change("7");
    EXPECT_FALSE(t.imgStoragebtn_Click(StorageTab::kSaveButton));
    EXPECT_EQ(prompter.boxes, Texts{"The setting could not be saved on the server!"});
    EXPECT_EQ(link.ids(), std::vector<int32_t>{32786}) << "no re-reads after a failure";
    EXPECT_TRUE(t.dirty() && tables.RetainDays == 30);
    ASSERT_TRUE(t.imgStoragebtn_Click(StorageTab::kRefreshButton));
    EXPECT_TRUE(!t.dirty() && t.txtStorage.text == "30");
}

TEST_F(StorageTabTest, KeyFiltersAndFieldChanges) {
    StorageTab& t = tab();
    // Digits and Backspace reach both; Enter, Tab and Escape only the reserve; signs, fractions,
    // letters and the characters around the digits ('/' and ':') neither.
    const auto keys = [&t](int key) { return std::pair(t.txtStorage_KeyPress(key), t.txtReserveSize_KeyPress(key)); };
    for (int key : {int{'0'}, int{'9'}, 8}) EXPECT_EQ(keys(key), std::pair(true, true)) << key;
    for (int key : {13, 9, 27}) EXPECT_EQ(keys(key), std::pair(false, true)) << key;
    for (char key : {'-', '.', 'a', '/', ':'}) EXPECT_EQ(keys(key), std::pair(false, false)) << key;

    EXPECT_TRUE(t.txtStorage_Change("30")) << "the page echoing the model is no edit";
    EXPECT_FALSE(t.txtStorage_Change("3a"));  // pasted text is checked too
    EXPECT_FALSE(t.txtStorage_Change("89478486")) << "its hours would not fit 32 bits";
    EXPECT_FALSE(t.txtReserveSize_Change("2097152")) << "its megabytes would not fit 32 bits";
    EXPECT_FALSE(t.dirty());
    EXPECT_TRUE(t.txtReserveSize_Change("2097151"));
    EXPECT_TRUE(t.dirty());
    EXPECT_EQ(t.gridStorage[0].reserve, "2097151") << "the reserve column follows the field";
    t.ShowStorage();
    t.bFilling = true;
    EXPECT_TRUE(t.txtStorage_Change("31") && !t.dirty()) << "filling is not editing";
}

TEST_F(StorageTabTest, ChoiceRulesSharedByBothPickers) {
    const char* small = "This hard disk space has not more than 10GB , please select other disk !";
    const std::tuple<int, const char*, const char*> cases[] = {
        {2, "E:\\Other\\", nullptr},                         // exactly 10 GB free passes
        {2, "F:\\", small},                                  // 9.99 GB is too little (499)
        {2, "G:\\", small},                                  // a disk the list lacks has no free space
        {2, "d:\\record", "The path is already selected"},   // another row has it, case and "\" aside (307)
        {0, "D:\\Record", nullptr},                          // a row may take its own path again
    };
    for (const auto& [row, path, message] : cases) {
        StorageTab& t = tab();
        const bool stored = CommitFolder(t, row, path, prompter, test::English());
        EXPECT_EQ(prompter.boxes, message ? Texts{message} : Texts{}) << path;
        EXPECT_EQ(t.gridStorage.size(), stored && row == 2 ? 3u : 2u) << path;
        EXPECT_TRUE(!stored || t.gridStorage[static_cast<size_t>(row)].path == WithClosingBackslash(path)) << path;
        EXPECT_EQ(t.dirty(), stored) << path;
    }
    EXPECT_EQ(GetFreeSpace(tables.strHDPath, ""), 85 * kKilobytesPerGB) << "no name means C";
    EXPECT_EQ(GetFreeSpace(tables.strHDPath, "f"), 10475274) << "whole kilobytes of 9.99 GB";
}

TEST_F(StorageTabTest, RemotePickerLoadsNodesWithAMovingBar) {
    StorageTab& t = tab();
    ASSERT_TRUE(t.gridStorage_DblClick(9));
    ASSERT_EQ(t.formPath(), nullptr);
    FormRemoteDriveList& f = *t.formRemoteDriveList();
    ASSERT_EQ(f.treeRemoteFolder.size(), 4u);
    ASSERT_TRUE(f.treeRemoteFolder_Expand(1));
    EXPECT_EQ(link.sent.back(), Get_DirList_XML("FormRemoteDriveList", "D:\\"));
    EXPECT_FALSE(f.treeRemoteFolder_Expand(2)) << "one listing at a time";
    for (int tick = 0, last = 0; tick < 5; ++tick, last = f.progressLoadDriveList) {
        f.Timer1000();
        EXPECT_TRUE(f.progressLoadDriveList > last && f.progressLoadDriveList <= 90) << f.progressLoadDriveList;
    }
    EXPECT_FALSE(answer("formPath", {"D:\\"})) << "another picker's answer";
    // The parent first, then its folders; a deeper folder is not a child of this node.
    ASSERT_TRUE(answer("FormRemoteDriveList", {"D:\\", "D:\\Record", "D:\\Other", "D:\\Record\\Cam01"}));
    EXPECT_EQ(f.progressLoadDriveList, 100);
    ASSERT_EQ(f.treeRemoteFolder[1].children, (std::vector<int>{4, 5}));
    EXPECT_EQ(f.treeRemoteFolder[4].text, "Record");
    EXPECT_EQ(f.treeRemoteFolder[4].path, "D:\\Record\\");

    // The folder vanished: the node shows empty with the error, and opening it again asks again.
    ASSERT_TRUE(f.treeRemoteFolder_Expand(4));
    ASSERT_TRUE(t.OnDirList(app::ParseReply("<RESPONSE RET=\"-1\" ID=\"32816\"></RESPONSE>")));
    EXPECT_TRUE(f.treeRemoteFolder[4].children.empty());
    EXPECT_EQ(f.errorText, "The path is empty or does not exist!");
    ASSERT_TRUE(f.treeRemoteFolder_Expand(4));
    EXPECT_EQ(link.sent.back(), Get_DirList_XML("FormRemoteDriveList", "D:\\Record\\"));
    // No answer: the picker gives up after 30 ticks and a late answer is dropped.
    for (int tick = 0; tick < 29; ++tick) f.Timer1000();
    EXPECT_TRUE(f.loading());
    f.Timer1000();
    EXPECT_TRUE(!f.loading() && f.errorText == "Request time out!");
    EXPECT_FALSE(answer("FormRemoteDriveList", {"D:\\Record\\Cam01"}));

    ASSERT_TRUE(f.treeRemoteFolder_NodeClick(5) && f.cmdCommit_Click());
    EXPECT_EQ(t.gridStorage.back().path, "D:\\Other\\") << "a new row below the last";
}

TEST_F(StorageTabTest, LocalPickerOpensOnTheRowsFolderAndBrowsesTheSameWay) {
    StorageTab& t = tab();
    t.localService = true;
    ASSERT_TRUE(t.gridStorage_DblClick(0));
    FormPath& f = *t.formPath();
    EXPECT_EQ(link.sent.back(), Get_DirList_XML("formPath", "D:\\Record\\"));
    EXPECT_FALSE(f.Drive1_Click(0)) << "the list waits for its answer";
    ASSERT_TRUE(answer("formPath", {"D:\\Record\\", "D:\\Record\\Cam01"}));
    EXPECT_EQ(f.Dir1, Texts{"D:\\Record\\Cam01\\"}) << "the folders below, not the parent";
    ASSERT_TRUE(f.Dir1_Up());
    EXPECT_EQ(f.Dir1Path, "D:\\");
    answer("formPath", {});
    EXPECT_FALSE(f.Dir1_Up()) << "the disk's root has nothing above";
    ASSERT_TRUE(f.cmdCommit_Click());
    EXPECT_EQ(t.gridStorage[0].path, "D:\\");
    EXPECT_EQ(t.formPath(), nullptr);
}
