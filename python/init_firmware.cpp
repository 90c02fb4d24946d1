// Firmware upgrade and diagnostics export.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_firmware(WrapperClass& cls) {
}

}  // namespace vorna_py
