// The bench comparisons: records in, nothing out, or the first difference raised.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_comparison(WrapperClass& cls) {
  cls.def("compare_power", offline_operation(&VornaWebWrapper::compare_power),
          py::arg("webPowerInfo"), py::arg("powerInfo"));
  cls.def("compare_pcie", offline_operation(&VornaWebWrapper::compare_pcie),
          py::arg("webpcieInfo"), py::arg("pcieInfo"));
  cls.def("compare_back_board", offline_operation(&VornaWebWrapper::compare_back_board),
          py::arg("webBackBoardInfo"), py::arg("backBoardInfo"));
  cls.def("compare_riser", offline_operation(&VornaWebWrapper::compare_riser),
          py::arg("webRaiserInfo"), py::arg("riserInfo"));
  cls.def("compare_raid", offline_operation(&VornaWebWrapper::compare_raid),
          py::arg("webRaidInfo"), py::arg("raidInfo"));
  cls.def("compare_memory", offline_operation(&VornaWebWrapper::compare_memory),
          py::arg("webMemoryInfo"), py::arg("osMemoryInfo"));
  cls.def("compare_storage", offline_operation(&VornaWebWrapper::compare_storage),
          py::arg("webRaidInfo"), py::arg("raidInfo"), py::arg("webDiskInfo"), py::arg("diskInfo"));
}

}  // namespace vorna_py
