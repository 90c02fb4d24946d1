// The idioms every console operation is written in.
#include <regex>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/wait.h"

namespace vorna {
namespace ec = webdriver::expected_conditions;

void follow_menu(VornaWebWrapper& w, const MenuPath& path) {
  for (const auto& id : path) w.locateElementById(id);
}

void repeated_click(VornaWebWrapper& w, const std::string& id, int times) {
  for (int i = 0; i < times; ++i) w.locateElementById(id);
}

void enter_content_frame(VornaWebWrapper& w) { w.session().switch_to_frame(kContentFrame); }

void leave_content_frame(VornaWebWrapper& w) { w.session().switch_to_default_content(); }

void open_page(VornaWebWrapper& w, const MenuPath& path, double settle_seconds) {
  follow_menu(w, path);
  if (settle_seconds > 0) w.settle(settle_seconds);
  enter_content_frame(w);
}

void confirm_dialog(VornaWebWrapper& w) {
  leave_content_frame(w);
  w.locateElementById(kDialogOk);
}

Element wait_until_visible(VornaWebWrapper& w, const std::string& id, double wait, double poll) {
  w.session();
  marlet::ActivityScope shown(w.activity, "wait", wait, w.clock(), w.current_operation, "id=" + id);
  return *webdriver::WebDriverWait(w.browser, wait, poll)
              .until(ec::visibility_of_element_located(webdriver::By::id(id)))
              .element;
}

Element wait_until_visible_class(VornaWebWrapper& w, const std::string& class_name, double wait, double poll) {
  w.session();
  marlet::ActivityScope shown(w.activity, "wait", wait, w.clock(), w.current_operation, "class=" + class_name);
  return *webdriver::WebDriverWait(w.browser, wait, poll)
              .until(ec::visibility_of_element_located(webdriver::By::class_name(class_name)))
              .element;
}

Element quiet_lookup(VornaWebWrapper& w, const std::string& xpath) {
  return w.locateElementByXpath(xpath, {.click = false, .highlight = false});
}

std::vector<Element> quiet_lookups(VornaWebWrapper& w, const std::string& xpath) {
  return w.locateElementsByXpath(xpath, {.highlight = false, .click = false});
}

std::vector<std::string> row_read(Element& row, int columns) {
  std::vector<std::string> texts;
  for (int i = 1; i <= columns; ++i) texts.push_back(row.find_element_by_xpath("./td[" + std::to_string(i) + "]").text());
  return texts;
}

std::vector<Element> tab_loop(VornaWebWrapper& w, const std::string& tab_id, double settle_seconds,
                              const std::string& rows_xpath) {
  return tab_loop(w, [&] {
    w.locateElementById(tab_id);
    w.settle(settle_seconds);
    return quiet_lookups(w, rows_xpath);
  });
}

void empty_guard(VornaWebWrapper& w, const std::vector<Element>& found, const std::string& message) {
  if (!found.empty()) return;
  leave_content_frame(w);
  if (marlet::py::contains(message, "%s")) throw marlet::WebElementException(marlet::py::format(message, Json::array()));
  throw marlet::WebElementException(message);
}

std::string cell_text(Element& row, int column) {
  return row.find_element_by_xpath("./td[" + std::to_string(column) + "]").text();
}

std::string titled_cell_text(Element& row, const std::string& title, char quote) {
  return row.find_element_by_xpath(std::string("./td[@tdtitle=") + quote + title + quote + "]").text();
}

std::vector<std::string> header_labels(std::vector<Element>& header_cells, const std::string& label_xpath) {
  std::vector<std::string> labels;
  for (auto& th : header_cells) labels.push_back(th.find_element_by_xpath(label_xpath).text());
  return labels;
}

Json row_by_header(Element& row, const std::vector<std::string>& labels) {
  Json record = Json::object();
  for (size_t i = 0; i < labels.size(); ++i) {
    if (labels[i].empty()) continue;
    std::string text = cell_text(row, static_cast<int>(i) + 1);
    record.emplace(labels[i], text);
  }
  return record;
}

std::vector<std::string> digit_runs(const std::string& text) {
  static const std::regex kDigits("[0-9]+");
  std::vector<std::string> runs;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), kDigits); it != std::sregex_iterator(); ++it)
    runs.push_back(it->str());
  return runs;
}

std::string digit_run(const std::string& text, size_t index) {
  auto runs = digit_runs(text);
  if (index >= runs.size()) throw marlet::IndexError("list index out of range");
  return runs[index];
}

}  // namespace vorna
