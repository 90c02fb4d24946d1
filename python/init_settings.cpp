// Service settings: LDAP, location, time zone, SNMP engine id, web time-out, disk usage.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_settings(WrapperClass& cls) {
}

}  // namespace vorna_py
