// First-login registration: web_register, web_register_web.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_register(WrapperClass& cls) {
}

}  // namespace vorna_py
