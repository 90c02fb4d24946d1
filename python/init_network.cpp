// The management IPv4 address.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_network(WrapperClass& cls) {
}

}  // namespace vorna_py
