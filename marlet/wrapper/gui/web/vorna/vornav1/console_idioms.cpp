// The idioms every console operation is written in.
#include <regex>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/wait.h"

namespace vorna {
namespace ec = webdriver::expected_conditions;

void VornaWebWrapper::follow_menu(const MenuPath& path) {
  for (const auto& id : path) locateElementById(id);
}

void VornaWebWrapper::repeated_click(const std::string& id, int times) {
  for (int i = 0; i < times; ++i) locateElementById(id);
}

void VornaWebWrapper::enter_content_frame() { session().switch_to_frame(kContentFrame); }

void VornaWebWrapper::leave_content_frame() { session().switch_to_default_content(); }

void VornaWebWrapper::open_page(const MenuPath& path, double settle_seconds) {
  follow_menu(path);
  if (settle_seconds > 0) settle(settle_seconds);
  enter_content_frame();
}

void VornaWebWrapper::confirm_dialog() {
  leave_content_frame();
  locateElementById(kDialogOk);
}

Element VornaWebWrapper::wait_until_visible(const std::string& id, double wait, double poll) {
  session();
  marlet::ActivityScope shown(activity, "wait", wait, clock(), current_operation, "id=" + id);
  return *webdriver::WebDriverWait(browser, wait, poll)
              .until(ec::visibility_of_element_located(webdriver::By::id(id)))
              .element;
}

Element VornaWebWrapper::wait_until_visible_class(const std::string& class_name, double wait, double poll) {
  session();
  marlet::ActivityScope shown(activity, "wait", wait, clock(), current_operation, "class=" + class_name);
  return *webdriver::WebDriverWait(browser, wait, poll)
              .until(ec::visibility_of_element_located(webdriver::By::class_name(class_name)))
              .element;
}

Element VornaWebWrapper::quiet_lookup(const std::string& xpath) {
  return locateElementByXpath(xpath, {.click = false, .highlight = false});
}

std::vector<Element> VornaWebWrapper::quiet_lookups(const std::string& xpath) {
  return locateElementsByXpath(xpath, {.highlight = false, .click = false});
}

std::vector<std::string> VornaWebWrapper::row_read(Element& row, int columns) {
  std::vector<std::string> texts;
  for (int i = 1; i <= columns; ++i) texts.push_back(row.find_element_by_xpath("./td[" + std::to_string(i) + "]").text());
  return texts;
}

std::vector<Element> VornaWebWrapper::tab_loop(const std::string& tab_id, double settle_seconds,
                                               const std::string& rows_xpath) {
  return tab_loop([&] {
    locateElementById(tab_id);
    settle(settle_seconds);
    return quiet_lookups(rows_xpath);
  });
}

void VornaWebWrapper::empty_guard(const std::vector<Element>& found, const std::string& message) {
  if (!found.empty()) return;
  leave_content_frame();
  if (marlet::py::contains(message, "%s")) throw marlet::WebElementException(marlet::py::format(message, Json::array()));
  throw marlet::WebElementException(message);
}

std::string VornaWebWrapper::cell_text(Element& row, int column) {
  return row.find_element_by_xpath("./td[" + std::to_string(column) + "]").text();
}

std::string VornaWebWrapper::titled_cell_text(Element& row, const std::string& title, char quote) {
  return row.find_element_by_xpath(std::string("./td[@tdtitle=") + quote + title + quote + "]").text();
}

std::vector<std::string> VornaWebWrapper::header_labels(std::vector<Element>& header_cells,
                                                        const std::string& label_xpath) {
  std::vector<std::string> labels;
  for (auto& th : header_cells) labels.push_back(th.find_element_by_xpath(label_xpath).text());
  return labels;
}

Json VornaWebWrapper::row_by_header(Element& row, const std::vector<std::string>& labels) {
  Json record = Json::object();
  for (size_t i = 0; i < labels.size(); ++i) {
    if (labels[i].empty()) continue;
    std::string text = cell_text(row, static_cast<int>(i) + 1);
    record.emplace(labels[i], text);
  }
  return record;
}

std::vector<std::string> VornaWebWrapper::digit_runs(const std::string& text) {
  static const std::regex kDigits("[0-9]+");
  std::vector<std::string> runs;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), kDigits); it != std::sregex_iterator(); ++it)
    runs.push_back(it->str());
  return runs;
}

std::string VornaWebWrapper::digit_run(const std::string& text, size_t index) {
  auto runs = digit_runs(text);
  if (index >= runs.size()) throw marlet::IndexError("list index out of range");
  return runs[index];
}

}  // namespace vorna
