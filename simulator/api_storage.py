"""The storage tab's endpoints: creating and deleting RAID logical drives.

The machine's storage (scenario key "storage") holds controllers, each with its physical
disks in slot order and its logical drives, each drive naming the disks it is built on;
a disk that no drive names is unused. What the console's configuration panel asks is
checked as a controller checks it: a refused request changes nothing.
"""
import copy

# The fewest disks each level is built on, and whether it needs an even count.
LEVEL_RULES = {"RAID0": (1, False), "RAID1": (2, True), "RAID5": (3, False), "RAID6": (4, False),
               "RAID10": (4, True), "RAID50": (6, True), "RAID60": (8, True)}


def _refuse(message):
    return 400, {"ok": False, "message": message}


def _controller(storage, body):
    index = body.get("controller")
    controllers = storage.get("controllers", [])
    if not isinstance(index, int) or isinstance(index, bool) or not 0 <= index < len(controllers):
        return None
    return controllers[index]


def used_disks(controller):
    return set(name for drive in controller.get("logical_drives", []) for name in drive.get("disks", []))


def unused_disks(controller):
    """The controller's disks that no logical drive holds, in slot order."""
    used = used_disks(controller)
    return [d for d in controller.get("disks", []) if disk_name(d) not in used]


def disk_name(disk):
    return disk["title"].split("(", 1)[0]


def _gigabytes(capacity):
    number, unit = capacity.split()
    return float(number) * {"GB": 1.0, "TB": 1024.0, "MB": 1.0 / 1024}[unit]


def drive_capacity(level, disks):
    """The usable size of a new drive, as the console writes it."""
    smallest = min(_gigabytes(d["capacity"]) for d in disks)
    n = len(disks)
    data = {"RAID0": n, "RAID1": n / 2.0, "RAID10": n / 2.0, "RAID5": n - 1, "RAID6": n - 2,
            "RAID50": n - 2, "RAID60": n - 4}[level]
    return "%.3f GB" % (smallest * data)


def _create(state, body, user):
    storage = state.machine.setdefault("storage", {"controllers": []})
    controller = _controller(storage, body)
    if controller is None:
        return _refuse("No such RAID controller.")
    name, level, disks = body.get("name"), body.get("level"), body.get("disks")
    if not isinstance(name, str) or not name.strip():
        return _refuse("Enter a name for the logical drive.")
    if level not in controller.get("levels", []) or level not in LEVEL_RULES:
        return _refuse("The controller does not offer the level %s." % level)
    free = dict((disk_name(d), d) for d in unused_disks(controller))
    if not isinstance(disks, list) or not disks or any(d not in free for d in disks) or len(set(disks)) != len(disks):
        return _refuse("Select unused physical disks for the logical drive.")
    fewest, even = LEVEL_RULES[level]
    if len(disks) < fewest or (even and len(disks) % 2):
        return _refuse("%s needs %s%d disks or more." % (level, "an even number of " if even else "", fewest))
    drives = controller.setdefault("logical_drives", [])
    taken = set(d["title"].split("(", 1)[0] for d in drives)
    number = 0
    while "Logical Drive%d" % number in taken:
        number += 1
    drives.append({"title": "Logical Drive%d(%s)" % (number, name), "name": name, "status": "Optimal",
                   "level": level, "capacity": drive_capacity(level, [free[d] for d in disks]),
                   "strip_size": "256 KB", "read_policy": "Read Ahead", "disks": list(disks)})
    for d in disks:
        free[d]["firmware_state"] = "ONLINE"
    state.log_operation(user, "Create logical drive %s (%s) successfully" % (name, level))
    state.log_event("Logical drive %s created on %s" % (name, controller["title"]))
    return 200, {"ok": True, "storage": copy.deepcopy(storage)}


def _delete(state, body, user):
    storage = state.machine.setdefault("storage", {"controllers": []})
    controller = _controller(storage, body)
    if controller is None:
        return _refuse("No such RAID controller.")
    titles = body.get("drives")
    drives = controller.get("logical_drives", [])
    known = [d["title"] for d in drives]
    if not isinstance(titles, list) or not titles or any(t not in known for t in titles):
        return _refuse("Select the logical drives to delete.")
    for title in titles:
        drive = drives.pop([d["title"] for d in drives].index(title))
        for disk in controller.get("disks", []):
            if disk_name(disk) in drive.get("disks", []):
                disk["firmware_state"] = "UNCONFIGURED GOOD"
        state.log_operation(user, "Delete logical drive %s successfully" % drive.get("name", title))
        state.log_event("Logical drive %s deleted on %s" % (drive.get("name", title), controller["title"]))
    return 200, {"ok": True, "storage": copy.deepcopy(storage)}


POST_ACTIONS = {
    "/api/logical_drive_create": _create,
    "/api/logical_drive_delete": _delete,
}
