"""The machine the simulator plays: loaded from a scenario, changed by console actions.

All state lives here, in the server, so it survives browser restarts. Every change goes
through one lock; actions append to the operation log and the event log in the
console's own sentences.
"""
import copy
import json
import os
import threading
import time

from simulator import latency as latency_profile

SCENARIO_DIR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "scenarios")


def _merge(base, extra):
    """Deep-merges `extra` into a copy of `base` (maps merge, anything else replaces)."""
    out = copy.deepcopy(base)
    for key, value in extra.items():
        if isinstance(value, dict) and isinstance(out.get(key), dict):
            out[key] = _merge(out[key], value)
        else:
            out[key] = copy.deepcopy(value)
    return out


def load_scenario(name_or_data):
    """A scenario by file name (without .json) or as a map; "extends" names a base."""
    if isinstance(name_or_data, dict):
        data = name_or_data
    else:
        path = os.path.join(SCENARIO_DIR, os.path.basename(str(name_or_data)) + ".json")
        if not os.path.isfile(path):
            raise KeyError("no scenario named %r" % name_or_data)
        with open(path, encoding="utf-8") as f:
            data = json.load(f)
    base = data.get("extends")
    if base:
        rest = dict(data)
        rest.pop("extends")
        return _merge(load_scenario(base), rest)
    return copy.deepcopy(data)


class State(object):
    # Set by the server: the loopback address the console is served on, and a callable
    # that moves the console to another address (raises OSError when it cannot).
    served_address = None
    move_console = None

    def __init__(self, scenario="default", latency=None):
        self.lock = threading.RLock()
        # The latency the console answers with (simulator/latency.py): the server's own
        # (command line, then the control API) unless the loaded scenario names one.
        self.session_latency = latency_profile.normalize(latency)
        self.load(scenario)

    def set_served_address(self, address):
        with self.lock:
            self.served_address = address
            self._show_served_address()

    def _show_served_address(self):
        # The machine's management address is where the console answers, whatever the
        # scenario says: what the network page shows can be used to reach it.
        ipv4 = self.machine.get("network", {}).get("ipv4")
        if self.served_address and isinstance(ipv4, dict):
            ipv4["address"] = self.served_address

    def load(self, scenario):
        with self.lock:
            machine = load_scenario(scenario)
            self.latency = latency_profile.normalize(machine.pop("latency", None), self.session_latency)
            self.machine = machine
            self.sessions = {}
            self.oplog = []
            self.events = []
            self.faults = {"slow": {}, "missing": {}, "refuse": []}
            self._show_served_address()

    def set_latency(self, value):
        """Merges `value` into the latency in effect; it stays through later scenario
        loads and fault clears, until set again or a scenario names its own. Raises
        ValueError (nothing changed) for a bad value."""
        with self.lock:
            self.session_latency = latency_profile.normalize(value, self.latency)
            self.latency = dict(self.session_latency)
            return dict(self.latency)

    def snapshot(self):
        with self.lock:
            return {"machine": copy.deepcopy(self.machine), "sessions": len(self.sessions),
                    "oplog": list(self.oplog), "events": list(self.events),
                    "faults": copy.deepcopy(self.faults), "latency": dict(self.latency)}

    def log_operation(self, user, text):
        with self.lock:
            self.oplog.append({"time": time.strftime("%Y-%m-%d %H:%M:%S"), "user": user,
                               "interface": "WEB", "text": text})

    def log_event(self, text, level="Info"):
        with self.lock:
            self.events.append({"time": time.strftime("%Y-%m-%d %H:%M:%S"), "level": level, "text": text})

    def refused(self, action):
        with self.lock:
            return action in self.faults["refuse"]
