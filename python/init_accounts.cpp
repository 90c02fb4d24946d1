// User accounts: adding, changing, deleting and listing the console's local users.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_accounts(WrapperClass& cls) {
}

}  // namespace vorna_py
