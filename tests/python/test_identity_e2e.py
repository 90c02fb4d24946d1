"""Identity and versions through the whole stack (the module, headless Firefox, the
console simulator); every answer is checked against the simulator's own machine."""
import pytest

from tests.python.console import patch

INSTALL_AGENT = ("To enable complete software information to be displayed, "
                 "install Tolmar 2.0 and start it on the OS.")


@pytest.mark.smoke
def test_identity_and_versions_are_the_machines(console):
    w, sim = console
    patch(sim, {"identity": {"serial": "VRN-E2E-0042", "guid": "0E2E0000-1111-2222-3333-444455556666",
                             "product_alias": "Vorna R4400", "bios_version": "BIOS 3.0.2"}})
    identity = sim.state()["machine"]["identity"]
    assert w.get_product_sn() == "VRN-E2E-0042"
    assert w.get_guid() == "0E2E0000-1111-2222-3333-444455556666"
    assert w.get_bios_name() == "Vorna R4400"
    versions = w.web_get_firmware_version()
    assert list(versions.items()) == [("bmc_version", identity["firmware_version"]),
                                      ("bios_version", "BIOS 3.0.2"),
                                      ("cpld_version", identity["cpld_version"])]


def test_software_rows_become_a_map_in_table_order(console):
    w, sim = console
    patch(sim, {"software": {"agent": True, "rows": [
        ["Computer Name", "bench-node-07"], ["OS Version", "Debian GNU/Linux 12"],
        ["Tolmar Service", "Installed"], ["Computer Name", "bench-node-08"]]}})
    software = w.web_get_software_info()
    assert isinstance(software, dict)
    assert list(software.items()) == [("Computer Name", "bench-node-08"), ("OS Version", "Debian GNU/Linux 12"),
                                      ("Tolmar Service", "Installed")]


def test_a_silent_agent_gives_the_fixed_text(console, log_lines):
    w, sim = console
    patch(sim, {"software": {"agent": False}})
    assert w.web_get_software_info() == INSTALL_AGENT
    assert log_lines.texts("error") == ["Tolmar is not installed or running"]
    assert w.get_product_sn() == sim.state()["machine"]["identity"]["serial"], "the frame was left"
