"""The storage endpoints of the simulator: logical drives are created on the first unused
disks asked for and deleted with their disks freed; what a controller would refuse
changes nothing."""
import copy

import pytest

from simulator import actions
from simulator.state import State


@pytest.fixture
def state():
    return State("default")


def post(state, path, body):
    return actions.post(state, path, body, "admin")


def raid(state):
    return state.machine["storage"]["controllers"][0]


def test_the_default_machine_agrees_with_its_record():
    import json
    import os
    here = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    with open(os.path.join(here, "simulator", "scenarios", "records", "default_os_storage.json")) as f:
        record = json.load(f)
    storage = State("default").machine["storage"]
    controllers = storage["controllers"]
    assert [c["title"] for c in controllers] == ["RAID Card VR3508", "PCIe Card HBA7700-8i"]
    assert len(controllers[0]["logical_drives"]) == 2
    assert sum(len(d["disks"]) for d in controllers[0]["logical_drives"]) == 6
    assert len(controllers[0]["disks"]) == 8 and len(controllers[1]["disks"]) == 2
    assert len(storage["pass_through"]) == 2
    assert [len(record["diskInfo"][k]) for k in ("0", "1")] == [8, 2]
    for k, controller in (("0", controllers[0]), ("1", controllers[1])):
        for disk, os_disk in zip(controller["disks"], record["diskInfo"][k].values()):
            assert disk["serial_number"] in os_disk["Serial Number"]
            assert disk["model"] in os_disk["Model"]


def test_create_takes_the_disks_asked_for_and_delete_frees_them(state):
    status, reply = post(state, "/api/logical_drive_create",
                         {"controller": 0, "name": "VD_NEW", "level": "RAID1", "disks": ["Disk6", "Disk7"]})
    assert status == 200 and reply["ok"]
    drive = raid(state)["logical_drives"][-1]
    assert drive["title"] == "Logical Drive2(VD_NEW)" and drive["disks"] == ["Disk6", "Disk7"]
    assert drive["capacity"] == "893.750 GB"
    assert reply["storage"] == state.machine["storage"]
    status, reply = post(state, "/api/logical_drive_delete",
                         {"controller": 0, "drives": ["Logical Drive0(VD_OS)", "Logical Drive2(VD_NEW)"]})
    assert status == 200 and reply["ok"]
    assert [d["name"] for d in raid(state)["logical_drives"]] == ["VD_DATA"]
    states = dict((d["title"].split("(")[0], d["firmware_state"]) for d in raid(state)["disks"])
    assert states["Disk0"] == states["Disk6"] == "UNCONFIGURED GOOD" and states["Disk2"] == "ONLINE"
    # A new drive takes the lowest free number.
    post(state, "/api/logical_drive_create", {"controller": 0, "name": "A", "level": "RAID0", "disks": ["Disk0"]})
    assert raid(state)["logical_drives"][-1]["title"] == "Logical Drive0(A)"
    texts = [e["text"] for e in state.oplog]
    assert texts[:3] == ["Create logical drive VD_NEW (RAID1) successfully",
                         "Delete logical drive VD_OS successfully", "Delete logical drive VD_NEW successfully"]


@pytest.mark.parametrize("body", [
    {"controller": 1, "name": "X", "level": "RAID0", "disks": ["Disk0"]},        # a card without levels
    {"controller": 5, "name": "X", "level": "RAID0", "disks": ["Disk6"]},        # no such controller
    {"controller": True, "name": "X", "level": "RAID0", "disks": ["Disk6"]},
    {"controller": 0, "name": " ", "level": "RAID0", "disks": ["Disk6"]},        # no name
    {"controller": 0, "name": "X", "level": "RAID 0", "disks": ["Disk6"]},       # a level not offered
    {"controller": 0, "name": "X", "level": "RAID0", "disks": []},               # no disk
    {"controller": 0, "name": "X", "level": "RAID0", "disks": ["Disk0"]},        # a disk in use
    {"controller": 0, "name": "X", "level": "RAID0", "disks": ["Disk6", "Disk6"]},
    {"controller": 0, "name": "X", "level": "RAID5", "disks": ["Disk6", "Disk7"]},  # too few for the level
])
def test_refused_creations_change_nothing(state, body):
    before = copy.deepcopy(state.machine)
    status, reply = post(state, "/api/logical_drive_create", body)
    assert status == 400 and reply["ok"] is False and reply["message"]
    assert state.machine == before and state.oplog == []


def test_refused_deletions_and_the_refuse_fault(state):
    before = copy.deepcopy(state.machine)
    for body in ({"controller": 0, "drives": []}, {"controller": 0, "drives": ["Logical Drive7(X)"]},
                 {"controller": 0}):
        assert post(state, "/api/logical_drive_delete", body)[1]["ok"] is False
    state.faults["refuse"].append("logical_drive_delete")
    reply = post(state, "/api/logical_drive_delete", {"controller": 0, "drives": ["Logical Drive0(VD_OS)"]})[1]
    assert reply["ok"] is False
    assert state.machine == before
