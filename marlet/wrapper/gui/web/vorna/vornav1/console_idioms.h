// The idioms every console operation is written in: menus, the content frame, dialogs,
// waits, quiet lookups, the tab and page retries, and the table cell readers. Internal to
// the operations (not installed): a harness calls the operations, not these.
#pragma once

#include <string>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

// Clicks each menu id in order (locateElementById's default click).
void follow_menu(VornaWebWrapper& w, const MenuPath& path);
// The same menu id clicked `times` times in a row, no pause between the clicks.
void repeated_click(VornaWebWrapper& w, const std::string& id, int times);
void enter_content_frame(VornaWebWrapper& w);
void leave_content_frame(VornaWebWrapper& w);
// Follows the menu path, settles `settle_seconds` (none when 0), enters the frame.
void open_page(VornaWebWrapper& w, const MenuPath& path, double settle_seconds = 0);
// Leaves the content frame, then clicks btnDialogOK.
void confirm_dialog(VornaWebWrapper& w);
// WebDriverWait(browser, wait, poll).until(visibility_of_element_located((By.ID, id))).
Element wait_until_visible(VornaWebWrapper& w, const std::string& id, double wait = 20, double poll = 1);
Element wait_until_visible_class(VornaWebWrapper& w, const std::string& class_name, double wait = 20,
                                 double poll = 1);
// locateElementByXpath / locateElementsByXpath without highlight or click.
Element quiet_lookup(VornaWebWrapper& w, const std::string& xpath);
std::vector<Element> quiet_lookups(VornaWebWrapper& w, const std::string& xpath);

// Click the tab, settle, run the lookup, under a catch of MarletException; on that
// failure the same steps once more, uncaught.
template <class F>
auto tab_retry(VornaWebWrapper& w, const std::string& tab_id, double settle_seconds, F&& lookup)
    -> decltype(lookup()) {
  try {
    w.locateElementById(tab_id);
    w.settle(settle_seconds);
    return lookup();
  } catch (const marlet::MarletException&) {
  }
  w.locateElementById(tab_id);
  w.settle(settle_seconds);
  return lookup();
}

// Runs `open_and_lookup` under a catch of MarletException; on that failure leaves the
// content frame and runs it once more, uncaught.
template <class F>
auto page_retry(VornaWebWrapper& w, F&& open_and_lookup) -> decltype(open_and_lookup()) {
  try {
    return open_and_lookup();
  } catch (const marlet::MarletException&) {
  }
  leave_content_frame(w);
  return open_and_lookup();
}

// The texts of "./td[1]" .. "./td[columns]" of one table row.
std::vector<std::string> row_read(Element& row, int columns);

// Up to `attempts` runs of `attempt` (tab click, settle, lookup); the first run that
// finds an element ends the loop. Nothing is caught: a raised failure ends the reader.
template <class F>
std::vector<Element> tab_loop(VornaWebWrapper&, F&& attempt, int attempts = 3) {
  std::vector<Element> found;
  for (int i = 0; i < attempts; ++i) {
    found = attempt();
    if (!found.empty()) break;
  }
  return found;
}
// The plain loop: click the tab, settle, quiet lookups of `rows_xpath`.
std::vector<Element> tab_loop(VornaWebWrapper& w, const std::string& tab_id, double settle_seconds,
                              const std::string& rows_xpath);

// When the lookup found nothing: leaves the content frame and raises
// WebElementException with `message`, whose "%s" (if any) shows the empty list, "[]".
void empty_guard(VornaWebWrapper& w, const std::vector<Element>& found, const std::string& message);

// Column finders. By position: the text of "./td[n]". By title: the text of the cell
// whose tdtitle attribute is `title` (`quote` is the XPath quote the page's readers
// use). By header row: the labels of a header row's cells (empty ones kept, so later
// columns keep their positions), and one row read against them, insert-if-absent.
std::string cell_text(Element& row, int column);
std::string titled_cell_text(Element& row, const std::string& title, char quote = '"');
std::vector<std::string> header_labels(std::vector<Element>& header_cells, const std::string& label_xpath);
Json row_by_header(Element& row, const std::vector<std::string>& labels);
// Every run of decimal digits in `text`, left to right ("\d+", all matches).
std::vector<std::string> digit_runs(const std::string& text);
// digit_runs(text)[index], or IndexError "list index out of range".
std::string digit_run(const std::string& text, size_t index);

}  // namespace vorna
