// Identity and versions.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_identity(WrapperClass& cls) {
}

}  // namespace vorna_py
