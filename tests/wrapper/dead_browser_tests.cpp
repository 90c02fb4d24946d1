// A browser that stops answering or whose first page never comes: the failure is typed,
// isClosed() tells the truth, and the next login opens a new browser.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using DeadBrowserTests = WrapperTest;

TEST_F(DeadBrowserTests, AFirstPageThatFailsClosesTheBrowserAndTheNextLoginStartsAnew) {
  login_page();
  fb->fail_everything = true;  // the navigation fails: a console that dropped the connection
  EXPECT_THROW(w.web_login({{"bmc", marlet::Json(record())}}), webdriver::ConnectionException);
  EXPECT_TRUE(w.isClosed()) << "a browser stuck on no console page is closed";
  EXPECT_EQ(fb->sessions_ended, 1);
  EXPECT_EQ(slept(), 0) << "nothing waited for a page that never came";
  EXPECT_FALSE(w.isLogin);

  fb->fail_everything = false;
  EXPECT_TRUE(w.web_login({{"bmc", record()}}));
  EXPECT_EQ(factory->opened, 2);
  EXPECT_FALSE(w.isClosed());
}

TEST_F(DeadBrowserTests, ABrowserThatStopsAnsweringMidOperationFailsTypedAndStaysHonest) {
  logged_in();
  fb->fail_everything = true;
  // The fake's transport keeps no connection to lose: a failed command alone does not
  // close the browser (a real lost connection does: see the session's liveness tests).
  EXPECT_THROW(web_get_firmware_version(w), webdriver::ConnectionException);
  EXPECT_FALSE(w.isClosed());
  w.web_close();
  EXPECT_TRUE(w.isClosed());
  EXPECT_EQ(w.browserPid(), -1);
}
