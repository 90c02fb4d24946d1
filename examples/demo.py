"""An example harness script: log into a console, show what happened, log out.

Starts the console simulator on loopback over HTTPS unless --url names a console, then
drives headless Firefox through VornaWebWrapper as a test harness would.
"""
from __future__ import print_function

import argparse
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
    sim, url = start_simulator()
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
