"""The console simulator's command line.

    python3 -m simulator.server --address 127.0.0.1 --port 0 --https [--scenario default]
        [--latency realistic --latency-scale 0.05]

prints "SIMULATOR READY <scheme>://<address>:<port>" once it listens, and "SIMULATOR
MOVED <url>" when a saved management address moves the console. Tests start one in
their own process with start_server (serving.py). docs/simulator.md says which module
does what.
"""
import argparse
import os
import signal
import sys
import threading

if __package__ in (None, ""):
    sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from simulator import latency as latency_profile  # noqa: E402
from simulator.serving import start_server  # noqa: E402,F401  (the in-process entry, for importers)


def main(argv=None):
    parser = argparse.ArgumentParser(description="Console simulator")
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=0)
    group = parser.add_mutually_exclusive_group()
    group.add_argument("--https", dest="https", action="store_true", default=True)
    group.add_argument("--http", dest="https", action="store_false")
    parser.add_argument("--scenario", default="default")
    parser.add_argument("--latency", choices=latency_profile.PROFILES, default="instant",
                        help="how late the console answers: instant (default) or realistic")
    parser.add_argument("--latency-scale", type=float, default=1.0, metavar="FACTOR",
                        help="multiplies every delay of the latency profile (default 1.0)")
    args = parser.parse_args(argv)
    try:
        latency = latency_profile.normalize({"profile": args.latency, "scale": args.latency_scale})
    except ValueError as e:
        parser.error(str(e))

    def moved(sim):
        print("SIMULATOR MOVED %s" % sim.url)
        sys.stdout.flush()

    sim = start_server(args.address, args.port, args.https, args.scenario, on_move=moved, latency=latency)
    stop = threading.Event()
    signal.signal(signal.SIGTERM, lambda *a: stop.set())
    signal.signal(signal.SIGINT, lambda *a: stop.set())
    print("SIMULATOR READY %s" % sim.url)
    sys.stdout.flush()
    while not stop.wait(0.5):
        pass
    sim.shutdown()


if __name__ == "__main__":
    main()
