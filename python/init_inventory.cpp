// Inventory readers: the tabs of the system information page.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_inventory(WrapperClass& cls) {
}

}  // namespace vorna_py
