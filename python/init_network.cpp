// The management IPv4 address.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_network(WrapperClass& cls) {
  cls.def("get_manage_ipv4", operation(&VornaWebWrapper::get_manage_ipv4, "get_manage_ipv4"));
  cls.def("get_bmc_ip_addr", operation(&VornaWebWrapper::get_bmc_ip_addr, "get_bmc_ip_addr"));
  cls.def("_mod_manage_ipv4", operation(&VornaWebWrapper::_mod_manage_ipv4, "_mod_manage_ipv4"), py::arg("params"));
  cls.def("mod_bmc_ip_addr", operation(&VornaWebWrapper::mod_bmc_ip_addr, "mod_bmc_ip_addr"), py::arg("params"));
}

}  // namespace vorna_py
