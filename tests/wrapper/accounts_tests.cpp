// The local users page: adds, deletes, password changes and the listing, on a scripted
// console with numbered rows.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/accounts/accounts.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using Events = std::vector<std::string>;

namespace {

constexpr const char* kRows = "xpath://ul[@id='userlist']/li";
constexpr const char* kRowDivs = "xpath://ul[@id='userlist']/li/div";

class AccountsTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    menu({"menu_CONFIGURATION", "menu_LOCAL_USER", "add_user", "userlist", "btnDialogOK"});
    for (const char* x : {"//input[@class='yourPassWord']", "//input[@class='userName']",
                          "//input[@class='userPassWord']", "//input[@class='userPassWord1']"})
      fb->add(std::string("xpath:") + x).tag = "input";
    for (const char* x : {"//input[@num='0']", "//input[@num='1']", "//input[@num='2']", "//div[@reskey='SAVE']",
                          "/html/body/div/div[3]/em[2]"})
      fb->add(std::string("xpath:") + x);
    fb->find("xpath:/html/body/div/div[3]/em[2]")->attributes["class"] = "lock";
    fb->add("id:old_password1").tag = "input";
  }

  // The list's rows, named in order; row i (from 0) carries the controls of number i + 2.
  void rows(const std::vector<std::string>& names) {
    fb->remove(kRows);
    for (size_t i = 0; i < names.size(); ++i) {
      auto& li = fb->add(kRows, i > 0);
      fb->add("@" + li.uuid + " xpath:.//div/span[1]").text = names[i];
      std::string n = std::to_string(i + 2);
      for (const char* control : {"del_user", "edit_user", "change_pwd_tips"}) fb->add("id:" + std::string(control) + n);
      fb->add("id:current_pw_tips" + n).tag = "input";
    }
  }

  std::vector<std::string> clicks() const {
    Events out;
    for (const auto& e : fb->events)
      if (e.rfind("click ", 0) == 0) out.push_back(e.substr(6));
    return out;
  }

  std::vector<std::string> warnings() const { return lines_at(marlet::LogLevel::Warn); }
};

// ---- adding ----

TEST_F(AccountsTests, AdminUserIsAddedUnderTheWrappersPasswordWithTheDefaultRole) {
  EXPECT_TRUE(web_add_admin_user(w, {{"username", "ops1"}, {"password", "Pw@12345"}}));
  EXPECT_EQ(log->texts(), (Events{"[addAdminUser] user:ops1 password:Pw@12345", "[addAdminUser] completion"}));
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_LOCAL_USER", "frame id:rightMid",
                                "click id:add_user",
                                "clear xpath://input[@class='yourPassWord']",
                                "keys xpath://input[@class='yourPassWord'] Admin@9000",
                                "clear xpath://input[@class='userName']", "keys xpath://input[@class='userName'] ops1",
                                "clear xpath://input[@class='userPassWord']",
                                "keys xpath://input[@class='userPassWord'] Pw@12345",
                                "clear xpath://input[@class='userPassWord1']",
                                "keys xpath://input[@class='userPassWord1'] Pw@12345",
                                "click xpath://input[@num='0']", "click xpath://div[@reskey='SAVE']",
                                "default content"}));
  EXPECT_EQ(clock.sleeps().front(), w.timeout) << "a page settle after the menu";
  EXPECT_EQ(clock.sleeps().back(), 3);
}

TEST_F(AccountsTests, RoleTextChoosesTheSelectorAndTheResultHoldsTheListText) {
  fb->find("id:userlist")->text = "admin Administrator\nu1 Operator";
  const std::pair<Json, const char*> cases[] = {{nullptr, "xpath://input[@num='0']"},
                                                {"Common User", "xpath://input[@num='2']"},
                                                {"operator", nullptr}};
  for (const auto& [role, selector] : cases) {
    fb->events.clear();
    Json params = {{"username", "u1"}, {"password", "Pw@1"}, {"cur_password", "Cur@1"}};
    if (!role.is_null()) params["role"] = role;
    EXPECT_EQ(web_add_user(w, params).dump(), R"({"userlist":"admin Administrator\nu1 Operator","complete":true})");
    EXPECT_EQ(fb->find("xpath://input[@class='yourPassWord']")->value, "Cur@1");
    Events c = clicks();
    Events expected = {"id:menu_CONFIGURATION", "id:menu_LOCAL_USER", "id:add_user"};
    if (selector) expected.push_back(selector);
    expected.push_back("xpath://div[@reskey='SAVE']");
    EXPECT_EQ(c, expected) << role.dump();
  }
}

