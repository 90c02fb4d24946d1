// The idioms every console operation is written in.
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
  return *webdriver::WebDriverWait(browser, wait, poll)
              .until(ec::visibility_of_element_located(webdriver::By::id(id)))
              .element;
}

Element VornaWebWrapper::wait_until_visible_class(const std::string& class_name, double wait, double poll) {
  session();
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

}  // namespace vorna
