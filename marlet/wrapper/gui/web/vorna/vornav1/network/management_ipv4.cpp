// The controller's management IPv4 settings on the network page. A change moves the
// console away from the address the browser is on, so it ends the browser.
#include <array>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
// Record key -> field of the page, in the record's order.
constexpr std::array<std::pair<const char*, const char*>, 3> kFields = {{
    {"ipv4_address", "ipv4_ip"},
    {"ipv4_mask", "ipv4_mask"},
    {"ipv4_gateway", "ipv4_gateway"},
}};
}  // namespace

Json get_manage_ipv4(VornaWebWrapper& w) {
  w.logger().info("[getManageIpv4] get manage ipv4 address");
  open_page(w, pages::kNetwork, w.timeout);
  wait_until_visible(w, "ipv4_ip");
  Json record = Json::object();
  for (const auto& [key, id] : kFields) {
    auto value = w.getAttributeById(id, "value");
    record[key] = value ? Json(*value) : Json(nullptr);
  }
  leave_content_frame(w);
  return record;
}

Json get_bmc_ip_addr(VornaWebWrapper& w) { return get_manage_ipv4(w); }

bool _mod_manage_ipv4(VornaWebWrapper& w, const Json& params) {
  if (!params.is_object())
    throw marlet::TypeError(py::format("_mod_manage_ipv4() takes an address record, not %s", py::repr(params)));
  // Every key is read, and every value checked, before the log line and the page: a
  // refused record touches nothing.
  std::array<std::string, 3> values;
  for (size_t i = 0; i < kFields.size(); ++i) {
    auto it = params.find(kFields[i].first);
    if (it == params.end()) throw marlet::KeyError(kFields[i].first);
  }
  for (size_t i = 0; i < kFields.size(); ++i) {
    const Json& value = params.at(kFields[i].first);
    if (!value.is_string())
      throw marlet::TypeError(py::format("_mod_manage_ipv4(): %s must be text, not %s", kFields[i].first,
                                         py::type_name(value)));
    values[i] = typed_text(value.get<std::string>(), kFields[i].first);
  }
  w.logger().info(py::format("[modManageIpv4] ipv4_address:%s ipv4_mask:%s ipv4_gateway:%s", values[0], values[1],
                             values[2]));
  open_page(w, pages::kNetwork, w.timeout);
  wait_until_visible(w, "ipv4_ip");
  for (size_t i = 0; i < kFields.size(); ++i) w.fillElementById(kFields[i].second, values[i]);
  w.locateElementById("saveIPV4Set");
  w.settle(3);
  confirm_dialog(w);
  w.close();
  w.settle(3);
  return true;
}

bool mod_bmc_ip_addr(VornaWebWrapper& w, const Json& params) { return _mod_manage_ipv4(w, params); }

}  // namespace vorna
