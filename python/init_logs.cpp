// Health, alarms and log inspection.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_logs(WrapperClass& cls) {
  cls.def("check_health", operation(&VornaWebWrapper::check_health, "check_health"));
  cls.def("web_get_error_warning", operation(&VornaWebWrapper::web_get_error_warning, "web_get_error_warning"));
  cls.def("web_check_bmc_log", operation(&VornaWebWrapper::web_check_bmc_log, "web_check_bmc_log"),
          py::arg("params"));
  cls.def("check_keyword_in_system_log",
          operation(&VornaWebWrapper::check_keyword_in_system_log, "check_keyword_in_system_log"),
          py::arg("keyword_list"), py::arg("check_time"));
}

}  // namespace vorna_py
