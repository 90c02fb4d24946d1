// Boot device, its effectiveness, boot mode and start-up mode.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_boot(WrapperClass& cls) {
}

}  // namespace vorna_py
