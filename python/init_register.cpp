// First-login registration: web_register, web_register_web.
#include "python/operation.h"

namespace vorna_py {
using W = vorna::VornaWebWrapper;

Subsystem register_operations() {
  return {"first-login registration", {
    op("web_register", &W::web_register, {"params"}, Login::none, "Logs in from params alone, through the forced password change of a first login."),
    op("web_register_web", &W::web_register_web, {"params"}, Login::none, "Logs in from params alone; false when the login fails."),
  }};
}

}  // namespace vorna_py
