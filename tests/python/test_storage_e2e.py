"""Storage through the whole stack (the module, headless Firefox, the console simulator):
controllers, disks and logical drives are read from the storage tab and checked against
the simulator's machine; deleting and creating logical drives is checked in the machine's
state, and then read back through the console."""
import pytest

from marlet.exception.marlet_exception import MarletException
from tests.python.storage_support import (default_storage, eventually, os_record, raid_for_comparison,
                                          set_storage, storage_of)

RAID_TITLE = "RAID Card VR3508"


@pytest.fixture
def storage_console(console):
    """The module's console with the default storage put back before each test."""
    w, sim = console
    w.web_switch_page_logout()  # the top document, whatever an earlier test left
    set_storage(sim, default_storage())
    yield w, sim


def key_of(label):
    return label.strip().replace(" ", "_").lower()


def expected_controller(c):
    record = {"cardname": c["title"]}
    for label, value in c["bbu"]:
        record["bbu" + key_of(label)] = value
    for label, value in c["pane"] + c["oob"]:
        record[key_of(label)] = value
    return record


def drive_names(sim, controller=0):
    return [d["name"] for d in storage_of(sim)["controllers"][controller]["logical_drives"]]


@pytest.mark.smoke
def test_one_raid_controller_is_a_flat_record_of_its_panes(storage_console):
    w, sim = storage_console
    info = w.web_get_raid_web_info()
    raid = storage_of(sim)["controllers"][0]
    assert info == expected_controller(raid)
    assert list(info)[:5] == ["cardname", "bbupresent", "bbutype", "bbuhealth_status", "bbucapacitance"]


def test_disks_by_controller_and_pass_through_disks(storage_console):
    w, sim = storage_console
    disks = w.get_storage_info({"raid_disk": True})
    assert list(disks) == ["0", "1"]  # the RAID card and the PCIe card
    assert list(disks["0"]) == ["Disk%d" % i for i in range(8)]  # drive by drive, then its own disks
    assert list(disks["1"]) == ["Disk0", "Disk1"]
    disk0 = disks["0"]["Disk0"]
    raid_disk0 = storage_of(sim)["controllers"][0]["disks"][0]
    assert disk0["Serial Number"] == raid_disk0["serial_number"]
    assert disk0["SAS Address (0)"] == raid_disk0["sas_address"][0]
    assert "SAS Address (1)" not in disk0, "a row hidden by its style gives no key"
    assert "Rebuild Progress" not in disk0, "a row marked by its class gives no key"
    pass_through = w.get_storage_info({})
    assert list(pass_through) == ["Disk0", "Disk1"]
    assert pass_through["Disk1"]["Serial Number"] == storage_of(sim)["pass_through"][1]["serial_number"]


def test_console_storage_agrees_with_the_operating_systems_record(storage_console):
    w, sim = storage_console
    record = os_record()
    levels = {"0": ", ".join(storage_of(sim)["controllers"][0]["levels"])}
    web_raid = raid_for_comparison(w.web_get_raid_web_info(), levels)
    web_disks = w.get_storage_info({"raid_disk": True})
    assert w.compare_storage(web_raid, record["raidInfo"], web_disks, record["diskInfo"]) is None


def test_logical_drives_by_whole_title(storage_console):
    w, sim = storage_console
    drives = w.web_get_logical_driver_info()
    assert drives == {
        "Logical Drive0(VD_OS)": {"Name": "VD_OS", "Status": "Optimal", "RAID Level": "RAID1",
                                  "Capacity": "557.861 GB", "Strip Size": "256 KB",
                                  "Current Read Policy": "Read Ahead"},
        "Logical Drive1(VD_DATA)": {"Name": "VD_DATA", "Status": "Optimal", "RAID Level": "RAID5",
                                    "Capacity": "1673.583 GB", "Strip Size": "256 KB",
                                    "Current Read Policy": "Read Ahead"}}


def test_delete_all_with_two_and_five_drives(storage_console):
    w, sim = storage_console
    # Two: one call deletes both and frees their disks.
    w.delete_all_raid_logical_driver()
    assert eventually(lambda: drive_names(sim), lambda v: v == []) == []
    assert all(d["firmware_state"] == "UNCONFIGURED GOOD" for d in storage_of(sim)["controllers"][0]["disks"])
    # Five: four are selected, the fifth stays.
    storage = default_storage()
    raid = storage["controllers"][0]
    raid["logical_drives"] = [dict(raid["logical_drives"][0], title="Logical Drive%d(VD%d)" % (i, i),
                                   name="VD%d" % i, level="RAID0", disks=["Disk%d" % i]) for i in range(5)]
    set_storage(sim, storage)
    w.delete_all_raid_logical_driver()
    assert eventually(lambda: drive_names(sim), lambda v: len(v) < 5) == ["VD4"]
    # The tree read back shows it.
    assert list(w.web_get_logical_driver_info()) == ["Logical Drive4(VD4)"]


def test_create_takes_the_first_unused_disks_and_shows_in_the_tree(storage_console):
    w, sim = storage_console
    w.delete_all_raid_logical_driver()
    eventually(lambda: drive_names(sim), lambda v: v == [])
    w.create_raid_logical_driver({"name": "VD_NEW", "level": "RAID5", "count": 3})
    assert eventually(lambda: drive_names(sim), lambda v: v != []) == ["VD_NEW"]
    drive = storage_of(sim)["controllers"][0]["logical_drives"][0]
    assert drive["level"] == "RAID5" and drive["disks"] == ["Disk0", "Disk1", "Disk2"]
    assert "Create logical drive VD_NEW (RAID5) successfully" in [e["text"] for e in sim.oplog()]
    drives = w.web_get_logical_driver_info()
    assert drives == {"Logical Drive0(VD_NEW)": {"Name": "VD_NEW", "Status": "Optimal", "RAID Level": "RAID5",
                                                 "Capacity": "1115.722 GB", "Strip Size": "256 KB",
                                                 "Current Read Policy": "Read Ahead"}}
    # The disks moved under the new drive; the rest stand directly under the controller.
    assert list(w.get_storage_info({"raid_disk": True})["0"]) == ["Disk%d" % i for i in range(8)]


def test_refused_creations_save_nothing(storage_console):
    w, sim = storage_console
    before = storage_of(sim)
    operations = len(sim.oplog())

    # A count that is no integer is refused before a click.
    # More disks than are free (two): the third selection is missing.
    for params, kind, match in (({"name": "VD", "level": "RAID1", "count": "2"}, TypeError,
                                 "count must be an integer, not str"),
                                ({"name": "VD", "level": "RAID5", "count": 3}, MarletException, "")):
        with pytest.raises(kind, match=match):
            w.create_raid_logical_driver(params)
        w.web_switch_page_logout()  # a failed lookup leaves the browser in the content frame
    assert storage_of(sim) == before
    assert len(sim.oplog()) == operations
    # A level that needs more disks than were given: the console itself refuses the save.
    w.create_raid_logical_driver({"name": "VD", "level": "RAID5", "count": 2})
    assert list(w.web_get_logical_driver_info()) == ["Logical Drive0(VD_OS)", "Logical Drive1(VD_DATA)"]
    assert storage_of(sim) == before


def test_raid_name_is_the_storage_trees_raid_title(storage_console):
    # Reads the RAID card table of the other-cards tab, which the inventory pages build.
    w, sim = storage_console
    assert w.get_raid_name() == RAID_TITLE
    w.web_switch_page_logout()  # the name is read inside the content frame
    assert w.web_get_raid_web_info()["cardname"] == RAID_TITLE
