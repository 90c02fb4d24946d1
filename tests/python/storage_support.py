"""What the storage tests share: the default machine's storage and operating-system
record, a way to reset the storage in place, and the harness's step that brings the
console's controller records into the form the storage comparison reads."""
import copy

from tests.python.console import eventually, scenario_file


def default_storage():
    return scenario_file()["storage"]


def os_record():
    return scenario_file("records/default_os_storage.json")


def set_storage(sim, storage):
    """Replaces the machine's storage in place; the login survives."""
    sim.request("POST", "/__sim/machine", {"storage": copy.deepcopy(storage)})


def storage_of(sim):
    return sim.state()["machine"]["storage"]


def controllers_by_index(raid_info):
    """The controller reader's three shapes as one map: {} , a flat record, or a map."""
    if not raid_info:
        return {}
    if "cardname" in raid_info:
        return {"0": raid_info}
    return raid_info


def raid_for_comparison(raid_info, supported_levels):
    """The console's controller records in the comparison's form. The levels a
    controller supports are what its configuration panel offers: `supported_levels`
    maps a controller index to that text."""
    out = {}
    for k, record in controllers_by_index(raid_info).items():
        out[k] = {"name": record["name"], "firmware_version": record["firmware_version"],
                  "health status": record["health_status"], "supported raid levels": supported_levels[k],
                  "memory size": record["memory_size"], "device interface": record["device_interface"]}
    return out
