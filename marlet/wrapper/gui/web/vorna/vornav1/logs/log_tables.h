// The console's two paged log tables, reached by absolute XPaths with a number, and what
// the log operations read from them.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "marlet/utils/pytext.h"

namespace vorna::logs {

// Operation log: 10 rows a page; the pager's numbered links slide with the page shown,
// so links 2, 3, 4, 5, 5, 5 show its first six pages in turn.
inline constexpr const char* kOperationPagerLink =
    "/html/body/div[1]/div[1]/div[2]/div[2]/div/div[2]/div/div/div[2]/div[1]/a[%s]";
inline constexpr const char* kOperationRowText =
    "/html/body/div[1]/div[1]/div[2]/div[2]/div/div[2]/table/tbody/tr[%s]/td[6]";
inline constexpr std::array<int, 6> kOperationPagerNumbers = {2, 3, 4, 5, 5, 5};
inline constexpr int kOperationRowsPerPage = 10;

// System events: 20 rows a page; the pager element is clicked before every pass.
inline constexpr const char* kEventPager = "/html/body/div[1]/ul/li[2]/div/div[2]/div/div/div[2]/div[1]/a[8]/i";
inline constexpr const char* kEventTime = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[5]";
inline constexpr const char* kEventDescription = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[4]";
inline constexpr const char* kEventId = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[2]";
inline constexpr int kEventRowsPerPage = 20;

// The sentences web_check_bmc_log looks for when it is given none.
inline const std::vector<std::string>& default_sentences() {
  static const std::vector<std::string> sentences = {"Set power restore policy to (previous) successfully",
                                                     "Set location info to (xian) successfully",
                                                     "username (Test) successfully"};
  return sentences;
}

// time.mktime(time.strptime(text, "%Y-%m-%d %H:%M:%S")): the text read as local time of
// this machine, in seconds since the epoch. ValueError with Python's message when the
// text does not fit the format (an empty text included).
double local_seconds(const std::string& text);

// A list of texts given as `argument`, refused with a TypeError naming it otherwise.
std::vector<std::string> text_list(const marlet::Json& value, const char* argument);

}  // namespace vorna::logs