TEST_F(AccountsTests, OnlyWhatCannotBeTypedIsRefusedBeforeTheLogLineAndThePage) {
  const Json good = {{"username", "u1"}, {"password", "Pw@1"}, {"cur_password", "Cur@1"}};
  auto without = [&](const char* key) {
    Json p = good;
    p.erase(key);
    return p;
  };
  // An absent key reads as null, and null cannot be typed.
  EXPECT_THROW(web_add_user(w, without("username")), marlet::TypeError);
  // The acting password never falls back to the wrapper's own.
  EXPECT_THROW(web_add_user(w, without("cur_password")), marlet::TypeError);
  EXPECT_THROW(web_mod_password(w, {{"username", "u1"}, {"old_pwd", "a"}}), marlet::TypeError);
  Json long_password = good;
  long_password["cur_password"] = std::string(1025, 'x');
  EXPECT_THAT([&] { web_add_user(w, long_password); },
              ThrowsMessage<marlet::ValueError>(
                  "cur_password is 1025 characters long; a console field is typed 1024 characters at most"));
  w.password = nullptr;  // no acting user's password without web_login
  EXPECT_THROW(web_add_admin_user(w, {{"username", "u1"}, {"password", "Pw@1"}}), marlet::TypeError);
  EXPECT_TRUE(log->lines.empty());
  EXPECT_TRUE(fb->events.empty());
}

TEST_F(AccountsTests, WhatCanBeTypedIsTypedAndTheConsoleJudgesIt) {
  // An empty acting password, a name the console turns down, an empty password, a
  // number: all typed as given; the list after saving is the result.
  Json result = web_add_user(w, {{"username", "o'br\xc3\xbcn "}, {"password", ""}, {"cur_password", ""}});
  EXPECT_TRUE(result["complete"]);
  EXPECT_EQ(fb->find("xpath://input[@class='yourPassWord']")->value, "");
  EXPECT_EQ(fb->find("xpath://input[@class='userName']")->value, "o'br\xc3\xbcn ");
  EXPECT_EQ(log->texts().front(), "[add_user] user:o'br\xc3\xbcn  password:");
  // A name that is only compared may be anything: it matches no row.
  rows({"admin"});
  EXPECT_FALSE(web_del_user_web(w, Json::object()));
  EXPECT_EQ(warnings().back(), "[delUser] Not find user name None");
}

// ---- deleting ----

TEST_F(AccountsTests, TheThirdRowIsDeletedThroughDelUser4InTheTopDocument) {
  rows({"admin", "operator", "ops1", "ops2"});
  EXPECT_TRUE(web_del_user_web(w, {{"username", "ops1"}}));
  EXPECT_EQ(fb->find("xpath:/html/body/div/div[3]/em[2]")->attributes["class"], "") << "the delete lock is cleared";
  auto it = std::find(fb->events.begin(), fb->events.end(), "set attribute xpath:/html/body/div/div[3]/em[2] class");
  ASSERT_NE(it, fb->events.end());
  EXPECT_EQ(Events(it, fb->events.end()),
            (Events{"set attribute xpath:/html/body/div/div[3]/em[2] class", "click id:del_user4", "default content",
                    "clear id:old_password1", "keys id:old_password1 Admin@9000", "click id:btnDialogOK"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, w.timeout, 3}));
  EXPECT_EQ(log->texts(), (Events{"[delUser] user:ops1", "[delUser] completion"}));
}

TEST_F(AccountsTests, NoMatchingRowWarnsLeavesTheFrameAndSettles) {
  rows({});
  EXPECT_FALSE(web_del_user_web(w, {{"username", "ghost"}}));
  EXPECT_EQ(warnings(), Events{"[delUser] Not find user name ghost"});
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, 3}));
  log->lines.clear();
  EXPECT_FALSE(web_mod_password(w, {{"username", "ghost"}, {"old_pwd", "a"}, {"new_pwd", "b"}}));
  EXPECT_EQ(warnings(), Events{"[modPassword] Not find user name ghost"});
  EXPECT_FALSE(w.isClosed()) << "a password change that finds no user keeps the browser";
}

// ---- password change ----

TEST_F(AccountsTests, PasswordChangeGoesThroughTheRowsControlsAndEndsTheBrowser) {
  rows({"admin", "operator"});
  EXPECT_TRUE(web_mod_password(w, {{"username", "operator"}, {"old_pwd", "Admin@9000"}, {"new_pwd", "New@2026"}}));
  EXPECT_EQ(log->texts(),
            Events{"[modPassword] user:operator old_password:Admin@9000 new_password:New@2026"});
  auto it = std::find(fb->events.begin(), fb->events.end(), "click id:edit_user3");
  ASSERT_NE(it, fb->events.end());
  EXPECT_EQ(Events(it, fb->events.end()),
            (Events{"click id:edit_user3", "clear id:current_pw_tips3", "keys id:current_pw_tips3 Admin@9000",
                    "click id:change_pwd_tips3", "clear xpath://input[@class='userPassWord']",
                    "keys xpath://input[@class='userPassWord'] New@2026",
                    "clear xpath://input[@class='userPassWord1']",
                    "keys xpath://input[@class='userPassWord1'] New@2026", "click xpath://div[@reskey='SAVE']"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, 1, 3, 3}));
  EXPECT_TRUE(w.isClosed());
  EXPECT_TRUE(w.isLogin) << "isLogin keeps its value";
  EXPECT_EQ(w.password, "Admin@9000") << "the wrapper's password is not changed";
  EXPECT_EQ(fb->sessions_ended, 1);
}

