// User accounts: adding, changing, deleting and listing the console's local users.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_accounts(WrapperClass& cls) {
  cls.def("web_add_admin_user", operation(&VornaWebWrapper::web_add_admin_user, "web_add_admin_user"),
          py::arg("params"));
  cls.def("web_add_user", operation(&VornaWebWrapper::web_add_user, "web_add_user"), py::arg("params"));
  cls.def("web_del_user_web", operation(&VornaWebWrapper::web_del_user_web, "web_del_user_web"), py::arg("params"));
  cls.def("web_mod_password", operation(&VornaWebWrapper::web_mod_password, "web_mod_password"), py::arg("params"));
  cls.def("web_query_users", operation(&VornaWebWrapper::web_query_users, "web_query_users"));
}

}  // namespace vorna_py
