// The processors of tabProcess: a block of label and value rows per processor, three of
// whose texts give numbers (digit runs).
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr const char* kNoCpu = "没有获取到CPU信息标签";

std::string row_text(Element& block, int row) {
  return block.find_element_by_xpath("./tr[" + std::to_string(row) + "]/td[2]/span").text();
}

// Rows 1 to 7 of a processor's block: the ten keys both readers share.
Json common_fields(Element& cpuPermutation) {
  Json cpuInfo = Json::object();
  cpuInfo.emplace("CPU_name", row_text(cpuPermutation, 1));
  cpuInfo.emplace("Manufacturer", row_text(cpuPermutation, 2));
  cpuInfo.emplace("Model_name", row_text(cpuPermutation, 3));
  cpuInfo.emplace("CPU_ID", row_text(cpuPermutation, 4));
  cpuInfo.emplace("CPU_MHz", digit_run(row_text(cpuPermutation, 5), 0));
  std::string cores = row_text(cpuPermutation, 6);
  cpuInfo.emplace("Core(s)_per_socket", digit_run(cores, 0));
  cpuInfo.emplace("Thread(s)_per_socket", digit_run(cores, 1));
  std::string caches = row_text(cpuPermutation, 7);
  cpuInfo.emplace("L1_cache", digit_run(caches, 0));
  cpuInfo.emplace("L2_cache", digit_run(caches, 1));
  cpuInfo.emplace("L3_cache", digit_run(caches, 2));
  return cpuInfo;
}
}  // namespace

Json web_get_cpu_info_vorna(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_get_cpu_info_vorna");
  Json requestType = py::get(params, "type");
  w.logger().info("[getCpuInfoVorna] get cpu info from vorna.");
  w.locateElementById("menu_INFO");
  w.settle(5);
  w.locateElementById("menu_SYSTEM_INFO");
  w.settle(5);
  enter_content_frame(w);
  tab_retry(w, tabs::kProcess, 10, [] { return 0; });
  if (requestType == "single") return web_get_cpu_info_vorna_single(w);
  if (requestType == "all") return web_get_cpu_info_all(w);
  return nullptr;  // the content frame stays entered
}

Json web_get_cpu_info_vorna_single(VornaWebWrapper& w) {
  std::optional<Element> cpuPermutation;
  try {
    cpuPermutation = quiet_lookup(w, "//div[@id='cpupermutation']/div[1]/div/table/tbody");
  } catch (const marlet::MarletException&) {
  }
  if (!cpuPermutation) {
    leave_content_frame(w);
    throw marlet::WebElementException(kNoCpu);
  }
  Json cpuInfo = common_fields(*cpuPermutation);
  leave_content_frame(w);
  return cpuInfo;
}

Json web_get_cpu_info_all(VornaWebWrapper& w) {
  std::optional<Element> cpuPermutations;
  try {
    cpuPermutations = quiet_lookup(w, "//div[@id='cpupermutation']");
  } catch (const marlet::MarletException&) {
  }
  if (!cpuPermutations) {
    leave_content_frame(w);
    throw marlet::WebElementException(kNoCpu);
  }
  auto cpuList = cpuPermutations->find_elements_by_xpath("./div[@class='monitor']");
  Json cpuInfos = Json::array();
  for (auto& block : cpuList) {
    Element cpuPermutation = block.find_element_by_xpath("./div/table/tbody");
    Json cpuInfo = common_fields(cpuPermutation);
    cpuInfo.emplace("CPU_Status", row_text(cpuPermutation, 8));
    cpuInfo.emplace("Bom_Code", row_text(cpuPermutation, 9));
    cpuInfo.emplace("CPU_SN", row_text(cpuPermutation, 10));
    cpuInfo.emplace("Others", row_text(cpuPermutation, 11));
    cpuInfos.push_back(std::move(cpuInfo));
  }
  leave_content_frame(w);
  return cpuInfos;
}

}  // namespace vorna
