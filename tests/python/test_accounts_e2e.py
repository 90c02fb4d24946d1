"""Local users and the logins from params through the whole stack (the module, headless
Firefox, the console simulator); every change is read back from the simulator's state."""
import time

import pytest

from marlet.utils.time import set_time_scale
from tests.python.accounts_support import console_on_443, eventually, set_users, users
from tests.python.pace import roomy_scale

OPERATOR_LOGINS = ("[{'interface_name': 'Web', 'state': 'enable'}, {'interface_name': 'SNMP', 'state': 'disable'}, "
                   "{'interface_name': 'IPMI', 'state': 'disable'}, {'interface_name': 'SSH', 'state': 'enable'}, "
                   "{'interface_name': 'SFTP', 'state': 'disable'}, {'interface_name': 'Local', 'state': 'enable'}, "
                   "{'interface_name': 'Redfish', 'state': 'disable'}]")
OPERATIONS = "[{'operation_name': 'edit_user'}, {'operation_name': 'del_user'}]"


def dismiss(w):
    """Answers the console's message in the top document, once it shows."""
    w.waitElement("id", "btnDialogOK", 20, 1)
    w.browser.find_element_by_id("btnDialogOK").click()


def roles(sim):
    return {u["name"]: u["role"] for u in users(sim)}


# ---- adding, listing, deleting under one login ----

@pytest.mark.smoke
def test_add_each_role_then_list_and_delete(console, log_lines):
    w, sim = console
    assert w.web_add_admin_user({"username": "adm2", "password": "Adm2@pass"}) is True
    assert eventually(lambda: roles(sim).get("adm2"), "Administrator") == "Administrator"
    for name, role, expected in (("op1", "Operator", "Operator"), ("xx1", "Auditor", "Administrator")):
        result = w.web_add_user({"username": name, "password": "Pw@%s" % name, "cur_password": "Admin@9000",
                                 "role": role})
        assert list(result) == ["userlist", "complete"] and result["complete"] is True
        assert eventually(lambda: roles(sim).get(name), expected) == expected, name
    # The list text after the last save holds the user just added.
    assert "xx1" in result["userlist"] and "operator" in result["userlist"]
    assert log_lines.texts()[:2] == ["[addAdminUser] user:adm2 password:Adm2@pass", "[addAdminUser] completion"]

    listing = w.web_query_users()
    assert listing["add_button_exist"] is True
    names = [u["name"] for u in users(sim)]
    assert [u["name"] for u in listing["users"]] == names
    assert [u["id"] for u in listing["users"]] == list(range(2, 2 + len(names)))
    operator = listing["users"][1]
    assert operator == {"id": 3, "name": "operator", "role": "Operator", "password_validity": "89 days",
                        "status": "Enabled", "rule1": "enable", "rule2": "disable", "rule3": "disable",
                        "login_interfaces": OPERATOR_LOGINS, "operation": OPERATIONS}
    assert {u["name"]: u["role"] for u in listing["users"]} == roles(sim)

    # Deleting: the third row goes through del_user4, with the acting user's password.
    third = listing["users"][2]["name"]
    assert w.web_del_user_web({"username": third}) is True
    assert eventually(lambda: third in roles(sim), False) is False
    assert w.web_del_user_web({"username": "nobody"}) is False


def test_only_what_cannot_be_typed_is_refused_and_the_console_judges_the_rest(console, log_lines):
    w, sim = console
    before = users(sim)
    # Refused before the console: an absent key reads as None, which cannot be typed, and
    # a text too long to type. No log line, no picture, the list as it was.
    refused = [(w.web_add_user, {"password": "Pw@1", "cur_password": "Admin@9000"}, TypeError),
               (w.web_add_user, {"username": "u9", "password": "x" * 1025, "cur_password": "Admin@9000"}, ValueError)]
    for call, params, kind in refused:
        with pytest.raises(kind):
            call(params)
    assert log_lines.texts() == []
    # What can be typed goes to the console as given, an empty acting password included;
    # the console turns each down, and the operation completes with the list it shows.
    for name, password, acting in (("u9", "Pw@1", ""), ("o'neil", "Pw@1", "Admin@9000")):
        del log_lines.lines[:]
        refusals = lambda: [e["text"] for e in sim.oplog()].count("Add user (%s) failed" % name)  # noqa: E731
        earlier = refusals()
        result = w.web_add_user({"username": name, "password": password, "cur_password": acting, "role": 2})
        assert result["complete"] is True and "operator" in result["userlist"]
        assert log_lines.texts() == ["[add_user] user:%s password:%s" % (name, password), "[add_user] completion"]
        assert eventually(lambda: refusals() > earlier, True)
        dismiss(w)
    # A name that is only compared matches no row: not found, as the console shows no such user.
    assert w.web_del_user_web({"username": None}) is False
    assert log_lines.texts("warn")[-1] == "[delUser] Not find user name None"
    assert users(sim) == before


