// Storage: RAID controllers, the storage tree, logical drives.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_storage(WrapperClass& cls) {
}

}  // namespace vorna_py
