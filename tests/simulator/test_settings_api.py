"""The simulator's service-settings endpoints: what a save checks, what it changes, and
the sentence it leaves in the operation log."""
from simulator import actions
from simulator.state import State


def post(state, path, body, user="admin"):
    return actions.post(state, path, body, user)


def test_location_saves_are_checked_and_logged():
    state = State("default")
    assert post(state, "/api/location", {"location": "Hall 2"}) == (200, {"ok": True, "location": "Hall 2"})
    assert state.machine["settings"]["location"] == "Hall 2"
    assert state.oplog[-1]["text"] == "Set device location to (Hall 2) successfully"
    assert state.oplog[-1]["user"] == "admin"
    for bad in ("", "   ", "y" * 65, 5, None):
        status, reply = post(state, "/api/location", {"location": bad})
        assert status == 400 and reply["ok"] is False, bad
    assert state.machine["settings"]["location"] == "Hall 2"
    state.faults["refuse"].append("location")
    assert post(state, "/api/location", {"location": "Hall 3"})[1]["ok"] is False
    assert state.machine["settings"]["location"] == "Hall 2"


def test_time_zone_city_must_belong_to_the_region():
    state = State("default")
    status, reply = post(state, "/api/time_zone", {"state": "Europe", "city": "London"})
    assert status == 200 and state.machine["settings"]["time_zone"] == {"state": "Europe", "city": "London"}
    assert state.oplog[-1]["text"] == "Set time zone to Europe/London (GMT+00:00) successfully"
    for body in ({"state": "Europe", "city": "Tokyo"}, {"state": "Atlantis", "city": "London"}, {}):
        assert post(state, "/api/time_zone", body)[0] == 400, body
    assert state.machine["settings"]["time_zone"] == {"state": "Europe", "city": "London"}


def test_ldap_saves_one_controller_after_checking_the_form():
    state = State("default")
    form = {"controller": "2", "cert_enable": "on", "cert_verify_level": "Allow", "ip": "10.0.0.9",
            "port": " 389 ", "domain": "corp", "bind_dn": "", "bind_password": "", "user_folder": "",
            "password": "pw"}
    assert post(state, "/api/ldap", form)[0] == 200
    saved = state.machine["settings"]["ldap"]
    assert saved["2"]["ip"] == "10.0.0.9" and saved["2"]["port"] == "389"
    assert saved["1"]["ip"] == "" and saved["3"]["ip"] == ""
    assert state.oplog[-1]["text"] == "Set LDAP controller 2 (10.0.0.9) successfully"
    bad_forms = [dict(form, controller="4"), dict(form, port="0"), dict(form, port="65536"), dict(form, port="ab"),
                 dict(form, ip=" "), dict(form, domain=""), dict(form, cert_enable="yes"),
                 dict(form, cert_verify_level="Never"), dict(form, bind_dn=None)]
    for bad in bad_forms:
        assert post(state, "/api/ldap", bad)[0] == 400, bad
    assert saved["2"]["ip"] == "10.0.0.9"
