// The Storage tab's rules: wire units, closing "\", the checks and their messages, the save and its
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

class StorageTabTest : public ::testing::Test {
protected:
    void SetUp() override {
        tables.RetainDays = 30;
        tables.ReservedGB = 10;
        tables.strStorage = {{0, false, "D:\\Record\\"}, {1, false, "E:\\Record\\"}};
        tables.strHDPath = {{}, {1, "C:\\", 85, 237}, {2, "D:\\", 1210.5, 1863}, {3, "E:\\", 10, 1863},
                            {4, "F:\\", 9.99, 100}};
    }
    StorageTab& tab() {
        tab_ = std::make_unique<StorageTab>(tables, link, prompter, test::English(), "T");
        return *tab_;
    }
    static std::string listing(const std::string& userData, const std::string& dirs) {
        return "<RESPONSE RET=\"0\" ID=\"32816\"><UserData>" + userData + "</UserData><DirectoryList>" + dirs +
               "</DirectoryList></RESPONSE>";
    }
    static std::string dir(const std::string& path) {
        return "<Directory ModifyTime=\"2026/11/23 10:15:07\">" + path + "</Directory>";
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
    EXPECT_EQ(t.gridTitles[0], "File Path");
    EXPECT_EQ(t.gridTitles[2], "Free Space");
    const std::vector<StorageGridRow> rows = {{"D:\\Record\\", "", "[1210.5GB/1863GB]", "10"},
                                              {"E:\\Record\\", "", "[10GB/1863GB]", "10"},
                                              {"Z:\\Old\\", "", "", "10"}};  // no disk of that letter
    EXPECT_EQ(t.gridStorage, rows);
    EXPECT_EQ(t.lbDisks, (std::vector<std::string>{"C:\\ [85GB/237GB]", "D:\\ [1210.5GB/1863GB]",
                                                   "E:\\ [10GB/1863GB]", "F:\\ [9.99GB/100GB]"}));
    EXPECT_EQ(t.txtStorage.text, "30");
    EXPECT_FALSE(t.dirty());
    EXPECT_EQ(t.imgStoragebtn, (std::array<int32_t, 2>{5, 5}));
}

TEST_F(StorageTabTest, SaveSendsWireUnitsThenBothReReadsWithoutWaiting) {
    struct Case { const char* days; const char* gb; const char* wire; };
    const Case cases[] = {
        {"30", "10", "<RetainTime>720</RetainTime><ReservedSpace>10240</ReservedSpace>"},  // days x 24, GB x 1024
        {"1", "0", "<RetainTime>24</RetainTime><ReservedSpace>0</ReservedSpace>"},         // the smallest accepted
    };
    for (const Case& c : cases) {
        SetUp();
        link.sent.clear();
        link.waited.clear();
        StorageTab& t = tab();
        t.txtStorage_Change(c.days);
        t.txtReserveSize_Change(c.gb);
        ASSERT_EQ(t.AddRow("C:\\New"), 2);
        ASSERT_TRUE(t.ToggleRemove(1));
        EXPECT_EQ(t.imgStoragebtn, (std::array<int32_t, 2>{6, 6}));
        ASSERT_TRUE(t.imgStoragebtn_Click(StorageTab::kSaveButton)) << c.days;
        EXPECT_EQ(link.ids(), (std::vector<int32_t>{32786, 32785, 32815}));
        EXPECT_EQ(link.waited, (std::vector<bool>{true, false, false}));
        EXPECT_NE(link.sent[0].find(c.wire), std::string::npos) << link.sent[0];
        // A path typed without the closing "\" goes out with it; the removed row does not go out.
        EXPECT_NE(link.sent[0].find("<FilePath>D:\\Record\\</FilePath><FilePath>C:\\New\\</FilePath></FilePathList>"),
                  std::string::npos);
        EXPECT_EQ(link.sent[1], Get_RECPathInfo_XML());
        EXPECT_EQ(link.sent[2], Get_HDPathSetting_XML());
        const StorageList kept = {{0, false, "D:\\Record\\"}, {1, false, "C:\\New\\"}};
        EXPECT_EQ(tables.strStorage, kept);
        EXPECT_FALSE(t.dirty());
        EXPECT_EQ(t.imgStoragebtn, (std::array<int32_t, 2>{5, 5}));
    }
}

TEST_F(StorageTabTest, RefusalsStopTheSaveWithTheirMessage) {
    struct Case { const char* why; std::function<void(StorageTab&)> edit; const char* message; };
    const Case cases[] = {
        {"every row marked counts as no path", [](StorageTab& t) { t.ToggleRemove(0); t.ToggleRemove(1); },
         "There is no storage path set. Please add at least one path!"},
        {"an empty retention stops before the rows", [](StorageTab& t) { t.txtStorage_Change(""); },
         "This field is empty"},
        {"an empty reserve likewise", [](StorageTab& t) { t.txtReserveSize_Change(""); }, "This field is empty"},
        {"no retention at all", [](StorageTab& t) { t.txtStorage_Change("0"); },
         "The retention time must be at least one day!"},
        {"a reserve as big as a disk in use", [](StorageTab& t) { t.AddRow("c:\\x"); t.txtReserveSize_Change("237"); },
         "The reserved space must be smaller than the disk size!"},
    };
    for (const Case& c : cases) {
        prompter.boxes.clear();
        StorageTab& t = tab();
        c.edit(t);
        EXPECT_FALSE(t.imgStoragebtn_Click(StorageTab::kSaveButton)) << c.why;
        EXPECT_EQ(prompter.boxes, std::vector<std::string>{c.message}) << c.why;
        EXPECT_TRUE(link.sent.empty()) << c.why;
        EXPECT_TRUE(t.dirty()) << c.why;
    }
    // One GB under the disk's size passes.
    StorageTab& t = tab();
    t.AddRow("C:\\x");
    t.txtReserveSize_Change("236");
    EXPECT_TRUE(t.CheckStorageSetting(false));
    // The warning mode only looks at the paths, and has its own text.
    t.txtStorage_Change("0");
    EXPECT_TRUE(t.CheckStorageSetting(true));
    for (int row = 0; row < 3; ++row) t.ToggleRemove(row);
    prompter.boxes.clear();
    EXPECT_FALSE(t.CheckStorageSetting(true));
    EXPECT_EQ(prompter.boxes,
              std::vector<std::string>{"Storage setting has not any path to be Set , this setting will be not work !"});
}

TEST_F(StorageTabTest, FailedSaveKeepsTheEditsAndTheTables) {
    const RecordingTables before = tables;
    struct Case { const char* why; bool refuseLink; };
    const Case cases[] = {{"the service refuses (RET -1)", false}, {"the link fails (\"-1\")", true}};
    for (const Case& c : cases) {
        link.sent.clear();
        link.replies[32786] = "<RESPONSE RET=\"-1\" ID=\"32786\"></RESPONSE>";
        if (c.refuseLink) link.replies[32786] = "-1";
        prompter.boxes.clear();
        StorageTab& t = tab();
        t.txtStorage_Change("7");
        EXPECT_FALSE(t.imgStoragebtn_Click(StorageTab::kSaveButton)) << c.why;
        EXPECT_EQ(prompter.boxes, std::vector<std::string>{"The setting could not be saved on the server!"});
        EXPECT_EQ(link.ids(), std::vector<int32_t>{32786}) << "no re-reads after a failure";
        EXPECT_EQ(tables.strStorage, before.strStorage);
        EXPECT_EQ(tables.RetainDays, 30);
        EXPECT_TRUE(t.dirty());
        // The refresh button drops the edits.
        ASSERT_TRUE(t.imgStoragebtn_Click(StorageTab::kRefreshButton));
        EXPECT_EQ(t.txtStorage.text, "30");
        EXPECT_FALSE(t.dirty());
    }
}

TEST_F(StorageTabTest, KeyFiltersAndFieldChanges) {
    StorageTab& t = tab();
    struct Key { int key; bool retention, reserve; };
    const Key keys[] = {
        {'0', true, true}, {'9', true, true},      // digits reach both
        {8, true, true}, {13, false, true},        // backspace edits both; enter only the reserve
        {9, false, true}, {27, false, true},       // tab and escape likewise
        {'-', false, false}, {'.', false, false},  // no signs, no fractions
        {'a', false, false}, {'/', false, false},  // '/' and ':' frame the digits
        {':', false, false},
    };
    for (const Key& k : keys) {
        EXPECT_EQ(t.txtStorage_KeyPress(k.key), k.retention) << k.key;
        EXPECT_EQ(t.txtReserveSize_KeyPress(k.key), k.reserve) << k.key;
    }
    EXPECT_TRUE(t.txtStorage_Change("30")) << "the page echoing the model is no edit";
    EXPECT_FALSE(t.dirty());
    EXPECT_FALSE(t.txtStorage_Change("3a"));  // pasted text is checked too
    EXPECT_FALSE(t.txtStorage_Change("89478486")) << "its hours would not fit 32 bits";
    EXPECT_FALSE(t.txtReserveSize_Change("2097152")) << "its megabytes would not fit 32 bits";
    EXPECT_FALSE(t.dirty());
    EXPECT_EQ(t.txtStorage.text, "30");
    EXPECT_TRUE(t.txtReserveSize_Change("2097151"));
    EXPECT_TRUE(t.dirty());
    EXPECT_EQ(t.gridStorage[0].reserve, "2097151") << "the reserve column follows the field";
    t.ShowStorage();
    t.bFilling = true;
    EXPECT_TRUE(t.txtStorage_Change("31"));
    EXPECT_FALSE(t.dirty()) << "filling is not editing";
}

TEST_F(StorageTabTest, ChoiceRulesSharedByBothPickers) {
    struct Case { const char* why; int row; const char* path; const char* message; };
    const Case cases[] = {
        {"exactly 10 GB free passes", 2, "E:\\Other\\", nullptr},
        {"9.99 GB is too little", 2, "F:\\", "This hard disk space has not more than 10GB , please select other disk !"},
        {"a disk the list lacks has no free space", 2, "G:\\", "This hard disk space has not more than 10GB , please select other disk !"},
        {"another row has it, case and closing \"\\\" aside", 2, "d:\\record", "The path is already selected"},
        {"a row may take its own path again", 0, "D:\\Record", nullptr},
    };
    for (const Case& c : cases) {
        prompter.boxes.clear();
        StorageTab& t = tab();
        t.gridStorage[1].reserve.clear();
        const bool stored = CommitFolder(t, c.row, c.path, prompter, test::English());
        EXPECT_EQ(stored, c.message == nullptr) << c.why;
        EXPECT_EQ(prompter.boxes.empty() ? "" : prompter.boxes[0], c.message ? c.message : "") << c.why;
        if (stored) EXPECT_EQ(t.gridStorage[static_cast<size_t>(c.row)].path, WithClosingBackslash(c.path)) << c.why;
        else EXPECT_EQ(t.gridStorage.size(), 2u) << c.why << ": the earlier choice stands";
        EXPECT_EQ(t.dirty(), stored) << c.why;
        if (c.message == nullptr || std::string(c.message) == "The path is already selected")
            EXPECT_EQ(t.gridStorage[1].reserve, "0") << c.why << ": an empty reserve cell becomes 0";
    }
    EXPECT_EQ(GetFreeSpace(tables.strHDPath, ""), 85 * kKilobytesPerGB) << "no name means C";
    EXPECT_EQ(GetFreeSpace(tables.strHDPath, "f"), 10475274) << "whole kilobytes of 9.99 GB";
}

TEST_F(StorageTabTest, RemotePickerLoadsNodesWithAMovingBar) {
    StorageTab& t = tab();
    ASSERT_TRUE(t.gridStorage_DblClick(9));
    ASSERT_EQ(t.formPath(), nullptr);
    FormRemoteDriveList& f = *t.formRemoteDriveList();
    EXPECT_EQ(f.caption, "Select File Path");
    ASSERT_EQ(f.treeRemoteFolder.size(), 4u);
    ASSERT_TRUE(f.treeRemoteFolder_Expand(1));
    EXPECT_EQ(link.sent.back(), Get_DirList_XML("FormRemoteDriveList", "D:\\"));
    EXPECT_FALSE(link.waited.back());
    EXPECT_FALSE(f.treeRemoteFolder_Expand(2)) << "one listing at a time";
    int last = 0;
    for (int tick = 0; tick < 5; ++tick) {
        f.Timer1000();
        EXPECT_GT(f.progressLoadDriveList, last);
        EXPECT_LE(f.progressLoadDriveList, 90);
        last = f.progressLoadDriveList;
    }
    // Another picker's answer is not this one's.
    EXPECT_FALSE(t.OnDirList(app::ParseReply(listing("formPath", dir("D:\\")))));
    EXPECT_TRUE(f.loading());
    // The parent first, then its folders; a deeper folder is not a child of this node.
    ASSERT_TRUE(t.OnDirList(app::ParseReply(
        listing("FormRemoteDriveList", dir("D:\\") + dir("D:\\Record") + dir("D:\\Other") + dir("D:\\Record\\Cam01")))));
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
    EXPECT_FALSE(f.loading());
    EXPECT_EQ(f.errorText, "Request time out!");
    EXPECT_FALSE(t.OnDirList(app::ParseReply(listing("FormRemoteDriveList", dir("D:\\Record\\Cam01")))));

    ASSERT_TRUE(f.treeRemoteFolder_NodeClick(5));
    ASSERT_TRUE(f.cmdCommit_Click());
    EXPECT_EQ(t.formRemoteDriveList(), nullptr);
    EXPECT_EQ(t.gridStorage.back().path, "D:\\Other\\") << "a new row below the last";
    EXPECT_EQ(t.gridStorage.size(), 3u);
    EXPECT_TRUE(t.dirty());
}

TEST_F(StorageTabTest, LocalPickerOpensOnTheRowsFolderAndBrowsesTheSameWay) {
    StorageTab& t = tab();
    t.localService = true;
    ASSERT_TRUE(t.gridStorage_DblClick(0));
    FormPath& f = *t.formPath();
    EXPECT_EQ(f.Drive1.items, (std::vector<std::string>{"C:\\", "D:\\", "E:\\", "F:\\"}));
    EXPECT_EQ(f.Drive1.text(), "D:\\");
    EXPECT_EQ(link.sent.back(), Get_DirList_XML("formPath", "D:\\Record\\"));
    EXPECT_FALSE(f.Drive1_Click(0)) << "the list waits for its answer";
    ASSERT_TRUE(t.OnDirList(app::ParseReply(listing("formPath", dir("D:\\Record\\") + dir("D:\\Record\\Cam01")))));
    EXPECT_EQ(f.Dir1, std::vector<std::string>{"D:\\Record\\Cam01\\"});
    ASSERT_TRUE(f.Dir1_DblClick(0));
    ASSERT_TRUE(t.OnDirList(app::ParseReply(listing("formPath", dir("D:\\Record\\Cam01\\")))));
    EXPECT_TRUE(f.Dir1.empty());
    // A choice on a small disk keeps the picker open and the row as it was.
    ASSERT_TRUE(f.Drive1_Click(3));
    EXPECT_FALSE(f.cmdCommit_Click());
    EXPECT_EQ(t.formPath(), &f);
    ASSERT_TRUE(t.OnDirList(app::ParseReply(listing("formPath", ""))));
    ASSERT_TRUE(f.Drive1_Click(1));
    ASSERT_TRUE(t.OnDirList(app::ParseReply(listing("formPath", dir("D:\\Record")))));
    ASSERT_TRUE(f.Dir1_DblClick(0));
    t.OnDirList(app::ParseReply(listing("formPath", "")));
    ASSERT_TRUE(f.Dir1_Up());
    EXPECT_EQ(f.Dir1Path, "D:\\");
    t.OnDirList(app::ParseReply(listing("formPath", "")));
    EXPECT_FALSE(f.Dir1_Up()) << "the disk's root has nothing above";
    ASSERT_TRUE(f.cmdCommit_Click());
    EXPECT_EQ(t.gridStorage[0].path, "D:\\");
    EXPECT_EQ(t.formPath(), nullptr);
}
