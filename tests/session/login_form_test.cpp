// The login form's own rules: who may see a password filled in from the server table.
#include <gtest/gtest.h>

#include <optional>

#include "app/dispatcher.h"
#include "base/lang.h"
#include "base/log.h"
#include "session/client_host.h"
#include "store/local_db.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::session;
namespace fs = std::filesystem;

namespace {

struct LoginForm : ::testing::Test {
    kv::test::TempDir dir;
    kv::test::NullLink link;
    app::Dispatcher dispatcher;
    Config config;
    kv::test::RecordingPrompter prompter;
    base::Log log{"CW"};
    base::Language lang{fs::path(KV_SOURCE_SHARE) / "Lang"};
    StartSequence start{prompter, log, "CW"};
    std::unique_ptr<store::LocalDatabase> db;
    std::unique_ptr<ClientHost> host;
    std::unique_ptr<LoginController> login;
    std::unique_ptr<LoginFormModel> form;
    /// What the password box answers, and how often it was asked.
    std::optional<std::string> typed;
    int asked = 0;

    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        fs::copy_file(fs::path(KV_BUILD_SHARE) / "Database" / "Database.db.ins", dir / "Database.db");
        db = std::make_unique<store::LocalDatabase>(dir / "Database.db");
        host = std::make_unique<ClientHost>(start, *db, nullptr);
        login = std::make_unique<LoginController>(link, dispatcher, config, prompter, lang, log, *host, "CW");
        ServerRow saved;
        saved.ServiceIP = "10.0.0.2";
        saved.ServicePort = 9000;
        saved.bSaveAccount = true;
        saved.ServiceUserAccount = "admin";
        saved.ServicePassword = "s3cret";
        ServerRow bare = saved;
        bare.ServiceIP = "10.0.0.3";
        bare.bSaveAccount = false;
        login->strService = {saved, bare};
        form = std::make_unique<LoginFormModel>(*login, start, *host, prompter, lang);
        form->askPassword = [this](const std::string&, const std::string&) {
            ++asked;
            return typed;
        };
        form->Form_Activate();
    }
};

}  // namespace

TEST_F(LoginForm, ASavedPasswordShowsOnlyToWhoTypesIt) {
    ASSERT_EQ(login->txtPassword, "s3cret") << "the first row fills in its account";
    struct Case { std::optional<std::string> typed; bool masked; };
    const Case cases[] = {
        {std::nullopt, true},       // the box cancelled
        {"admin", true},            // the password of another account
        {"s3cre", true},            // a part of it
        {"s3cret", false},          // the row's saved password
    };
    for (const Case& c : cases) {
        form->chkShowPassword_Click(false);
        typed = c.typed;
        form->chkShowPassword_Click(true);
        EXPECT_EQ(form->passwordMasked, c.masked) << c.typed.value_or("(cancelled)");
    }
    EXPECT_EQ(asked, 4);
    form->chkShowPassword_Click(false);
    EXPECT_TRUE(form->passwordMasked);
}

TEST_F(LoginForm, WhatTheUserTypedShowsWithoutAQuestion) {
    typed = std::nullopt;
    // Erasing part of the saved password still hides the rest.
    form->txtPassword_Change("s3c");
    form->chkShowPassword_Click(true);
    EXPECT_TRUE(form->passwordMasked);
    form->txtPassword_Change("");
    form->txtPassword_Change("mine");
    form->chkShowPassword_Click(true);
    EXPECT_FALSE(form->passwordMasked) << "an emptied field holds only what the user typed";
    EXPECT_EQ(login->txtPassword, "mine");
    EXPECT_EQ(asked, 1);

    // Another row: masked again; a row without a saved account fills in nothing to hide.
    form->cmbService_Click(1);
    EXPECT_TRUE(form->passwordMasked);
    form->txtPassword_Change("typed");
    form->chkShowPassword_Click(true);
    EXPECT_FALSE(form->passwordMasked);
    form->cmbService_Click(0);
    form->chkShowPassword_Click(true);
    EXPECT_TRUE(form->passwordMasked) << "back on the saved row, the question comes again";
    EXPECT_EQ(asked, 2);
}
