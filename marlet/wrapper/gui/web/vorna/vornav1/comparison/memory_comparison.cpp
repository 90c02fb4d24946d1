// Memory modules as the console lists them, held against the operating system's records.
// The two sides write sizes, voltages and speeds in different units; each test reads only
// as much of a value as both sides have in common.
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"

namespace vorna::comparison {
namespace py = marlet::py;

namespace {

// One value of one side, with its place for type errors ("webMemoryInfo[0]['capacity']").
struct Side {
  const Json& value;
  std::string place;
  const std::string& text() const { return comparison::text(value, place); }
};

// One module on both sides. Values are read with plain lookups (an absent key is a
// KeyError), the console's first, each pair only when its test comes up: the tests run in
// order and stop at the first difference.
struct Module {
  const Json& web;
  const Json& os;
  const std::string& web_name;  // "webMemoryInfo[0]"
  const std::string& os_name;   // "osMemoryInfo['DIMM000']"

  // A difference shows the system's value first, then the console's, both as read.
  template <class Agree>
  void check(const char* web_key, const char* os_key, const char* message, Agree agree) const {
    Side w{at(web, web_key, web_name), subscript(web_name, web_key)};
    Side o{at(os, os_key, os_name), subscript(os_name, os_key)};
    if (!agree(w, o)) throw marlet::WebDisplayException(py::format(message, o.value, w.value));
  }
};

bool same(const Side& w, const Side& o) { return w.value == o.value; }

void compare_module(const Module& m) {
  m.check("manufacturer", "Manufacturer", "os下获取内存的厂商是：%s,web下获取内存的厂商是：%s", same);
  m.check("capacity", "Size", "os下获取内存的容量是：%s,web下获取内存的容量是：%s",
          [](const Side& w, const Side& o) { return memory_capacity_agrees(w.text(), o.text()); });
  m.check("clockSpeed", "Speed", "os下获取内存的主频是：%s,web下获取内存的主频是：%s",
          [](const Side& w, const Side& o) { return first_token(w.text()) == first_token(o.text()); });
  m.check("sn", "Serial Number", "os下获取内存的序列号是：%s,web下获取内存的序列号是：%s", same);
  m.check("type", "Type", "os下获取内存的类型是：%s,web下获取内存的类型是：%s", same);
  m.check("minimumVoltage", "Minimum Voltage", "os下获取内存的最小电压是：%s,web下获取内存的最小电压是：%s",
          [](const Side& w, const Side& o) { return millivolts_agree(w.text(), o.text()); });
  // Only the console's side is cut to its number: the system writes the bare count.
  m.check("rankQty", "Rank", "os下获取内存的RANK列是：%s,web下获取内存的RANK列是：%s",
          [](const Side& w, const Side& o) { return Json(first_token(w.text())) == o.value; });
  m.check("bitWith", "Total Width", "os下获取内存的位宽是：%s,web下获取内存的位宽是：%s",
          [](const Side& w, const Side& o) { return first_token(w.text()) == first_token(o.text()); });
  // The console separates the technologies with "|"; the system runs them together.
  m.check("technology", "Type Detail", "os下获取内存的技术是：%s,web下获取内存的技术是：%s",
          [](const Side& w, const Side& o) { return Json(py::replace(w.text(), "|", "")) == o.value; });
}

}  // namespace

void compare_memory(const Json& webMemoryInfo, const Json& osMemoryInfo, marlet::Logger& log) {
  if (!py::truthy(webMemoryInfo))
    throw marlet::WebElementException(py::format("web获取内存信息失败:%s", webMemoryInfo));
  require_list(webMemoryInfo, "webMemoryInfo");
  for (size_t i = 0; i < webMemoryInfo.size(); ++i) {
    const Json& item = webMemoryInfo[i];
    std::string item_name = "webMemoryInfo[" + std::to_string(i) + "]";
    const Json& name = at(item, "name", item_name);
    // Keys of a map are texts: a name of another type names no module (KeyError).
    std::string key = py::str(name);
    const Json& os_map = require_map(osMemoryInfo, "osMemoryInfo");
    if (!name.is_string()) throw marlet::KeyError(key);
    const Json& os_info = at(os_map, key, "osMemoryInfo");
    log.info(py::format("名称:%s, os获取内存信息：%s", name, os_info));
    log.info(py::format("名称:%s, we获取内存信息：%s", name, item));
    std::string os_name = subscript("osMemoryInfo", key);
    compare_module(Module{item, os_info, item_name, os_name});
  }
}

}  // namespace vorna::comparison
