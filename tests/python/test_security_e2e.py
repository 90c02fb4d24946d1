"""What a shared test station must be able to trust, checked on the running processes:
the browser's remote protocol and the driver listen on loopback only, profiles are
private and go with the session, insecure certificates are accepted by the console's
session alone, downloads land in the download folder, and passwords stay out of
command lines, environments, errors and pictures' names."""
import ipaddress
import os
import stat
import time

import pytest

from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.browsers import BROWSERS, descendants
from tests.python.console import log_in

PASSWORD = "Admin@9000"  # the simulator's administrator


def read(path, mode="rb"):
    try:
        with open(path, mode) as f:
            return f.read()
    except (IOError, OSError):
        return b"" if "b" in mode else ""


def cmdline(pid):
    return read("/proc/%d/cmdline" % pid).split(b"\0")


def _address(hex_text):
    addr, port = hex_text.split(":")
    raw = bytes.fromhex(addr)
    # The kernel prints each 32-bit word in host (little-endian) order.
    raw = b"".join(raw[i:i + 4][::-1] for i in range(0, len(raw), 4))
    ip = ipaddress.ip_address(raw)
    if ip.version == 6 and ip.ipv4_mapped:
        ip = ip.ipv4_mapped
    return ip, int(port, 16)


def listening(pids):
    """(address, port, pid) of every TCP socket in LISTEN state that one of `pids` holds."""
    owner = {}
    for pid in pids:
        try:
            fds = os.listdir("/proc/%d/fd" % pid)
        except OSError:
            continue
        for fd in fds:
            try:
                link = os.readlink("/proc/%d/fd/%s" % (pid, fd))
            except OSError:
                continue
            if link.startswith("socket:["):
                owner[link[8:-1]] = pid
    found = []
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        for line in read(table, "r").splitlines()[1:]:
            f = line.split()
            if f[3] == "0A" and f[9] in owner:
                ip, port = _address(f[1])
                found.append((ip, port, owner[f[9]]))
    return found


def profile_of(pids):
    """The private folder the launcher made for this session's browser."""
    for pid in pids:
        args = cmdline(pid)
        if b"-profile" in args:
            return args[args.index(b"-profile") + 1].decode()
        for a in args:
            if a.startswith(b"--user-data-dir="):
                return os.path.dirname(a.split(b"=", 1)[1].decode())  # <private>/profile
    return None


def gone(path, timeout=20):
    deadline = time.time() + timeout
    while os.path.exists(path) and time.time() < deadline:
        time.sleep(0.1)
    return not os.path.exists(path)


@pytest.mark.parametrize("browser", sorted(BROWSERS))
def test_a_session_listens_on_loopback_only_and_keeps_secrets_off_its_processes(browser, sim, tmp_path,
                                                                                 monkeypatch):
    home = tmp_path / "home"
    home.mkdir()
    monkeypatch.setenv("HOME", str(home))  # where a browser keeps its user-wide stores
    downloads = tmp_path / "downloads"
    w = VornaWebWrapper({"browser": dict(BROWSERS[browser], screenshot_dir=str(tmp_path / "pictures"),
                                         download_dir=str(downloads))})
    log_in(w, {"bmc": sim.controller()})
    try:
        pids = descendants()
        sockets = listening(pids)
        assert sockets, "neither the browser nor its driver listens"
        assert [s for s in sockets if not s[0].is_loopback] == []
        ports = {port for _, port, _ in sockets}
        # The browser's event channel is one of those loopback ports.
        channel = w.browser.bidi_url
        assert channel and channel.startswith("ws://127.0.0.1:"), w.browser.bidi_status
        assert int(channel.split(":")[2].split("/")[0]) in ports
        profile = profile_of(pids)
        assert profile and os.path.basename(profile).startswith("vorna-")
        if browser == "firefox":
            # Port 0 asked of the browser: the port it chose is read back, never the fixed one.
            active = int(read(os.path.join(profile, "MarionetteActivePort"), "r"))
            assert active in ports and active != 2828
        else:
            driver = [p for p in pids if os.path.basename(cmdline(p)[0]) == b"chromedriver"]
            assert len(driver) == 1
            port = [int(a.split(b"=")[1]) for a in cmdline(driver[0]) if a.startswith(b"--port=")]
            assert port and port[0] in {p for _, p, owner in sockets if owner == driver[0]}
        # Private while it lives, and no password on any command line or in any environment.
        assert stat.S_IMODE(os.stat(profile).st_mode) == 0o700
        for pid in pids:
            assert PASSWORD.encode() not in read("/proc/%d/cmdline" % pid), cmdline(pid)[:3]
            assert PASSWORD.encode() not in read("/proc/%d/environ" % pid), cmdline(pid)[:3]
        # The certificate exception belongs to this session's capabilities, not the profile.
        assert w.browser.capabilities.get("acceptInsecureCerts") is True
        for folder in (profile, str(home)):
            stores = [f for _, _, files in os.walk(folder) for f in files if f == "cert_override.txt"]
            assert stores == [], folder
        assert "security." not in read(os.path.join(profile, "user.js"), "r").replace(
            "security.certerrors.mitm.priming.enabled", "")
        if browser == "firefox":
            # Downloads land in the download folder and nowhere else ($HOME/Downloads
            # would be the browser's own default).
            prefs = read(os.path.join(profile, "user.js"), "r")
            assert 'user_pref("browser.download.dir", "%s");' % downloads in prefs
            assert 'user_pref("browser.download.folderList", 2);' in prefs
            assert w.web_export_bmc_log() == "operate_log"
            deadline = time.time() + 30
            while not list(downloads.glob("operate_log*.csv")) and time.time() < deadline:
                time.sleep(0.1)
            assert [p.name for p in downloads.glob("operate_log*")] == ["operate_log.csv"]
    finally:
        # A session closed and a session killed both remove their profile: one of each.
        if browser == "firefox":
            w.web_kill_firefox()
        else:
            w.web_close()
    assert gone(profile)
    landed = [os.path.join(d, f) for d, _, files in os.walk(str(home)) for f in files]
    assert [f for f in landed if "operate_log" in f] == []
