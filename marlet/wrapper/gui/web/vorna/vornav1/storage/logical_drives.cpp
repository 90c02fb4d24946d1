// Deleting and creating RAID logical drives on the storage tab's configuration panel.
// Neither operation reads the outcome back: the storage tree readers show it.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr const char* kConfigure = "storageConfBut";
constexpr const char* kLogicalDrivePane = "logicDriveShowId";
constexpr const char* kSwitchToCreate = "//div[@id='LDSwitchRaio']/div/div[1]/div/div";
constexpr const char* kSwitchToDelete = "//div[@id='LDSwitchRaio']/div/div[2]/div/div";
constexpr const char* kDeleteMark = "//span[@id='DelteRadio%s']/div/div/div/div";
constexpr const char* kDeleteButton = "delBtu";
constexpr const char* kNameField = "//span[@id='LDCreName']/input";
constexpr const char* kLevelBox = ".//span[@id='LDCreLevel']/div/div/input";
// The level list opens as a panel of the page's body, found by its place there.
constexpr const char* kLevelRows = ".//body/div[13]/ul/li";
constexpr const char* kLevelText = "./span";
constexpr const char* kDiskSelection = "ldisk_arr_%s";
constexpr const char* kSave = "LDCreatePerSave";
// A call selects at most this many logical drives: marks "0" to "3".
constexpr const char* kDeleteMarks[] = {"0", "1", "2", "3"};

void open_logical_drive_pane(VornaWebWrapper& w) {
  open_page(w, pages::kSystemInfo);
  w.locateElementById(tabs::kStorage);
  w.locateElementById(kConfigure);
  w.locateElementById(kLogicalDrivePane);
}

const Json& required(const Json& params, const char* key) {
  auto it = params.find(key);
  if (it == params.end()) throw marlet::KeyError(key);
  return *it;
}

// What is refused before the console is touched: params that are no map, and keys that
// are present with a type the page cannot take. Absent keys fail where they are needed.
void check_create_params(const Json& params) {
  require_params_map(params, "create_raid_logical_driver");
  if (params.contains("name") && !params["name"].is_string())
    throw marlet::TypeError(py::format("name must be a text, not %s", py::type_name(params["name"])));
  if (params.contains("name")) typed_text(params["name"].get<std::string>(), "name");
  if (params.contains("count") && !params["count"].is_number_integer())
    throw marlet::TypeError(py::format("count must be an integer, not %s", py::type_name(params["count"])));
}
}  // namespace

void delete_all_raid_logical_driver(VornaWebWrapper& w) {
  w.logger().info("[deleteAllRaidLogicalDriver] start...");
  open_logical_drive_pane(w);
  w.locateElementByXpath(kSwitchToDelete);
  w.settle(5);
  bool empty = true;
  for (const char* id : kDeleteMarks) {
    // The browser's own lookup: a missing mark arrives as NoSuchElementException, which
    // is a MarletException, and ends the selection there.
    try {
      w.session().find_element_by_xpath(py::format(kDeleteMark, id)).click();
      w.settle(1);
      empty = false;
    } catch (const marlet::MarletException&) {
      break;
    }
  }
  if (!empty) {
    w.locateElementById(kDeleteButton, {.click = true, .highlight = false, .retry = 1, .delay = 3});
    confirm_dialog(w);
  } else {
    leave_content_frame(w);  // no logical drive: nothing to delete, and no failure
  }
  w.settle(10);
}

void create_raid_logical_driver(VornaWebWrapper& w, const Json& params) {
  check_create_params(params);
  w.logger().info("[createRaidLogicalDriver] start...");
  open_logical_drive_pane(w);
  w.locateElementByXpath(kSwitchToCreate);
  w.settle(5);
  w.fillElementByXpath(kNameField, required(params, "name").get<std::string>());
  w.locateElementByXpath(kLevelBox);
  auto elements = w.session().find_elements_by_xpath(kLevelRows);
  bool chosen = false;
  for (auto& element : elements) {
    std::string text = element.find_element_by_xpath(kLevelText).text();
    if (Json(text) == required(params, "level")) {  // exact: case and blanks count
      element.find_element_by_xpath(kLevelText).click();
      chosen = true;
      break;
    }
  }
  // A level the list does not offer leaves the frame, so the disk and save lookups that
  // follow fail in the element layer and nothing is saved.
  if (!chosen) leave_content_frame(w);
  long long count = required(params, "count").get<long long>();
  for (long long i = 0; i < count; ++i) w.locateElementById(py::format(kDiskSelection, i));
  w.locateElementById(kSave);
  confirm_dialog(w);
  w.settle(10);
}

}  // namespace vorna
