// Power state, power capping and the restore policy.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_power(WrapperClass& cls) {
}

}  // namespace vorna_py
