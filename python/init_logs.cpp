// Health, alarms and log inspection.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_logs(WrapperClass& cls) {
}

}  // namespace vorna_py