# ---- a password change ends the browser ----

def test_password_change_ends_the_browser_and_the_next_login_needs_the_new_password(sim, wrapper, log_lines):
    wrapper.web_login({"bmc": sim.controller()})
    assert wrapper.web_mod_password({"username": "operator", "old_pwd": "Admin@9000", "new_pwd": "Oper@2027"}) is True
    assert wrapper.isClosed() and wrapper.isLogin is True
    assert "[modPassword] user:operator old_password:Admin@9000 new_password:Oper@2027" in log_lines.texts()
    operator = lambda: [u for u in users(sim) if u["name"] == "operator"][0]["password"]  # noqa: E731
    assert eventually(operator, "Oper@2027") == "Oper@2027"
    assert sim.request("POST", "/api/login", {"username": "operator", "password": "Oper@2026"})["ok"] is False
    assert wrapper.web_login({"bmc": sim.controller("operator", "Oper@2027")}) is True
    # A name that is no row: false, and the browser stays.
    assert wrapper.web_mod_password({"username": "oper", "old_pwd": "Oper@2027", "new_pwd": "x"}) is False
    assert not wrapper.isClosed()


# ---- logins from params on port 443 ----

@pytest.fixture(scope="module")
def console443():
    yield from console_on_443()


@pytest.fixture(scope="module")
def browser443(console443, tmp_path_factory):
    """One browser for the logins from params: each test starts it on the login page."""
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    yield w
    w.web_close()


@pytest.fixture
def sim443(console443, browser443):
    console443.state.load("default")
    if not browser443.isClosed():
        browser443.browser.get("https://%s/login.html" % console443.address)
    browser443.isLogin, browser443.current_user = False, None
    return console443


@pytest.fixture
def w443(sim443, browser443):
    return browser443


@pytest.mark.parametrize("new_pwd, saved", [("Fresh@2", ("Fresh@2", False)), (None, ("Fresh@1", True))])
def test_a_first_login_changes_the_password_if_given_and_logs_in_again(sim443, w443, log_lines, new_pwd, saved):
    set_users(sim443, fresh={"password": "Fresh@1", "role": "Operator", "first_login": True})
    params = {"ipv4": sim443.address, "username": "fresh", "password": "Fresh@1", "isFirst": True}
    assert w443.web_register(dict(params, new_pwd=new_pwd) if new_pwd else params) is True
    assert log_lines.texts()[-1].startswith("[login] Login success, title: ")
    assert w443.waitElement("id", "menu_INFO", 20, 1)  # the (second) login went through
    record = [u for u in sim443.state.machine["users"] if u["name"] == "fresh"][0]
    assert (record["password"], record["first_login"]) == saved
    assert w443.current_user == "fresh" and w443.isLogin is True
    assert w443.browser.current_url == "https://%s/index.html" % sim443.address


def test_register_web_answers_false_for_wrong_credentials_then_true(sim443, w443, log_lines):
    started = time.time()
    assert w443.web_register_web({"ipv4": sim443.address, "username": "admin", "password": "wrong"}) is False
    assert log_lines.texts("warn")[-1].startswith("Login Bmc Web Fail! ")
    assert w443.isLogin is False and w443.current_user is None and not w443.isClosed()
    assert time.time() - started >= 5 * 0.05
    # The console's page after the click must show within the operation's 5 s wait: at
    # the tests' pace that is a quarter second, too little for a busy machine's browser.
    set_time_scale(roomy_scale(5))
    assert w443.web_register_web({"ipv4": sim443.address, "username": "admin", "password": "Admin@9000"}) is True
    assert w443.isLogin is True and w443.current_user == "admin"
    assert w443.bmc_ip is None and w443.password is None
