// The card tree of tabCard: the NIC's two fixed properties, and the network and FC cards
// with their property lists and ports (each port's detail row opened and closed again).
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory_records.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/system_info_page.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

std::string detail_label(const std::string& text) { return py::replace(text, ":", ""); }

namespace {

constexpr const char* kPortRows = "./div/div[2]/table/tbody/tr";

// The property list's entries from the fourth on: label -> value, insert-if-absent.
void add_properties(Json& card, std::vector<Element>& cardDom) {
  for (size_t i = 3; i < cardDom.size(); ++i) {
    std::string value = cardDom[i].find_element_by_xpath("./p").text();
    std::string key = cardDom[i].find_element_by_xpath("./span").text();
    card.emplace(key, value);
  }
}

// One port row: opens its detail row, reads the cells and the details, closes it again.
// `fourth` is the key and tdtitle of the reader's fourth cell.
Json port_record(Element& _portLine, const std::pair<const char*, const char*>& fourth) {
  Json portInfo = Json::object();
  _portLine.find_element_by_xpath("./td[1]/div").click();
  portInfo.emplace("Port", titled_cell_text(_portLine, "Port", '\''));
  portInfo.emplace("Status", titled_cell_text(_portLine, "Status", '\''));
  portInfo.emplace("Port_Type", titled_cell_text(_portLine, "Port Type", '\''));
  portInfo.emplace(fourth.first, titled_cell_text(_portLine, fourth.second, '\''));
  // The first detail row under the rows' parent: the open port's, as no other is open.
  Element portDetail = _portLine.find_element_by_xpath("../tr[@class='tiny-table-detail-row']");
  for (auto& line : portDetail.find_elements_by_xpath("./td/div[2]/div/div/div/div/table/tbody/tr")) {
    std::string detail_key = detail_label(line.find_element_by_xpath("./td[1]/span").text());
    std::string detail_value = line.find_element_by_xpath("./td[2]/span").text();
    portInfo.emplace(detail_key, detail_value);
  }
  _portLine.find_element_by_xpath("./td[1]/div").click();
  return portInfo;
}

const std::pair<const char*, const char*> kMediaType{"Media_type", "Media type"};
const std::pair<const char*, const char*> kFcId{"FC_ID", "FC_ID"};

}  // namespace

Json get_nic_info(VornaWebWrapper& w) {
  w.logger().info("[getNicInfo] start...");
  open_page(w, pages::kSystemInfo);
  w.locateElementById(tabs::kCard);
  Json nic_info = Json::object();
  nic_info["name"] = w.getTextByXpath(R"(//*[@id="cardTable"]/ul/li[4]/p)", {.retry = 3, .highlight = false});
  nic_info["type"] = w.getTextByXpath(R"(//*[@id="cardTable"]/ul/li[7]/p)", {.retry = 3, .highlight = false});
  leave_content_frame(w);
  return nic_info;
}

Json web_get_netcard_web_info(VornaWebWrapper& w) {
  w.logger().info("[getFan] start...");
  open_system_info_settled(w);
  auto netcardTree = tab_loop(w, tabs::kCard, 5, "//td[@id='CardTreeL']/ul/li/ul/li");
  w._screenshot();
  empty_guard(w, netcardTree, "没有获取到网络信息标签");
  auto get_port_info = [](Element& _portLine) { return port_record(_portLine, kMediaType); };
  Json netcardInfos = Json::array();
  for (auto& oneNetcard : netcardTree) {
    Json netcardInfo = Json::object();
    oneNetcard.find_element_by_xpath("./a").click();
    w.settle(10);
    Element cardTable = quiet_lookup(w, "//div[@id='cardTable']");
    auto cardDom = cardTable.find_elements_by_xpath("./ul/li");
    add_properties(netcardInfo, cardDom);
    Element cardPortTable = quiet_lookup(w, "//div[@id='cardPortTable']");
    auto portDom = cardPortTable.find_elements_by_xpath(kPortRows);
    Json portInfos = Json::array();
    for (auto& port : portDom) portInfos.push_back(get_port_info(port));
    netcardInfo.emplace("portInfos", std::move(portInfos));
    netcardInfos.push_back(std::move(netcardInfo));
  }
  leave_content_frame(w);
  return netcardInfos;
}

Json web_get_fccard_info(VornaWebWrapper& w) {
  w.logger().info("[getFccardInfo] start...");
  auto get_fc_image = [&w] {
    open_system_info_settled(w);
    auto fccardTree = tab_loop(w, [&w] {
      w.locateElementById(tabs::kCard);
      w.locateElementByXpath("//*[@id='CardTreeL']/ul/li[2]/span");  // opens the tree's second branch
      w.settle(5);
      return quiet_lookups(w, "//*[@id='CardTreeL']/ul/li[2]/ul/li");
    });
    w._screenshot();
    empty_guard(w, fccardTree, "没有获取到FC卡信息");
    return fccardTree;  // the content frame stays entered
  };
  auto fccardTree = get_fc_image();
  Json fccardInfos = Json::array();
  for (auto& oneFccard : fccardTree) {
    Json fccardInfo = Json::object();
    oneFccard.find_element_by_xpath("./a").click();
    Element cardTable = quiet_lookup(w, "//*[@id='cardTable']/ul");
    auto cardDom = cardTable.find_elements_by_xpath("./li");
    add_properties(fccardInfo, cardDom);
    Element cardPortTable = quiet_lookup(w, "//*[@id='cardPortTable']");
    auto portDom = cardPortTable.find_elements_by_xpath(kPortRows);
    Json portInfos = Json::array();
    for (auto& port : portDom) portInfos.push_back(port_record(port, kFcId));
    fccardInfo.emplace("portInfos", std::move(portInfos));
    fccardInfos.push_back(std::move(fccardInfo));
  }
  leave_content_frame(w);
  return fccardInfos;
}

}  // namespace vorna