// ---- listing ----

class QueryTests : public AccountsTests {
 protected:
  // One row div with the spans the listing reads; `interfaces` are em ids and classes,
  // `operations` the ids of the operation controls.
  fake::FakeElement& row(const std::string& name, const std::vector<std::pair<std::string, std::string>>& interfaces,
                         const std::vector<std::string>& operations, bool first = false) {
    auto& div = fb->add(kRowDivs, !first);
    std::string at = "@" + div.uuid + " xpath:";
    const char* texts[] = {nullptr, name.c_str(), "Administrator", "Indefinite", "Enabled"};
    for (int i = 1; i <= 4; ++i) fb->add(at + "./span[" + std::to_string(i) + "]").text = texts[i];
    fb->add(at + "./span[5]/em").attributes["class"] = "enable";
    fb->add(at + "./span[6]/em").attributes["class"] = "disable";
    fb->add(at + "./span[7]/em");  // no class attribute at all
    for (size_t i = 0; i < interfaces.size(); ++i) {
      auto& span = fb->add(at + "./span[@login_intf]", i > 0);
      auto& em = fb->add("@" + span.uuid + " xpath:./em");
      em.attributes["id"] = interfaces[i].first;
      if (!interfaces[i].second.empty()) em.attributes["class"] = interfaces[i].second;
    }
    for (size_t i = 0; i < operations.size(); ++i)
      fb->add(at + "./span[15]/a", i > 0).attributes["id"] = operations[i];
    return div;
  }
};

TEST_F(QueryTests, RowsBecomeUsersNumberedFromTwoWithTextFormsOfTheirLists) {
  row("admin", {{"login_intf_user2_0", "enable"}, {"login_intf_user2_3", "disable"}, {"login_intf_user2_7", "on"}},
      {"edit_user2", "del_user2"}, true);
  row("operator", {}, {});
  Json result = web_query_users(w);
  ASSERT_EQ(result["users"].size(), 2u);
  EXPECT_EQ(result["add_button_exist"], true);
  EXPECT_EQ(result["users"][0].dump(),
            R"({"id":2,"name":"admin","role":"Administrator","password_validity":"Indefinite","status":"Enabled",)"
            R"("rule1":"enable","rule2":"disable","rule3":"None",)"
            R"("login_interfaces":"[{'interface_name': 'Web', 'state': 'enable'}, {'interface_name': 'SSH', 'state': 'disable'}, {'interface_name': 'Redfish', 'state': 'on'}]",)"
            R"("operation":"[{'operation_name': 'edit_user'}, {'operation_name': 'del_user'}]"})");
  EXPECT_EQ(result["users"][1]["id"], 3);
  EXPECT_EQ(result["users"][1]["login_interfaces"], "[]");
  EXPECT_EQ(result["users"][1]["operation"], "[]");
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_TRUE(log->lines.empty()) << "the listing logs nothing";
}

TEST_F(QueryTests, OperationNamesAreCutAtTheFirstDigitAndABadIdFails) {
  row("admin", {}, {"del_user2", "edit_user17x", "reset-pw_3"}, true);
  EXPECT_EQ(web_query_users(w)["users"][0]["operation"],
            "[{'operation_name': 'del_user'}, {'operation_name': 'edit_user'}, {'operation_name': 'reset-pw_'}]");
  fb->remove(kRowDivs);
  row("admin", {}, {"2del"}, true);
  EXPECT_THROW(web_query_users(w), marlet::AttributeError);
}

// ---- the text form of lists of maps ----

TEST(MapsTextTests, ListsOfMapsReadAsPythonPrintsThem) {
  namespace py = marlet::py;
  Json two = Json::array({Json{{"interface_name", "Web"}, {"state", "a"}}, Json{{"interface_name", "SSH"}, {"state", nullptr}}});
  EXPECT_EQ(py::maps_text(two), "[{'interface_name': 'Web', 'state': 'a'}, {'interface_name': 'SSH', 'state': None}]");
  EXPECT_EQ(py::maps_text(Json::array({Json{{"k", "it's"}}, Json::object()})), R"([{'k': "it's"}, {}])");
  EXPECT_THROW(py::maps_text(Json::array({"a"})), marlet::TypeError);
}

}  // namespace
