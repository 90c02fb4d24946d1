"""An example harness script: log into a console, read identity, power, inventory and
storage, compare them against the bench records shipped with the simulator, log out.

Starts the console simulator on loopback over HTTPS unless --url names a console, then
drives headless Firefox through VornaWebWrapper as a test harness would.
"""
from __future__ import print_function

import argparse
import json
import logging
import os
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


class Controller(object):
    """The harness's controller record."""

    def __init__(self, local_ip, username, password, https_port):
        self.local_ip = local_ip
        self.username = username
        self.password = password
        self.extra_port = {"https": https_port}


def start_simulator():
    proc = subprocess.Popen(
        [sys.executable, "-m", "simulator.server", "--address", "127.0.0.1", "--port", "0", "--https"],
        cwd=ROOT, stdout=subprocess.PIPE, universal_newlines=True)
    deadline = time.time() + 30
    while time.time() < deadline:
        line = proc.stdout.readline()
        if line.startswith("SIMULATOR READY"):
            return proc, line.split()[-1]
        if not line and proc.poll() is not None:
            break
    proc.kill()
    raise SystemExit("the console simulator did not start")


def load_record(name):
    with open(os.path.join(ROOT, "simulator", "scenarios", "records", name), encoding="utf-8") as f:
        return json.load(f)


def compare(step, comparison, *args):
    """Runs one bench comparison and prints its result: agreed, or the first difference."""
    from marlet.exception.marlet_exception import MarletException
    try:
        comparison(*args)
        print("%s: agrees" % step)
    except MarletException as e:
        print("%s: differs: %s" % (step, e))


def read_and_compare_inventory(wrapper):
    """Reads the machine's inventory from the console and holds the power supplies and
    the memory against the bench table and the operating system's record shipped with
    the simulator's default scenario."""
    bench = load_record("default_bench.json")
    os_memory = load_record("default_os_memory.json")
    print("mainboard:", wrapper.web_get_main_board_info())
    fans = wrapper.web_get_fan_web_info()
    print("fans: %d, first %s" % (len(fans), fans[0]))
    supplies = wrapper.web_get_power_web_info()
    for supply in supplies:
        print("power supply %s: %s, %s rated, consuming %s W"
              % (supply["Slot"], supply["Type"], supply["Rated Power"], supply.get("ConsumedWatts", "?")))
    cpus = wrapper.web_get_cpu_info_vorna({"type": "all"})
    print("processors: %s" % ", ".join("%s %s (%s cores)" % (c["CPU_name"], c["Model_name"], c["Core(s)_per_socket"])
                                       for c in cpus))
    memory = wrapper.web_get_memory_web_info()
    print("memory modules: %d, first %s %s" % (len(memory), memory[0]["name"], memory[0]["capacity"]))
    print("PCIe cards:", [c["CardDescription"] for c in wrapper.web_get_pcie_web_info()])
    print("network cards:", [(c.get("Name:"), len(c["portInfos"])) for c in wrapper.web_get_netcard_web_info()])
    compare("power supplies against the bench table", wrapper.compare_power, supplies, bench["power"])
    compare("memory against the operating system", wrapper.compare_memory, memory, os_memory)


def read_and_compare_storage(wrapper):
    """Reads the RAID controller, the disks and the logical drives from the console and
    holds them against the operating system's storage record shipped with the simulator.
    The controller panes do not show the RAID levels a controller supports: the harness
    supplies them (here, the levels the simulated controller's configuration panel offers)."""
    record = load_record("default_os_storage.json")
    with open(os.path.join(ROOT, "simulator", "scenarios", "default.json"), encoding="utf-8") as f:
        levels = ", ".join(json.load(f)["storage"]["controllers"][0]["levels"])
    raid = wrapper.web_get_raid_web_info()  # one controller: its record itself
    print("RAID controller: %s, firmware %s, %s" % (raid["cardname"], raid["firmware_version"], raid["health_status"]))
    web_raid = {"0": {"name": raid["name"], "firmware_version": raid["firmware_version"],
                      "health status": raid["health_status"], "supported raid levels": levels,
                      "memory size": raid["memory_size"], "device interface": raid["device_interface"]}}
    disks = wrapper.get_storage_info({"raid_disk": True})
    print("disks by controller:", {k: sorted(v) for k, v in disks.items()})
    print("logical drives:", wrapper.web_get_logical_driver_info())
    compare("storage against the operating system", wrapper.compare_storage,
            web_raid, record["raidInfo"], disks, record["diskInfo"])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--time-scale", type=float, default=0.1,
                        help="factor on every settle and wait (1.0 = the console's real pace)")
    parser.add_argument("--visible", action="store_true", help="show the browser window")
    args = parser.parse_args()

    logging.basicConfig(level=logging.INFO, format="%(asctime)s %(levelname)s %(message)s")
    from marlet.utils.time import set_time_scale
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper

    set_time_scale(args.time_scale)
    print("Starting the console simulator", flush=True)
    sim, url = start_simulator()
    print("Console simulator at %s; logging in with %sFirefox" % (url, "" if args.visible else "headless "),
          flush=True)
    try:
        scheme, rest = url.split("://")
        address, port = rest.rsplit(":", 1)
        bmc = Controller(address, "admin", "Admin@9000", int(port))
        wrapper = VornaWebWrapper({"host": None, "device": None,
                                   "browser": {"headless": not args.visible}})
        started = time.time()
        wrapper.web_login({"bmc": bmc})
        print("logged in as %s at %s (%.1f s); browser title: %s"
              % (wrapper.current_user, wrapper.bmc_ip, time.time() - started, wrapper.browser.title))
        print("serial number:", wrapper.get_product_sn())
        print("firmware versions:", wrapper.web_get_firmware_version())
        print("power state:", wrapper.web_get_power_status())
        print("power figures:", wrapper.web_get_power_capping_info({}))
        read_and_compare_inventory(wrapper)
        read_and_compare_storage(wrapper)
        print("picture of the console:", wrapper._screenshot("demo"))
        wrapper.web_logout()
        print("logged out; isLogin =", wrapper.isLogin)
        wrapper.web_close()
        print("browser closed")
    finally:
        sim.terminate()
        sim.wait(10)


if __name__ == "__main__":
    main()
