// Passwords stay out of failures: a refused password names its type, never its value,
// and a refused login's message and cause do not carry what was typed.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/accounts/accounts.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;

namespace {

// Every text of a failure and of its causes, joined.
std::string failure_texts(const std::exception_ptr& p) {
  try {
    std::rethrow_exception(p);
  } catch (const marlet::MarletException& e) {
    return std::string(e.what()) + "\n" + (e.cause() ? failure_texts(e.cause()) : "");
  } catch (const std::exception& e) {
    return e.what();
  }
}

std::string failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (...) {
    return failure_texts(std::current_exception());
  }
  ADD_FAILURE() << "no failure";
  return "";
}

}  // namespace

using SecretsTests = WrapperTest;

TEST_F(SecretsTests, APasswordThatIsNoTextIsRefusedByItsTypeAlone) {
  Json bmc = record();
  bmc["password"] = 73519246;  // a number is no password to type
  std::string text = failure_of([&] { w.web_login({{"bmc", bmc}}); });
  EXPECT_EQ(text, "password must be a text, not int");
  text = failure_of([&] { w.web_login({{"bmc", record()}, {"password", Json::array({"S3cr3t-pw"})}}); });
  EXPECT_EQ(text, "password must be a text, not list");
  EXPECT_EQ(factory->opened, 0);
  // The address is no secret: its refusal still shows the value, as before.
  Json other = record();
  other["local_ip"] = 10;
  EXPECT_EQ(failure_of([&] { w.web_login({{"bmc", other}}); }), "the controller address must be a text, not 10");
}

TEST_F(SecretsTests, ARefusedLoginCarriesNeitherPasswordInItsTexts) {
  login_page(/*credentials_ok=*/false);
  std::string text =
      failure_of([&] { w.web_login({{"bmc", record()}, {"password", "Typed-S3cret"}}); });
  EXPECT_EQ(text.rfind("Login Bmc Web Fail!", 0), 0u) << text;
  EXPECT_EQ(text.find("Typed-S3cret"), std::string::npos) << text;
  EXPECT_EQ(text.find("Admin@9000"), std::string::npos) << text;
}
