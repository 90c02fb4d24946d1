// An element: (session, id) and one-line calls. get_attribute follows Selenium's rules:
// boolean attributes give "true" or nothing, value/checked/selected read the live state,
// "class" reads className, "style" the css text, otherwise the property first, then the
// attribute.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "webdriver/by.h"
#include "webdriver/json.h"

namespace webdriver {

class Session;

class Element {
 public:
  Element(std::shared_ptr<Session> session, std::string id);

  const std::string& id() const noexcept { return id_; }
  Session& session() const noexcept { return *session_; }
  std::shared_ptr<Session> session_ptr() const noexcept { return session_; }
  Json to_json() const;  // {"element-6066-...": id}
  bool operator==(const Element& other) const noexcept { return id_ == other.id_; }

  std::string text();
  void click();
  std::optional<std::string> get_attribute(const std::string& name);
  Json get_property(const std::string& name);
  std::optional<std::string> get_dom_attribute(const std::string& name);
  bool is_displayed();
  bool is_selected();
  bool is_enabled();
  // Text and Keys code points; on a file input, a path sets the file (on a session that
  // uploads files, a local file is sent to the remote browser's machine first).
  void send_keys(const std::string& text);
  void clear();
  std::string tag_name();

  Element find_element(const By& by);
  std::vector<Element> find_elements(const By& by);
  Element find_element_by_xpath(const std::string& x) { return find_element(By::xpath(x)); }
  std::vector<Element> find_elements_by_xpath(const std::string& x) { return find_elements(By::xpath(x)); }
  Element find_element_by_id(const std::string& id) { return find_element(By::id(id)); }
  Element find_element_by_tag_name(const std::string& n) { return find_element(By::tag_name(n)); }
  std::vector<Element> find_elements_by_tag_name(const std::string& n) { return find_elements(By::tag_name(n)); }

 private:
  std::shared_ptr<Session> session_;
  std::string id_;
};

}  // namespace webdriver
