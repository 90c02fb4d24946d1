"""The pace of the end-to-end tests: every settle and wait of the console, scaled. A
5-second wait lasts 0.25 s, room enough for a page to load on a busy two-core machine.
VORNA_E2E_TIME_SCALE chooses another pace for a whole run."""
import os

TIME_SCALE = float(os.environ.get("VORNA_E2E_TIME_SCALE") or 0.05)


def e2e_latency():
    """The simulator's latency that the environment asks the tests to run against:
    VORNA_E2E_LATENCY=realistic gives {"profile": "realistic", "scale": TIME_SCALE};
    None when unset (the simulator's own default, instant)."""
    profile = os.environ.get("VORNA_E2E_LATENCY")
    return {"profile": profile, "scale": TIME_SCALE} if profile else None


def roomy_scale(bound, real=5.0):
    """The pace for a step whose wait of `bound` console seconds must hold whatever a busy
    machine's browser needs (a page load after a click): that wait lasts at least `real`
    seconds, never less than at the tests' pace. The operation still ends as soon as
    what it waits for shows."""
    return max(TIME_SCALE, real / float(bound))
