// LDAP: the page holds one tab per domain controller; enter_ldap_config selects a tab and
// config_ldap_service fills and saves its form. Neither logs anything, so no password of
// the form reaches the log.
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings_args.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
using settings::optional_text_arg;
using settings::text_arg;

namespace {
constexpr const char* kControllerTab = R"(//*[@id="tab_head"]/li[%s]/a)";
constexpr const char* kCertEnable = R"(//*[@id="ldap_cert_enable"]/label[%s])";
constexpr const char* kCertVerifyLevel = R"(//*[@id="ldap_cert_verify_level"]/label[%s])";
}  // namespace

void enter_ldap_config(VornaWebWrapper& w, const Json& ldap_controller_id) {
  // A tab number goes into the locator as its text; True or None would make a locator
  // that names no tab at all.
  if (!ldap_controller_id.is_string() && !ldap_controller_id.is_number_integer() &&
      !ldap_controller_id.is_number_unsigned())
    throw marlet::TypeError(py::format("enter_ldap_config() argument 'ldap_controller_id' must be a text, not %s",
                                       py::type_name(ldap_controller_id)));
  std::string tab = py::format(kControllerTab, ldap_controller_id);
  open_page(w, pages::kLdap);
  w.locateElementByXpath(tab);
}

void config_ldap_service(VornaWebWrapper& w, const Json& ldap_ip, const Json& ldap_domainName, const Json& ldap_pwd,
                         const Json& ldap_cert_enable, const Json& ldap_cert_verify_level, const Json& ldaps_port,
                         const Json& ldap_bind_dn, const Json& ldap_dn_pwd, const Json& user_group_folder_hidden) {
  constexpr const char* op = "config_ldap_service";
  // Every argument is checked before the first click, so a bad call leaves the form alone.
  std::string cert_enable = text_arg(ldap_cert_enable, op, "ldap_cert_enable");
  std::string verify_level = text_arg(ldap_cert_verify_level, op, "ldap_cert_verify_level");
  std::string ip = text_arg(ldap_ip, op, "ldap_ip");
  std::string port = text_arg(ldaps_port, op, "ldaps_port");
  std::string domain = text_arg(ldap_domainName, op, "ldap_domainName");
  auto bind_dn = optional_text_arg(ldap_bind_dn, op, "ldap_bind_dn");
  auto dn_pwd = optional_text_arg(ldap_dn_pwd, op, "ldap_dn_pwd");
  auto folder = optional_text_arg(user_group_folder_hidden, op, "user_group_folder_hidden");
  std::string pwd = text_arg(ldap_pwd, op, "ldap_pwd");
  for (const auto& [text, name] : {std::pair{&ip, "ldap_ip"}, {&port, "ldaps_port"}, {&domain, "ldap_domainName"},
                                   {&pwd, "ldap_pwd"}})
    typed_text(*text, name);
  for (const auto& [text, name] : {std::pair{&bind_dn, "ldap_bind_dn"}, {&dn_pwd, "ldap_dn_pwd"},
                                   {&folder, "user_group_folder_hidden"}})
    if (*text) typed_text(**text, name);

  w.locateElementByXpath(py::format(kCertEnable, cert_enable));
  w.locateElementByXpath(py::format(kCertVerifyLevel, verify_level));
  w.fillElementById("LdapIp", ip);
  w.fillElementById("Ldapsport", port);
  w.fillElementById("ldapdomainName", domain);
  if (bind_dn) w.fillElementById("ldap_bind_dn", *bind_dn);
  if (dn_pwd) w.fillElementById("ldap_dn_pwd", *dn_pwd);
  if (folder) w.fillElementById("user_group_folder_hidden", *folder);
  // The user's password is entered always, last, even when empty.
  w.fillElementById("ldap_pwd", pwd);
  w.locateElementById("saveLdapSet");
}

}  // namespace vorna
