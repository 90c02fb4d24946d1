"""What a process leaves behind, read from /proc: processes of a browser's process group,
temporary profiles, open descriptors and resident memory."""
import os


def _stat_fields(pid):
    try:
        with open("/proc/%d/stat" % pid) as f:
            data = f.read()
    except (IOError, OSError):
        return None
    # the command name may hold blanks and brackets: fields resume after the last ')'
    return data[data.rindex(")") + 2:].split()


def _helper_of(pid):
    """The browser pid a crash helper serves (it runs in a session of its own, its first
    argument the browser's pid), or None."""
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            argv = f.read().split(b"\0")
    except (IOError, OSError):
        return None
    if len(argv) > 1 and argv[0].endswith(b"crashhelper") and argv[1].isdigit():
        return int(argv[1])
    return None


def live_in_groups(groups):
    """Pids of processes still running (not zombies) in any of these process groups, and
    crash helpers serving them: a browser started by the driver leads its own group, its
    helper processes share it."""
    groups = set(g for g in groups if g and g > 0)
    found = []
    if not groups:
        return found
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        fields = _stat_fields(int(entry))
        if fields and fields[0] != "Z" and (int(fields[2]) in groups or _helper_of(int(entry)) in groups):
            found.append(int(entry))
    return found


def profiles(folder):
    """The temporary profile folders the driver made in `folder` (its TMPDIR)."""
    try:
        return sorted(n for n in os.listdir(folder) if n.startswith("vorna-firefox-") or n.startswith("vorna-browser-"))
    except OSError:
        return []


def open_fds():
    return len(os.listdir("/proc/self/fd"))


def rss_kib():
    with open("/proc/self/status") as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0
