// The mainboard's fixed fields on the system information page's first view, and the
// disk backplanes' versions from the tab tabOther.
#include <regex>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr std::pair<const char*, const char*> kMainboardFields[] = {
    {"bmc_version", "txtFirmVersion"},
    {"bios_version", "txtBiosVersion"},
    {"cpld_version", "txtCpldVersion"},
    {"primary_uboot_version", "txtUbootVersion"},
    {"secondary_uboot_version", "txtUbootBackVersion"},
    {"pcb_version", "txtPcbVersion"},
    {"board_id", "txtBoardID"},
    {"manufacturer", "txtFruManufacturer"},
    {"model", "txtFruModel"},
    {"serial_number", "txtFruSN"},
};

// The list entry of the disk backplanes; its name carries their number.
constexpr const char* kBackplaneEntry = "/html/body/div/div/div[2]/div[2]/div[9]/div/ul/li[2]";

// The first digit of a count text, as re.search(r"\d", text).group() gives it.
std::string first_digit(const std::optional<std::string>& text) {
  if (!text) throw marlet::TypeError("expected string or bytes-like object");
  static const std::regex kDigit("[0-9]");
  std::smatch m;
  if (!std::regex_search(*text, m, kDigit)) throw marlet::AttributeError("'NoneType' object has no attribute 'group'");
  return m.str();
}
}  // namespace

Json web_get_main_board_info(VornaWebWrapper& w) {
  w.logger().info("[getMainboardInfo] start...");
  open_page(w, pages::kSystemInfo);
  Json mainboardInfoDict = Json::object();
  for (const auto& [key, id] : kMainboardFields) mainboardInfoDict[key] = w.getTextById(id);
  leave_content_frame(w);
  return mainboardInfoDict;
}

Json get_back_info(VornaWebWrapper& w) {
  w.logger().info("[getRaidName] start...");
  open_page(w, pages::kSystemInfo);
  w.locateElementById(tabs::kOther);
  auto pcie_info = w.getAttributeById("pcie_card_info", "name");
  auto backplane = w.getAttributeByXpath(kBackplaneEntry, "name");
  std::string pcie_info_num = first_digit(pcie_info);
  std::string backplane_num = first_digit(backplane);
  // With no PCIe card the backplanes' table is the tab's first, else its second.
  std::string tableId = pcie_info_num == "0" ? "DataTables_Table_0" : "DataTables_Table_1";
  Json back_dict = Json::object();
  long long rows = py::to_int(backplane_num);
  for (long long i = 0; i < rows; ++i) {
    std::string name = w.getTextByXpath(py::format("//table[@id='%s']//tr[%s]/td[1]", tableId, i + 1));
    std::string version = w.getTextByXpath(py::format("//table[@id='%s']//tr[%s]/td[7]", tableId, i + 1));
    back_dict[name] = version;
  }
  return back_dict;  // the content frame stays entered
}

}  // namespace vorna
