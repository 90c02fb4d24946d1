// User accounts: adding, changing, deleting and listing the console's local users.
#include "marlet/wrapper/gui/web/vorna/vornav1/accounts/accounts.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem accounts_operations() {
  return {"user accounts", {
    op("web_add_admin_user", &vorna::web_add_admin_user, {"params"}, Login::needed, "Adds a local user from params, acting as the administrator."),
    op("web_add_user", &vorna::web_add_user, {"params"}, Login::needed, "Adds a local user from params; {userlist, complete} after saving."),
    op("web_del_user_web", &vorna::web_del_user_web, {"params"}, Login::needed, "Deletes the local user named in params."),
    op("web_mod_password", &vorna::web_mod_password, {"params"}, Login::needed, "Changes a user's password from params; ends the browser when it finds the user."),
    op("web_query_users", &vorna::web_query_users, {}, Login::needed, "The local users page as {add_button_exist, users}."),
  }};
}

}  // namespace vorna_py
