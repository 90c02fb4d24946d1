// The real-time monitor's disk chart: one entry per partition, name and usage as the page
// writes them.
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

namespace {
constexpr const char* kDiskLink = R"(//*[@id="disk_info"]/div[1]/a)";
constexpr const char* kDiskChart = R"(//*[@id="diskChart"])";
}  // namespace

Json web_get_disk_usage_percent(VornaWebWrapper& w) {
  w.logger().info("[getDiskUsagePercent] start...");
  open_page(w, pages::kRealTimeMonitor);
  w.locateElementByXpath(kDiskLink);
  Element chart = quiet_lookup(w, kDiskChart);
  Json usage = Json::object();
  for (auto& partition : chart.find_elements_by_xpath("./div")) {
    auto name = partition.find_element_by_xpath("./span[1]").get_attribute("innerHTML");
    auto percent = partition.find_element_by_xpath("./div[1]/div/div[2]").get_attribute("innerHTML");
    // innerHTML is a property every element has; an absent one would be a broken browser.
    usage[name.value_or("")] = percent ? Json(*percent) : Json(nullptr);
  }
  w.logger().info("[getDiskUsagePercent] completion.");
  return usage;
}

}  // namespace vorna
