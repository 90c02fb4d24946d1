"""The firmware upgrade and the one-button diagnostic collection.

An upload receives the file itself (the page sends the chosen File as the body); the
machine keeps its name, size and SHA-256 under machine["firmware"]["uploads"]. The
scenario says how long an upgrade and a collection take, what the upgrade's result
reads, and whether the page follows the upgrade by asking ("progress": "asks") or only
waits the machine's time on a page timer ("silent"). The collection hands out "dump_info.tar.gz", a real gzip'd tar of what the
machine reports.
"""
import hashlib
import io
import json
import tarfile
import time


def _firmware(state):
    return state.machine.setdefault("firmware", {})


def _upload(state, body, user):
    data = body.get("_raw")
    if not isinstance(data, bytes):
        return 400, {"ok": False, "message": "No firmware file was received."}
    fw = _firmware(state)
    name = body.get("_filename") or "firmware.bin"
    record = {"name": name, "size": len(data), "sha256": hashlib.sha256(data).hexdigest(),
              "time": time.strftime("%Y-%m-%d %H:%M:%S"), "finished": False}
    fw.setdefault("uploads", []).append(record)
    state.log_operation(user, "Upload firmware file (%s) successfully" % name)
    seconds = float(fw.get("upgrade_seconds", 3))
    # The upgrade runs on the controller: the page asks how far it is (_progress).
    state.upgrade = {"started": time.monotonic(), "seconds": seconds}
    return 200, {"ok": True, "seconds": seconds, "result": fw.get("result", "The upgrade is complete."),
                 "progress": fw.get("progress", "asks")}


def _progress(state, user):
    """How far the upgrade under way is: {"percent": 0..100, "done": bool}."""
    upgrade = getattr(state, "upgrade", None)
    if upgrade is None:
        return 400, {"ok": False, "message": "No upgrade is under way."}
    elapsed = time.monotonic() - upgrade["started"]
    done = elapsed >= upgrade["seconds"]
    percent = 100 if done else int(100 * elapsed / upgrade["seconds"])
    return 200, {"ok": True, "percent": percent, "done": done}


def _finish(state, body, user):
    fw = _firmware(state)
    uploads = fw.get("uploads") or []
    if not uploads:
        return 400, {"ok": False, "message": "No upgrade is under way."}
    uploads[-1]["finished"] = True
    result = fw.get("result", "The upgrade is complete.")
    if result.startswith("The upgrade is complete"):
        state.log_operation(user, "Upgrade BMC firmware (%s) successfully" % uploads[-1]["name"])
        state.log_event("BMC firmware upgrade completed")
    else:
        state.log_operation(user, "Upgrade BMC firmware (%s) failed" % uploads[-1]["name"])
        state.log_event("BMC firmware upgrade failed", "Warning")
    return 200, {"ok": True}


def _collect(state, body, user):
    diag = state.machine.setdefault("diagnostics", {})
    diag["collections"] = diag.get("collections", 0) + 1
    state.log_operation(user, "Collect diagnostic information successfully")
    return 200, {"ok": True, "seconds": float(diag.get("collect_seconds", 2))}


def _add(tar, name, text):
    data = text.encode("utf-8")
    info = tarfile.TarInfo(name)
    info.size = len(data)
    info.mtime = int(time.time())
    tar.addfile(info, io.BytesIO(data))


def _dump_info(state, user):
    from simulator import api_logs
    buf = io.BytesIO()
    with tarfile.open(fileobj=buf, mode="w:gz") as tar:
        _add(tar, "dump_info/machine.json", json.dumps(
            {k: v for k, v in state.machine.items() if k not in ("users", "logs")}, indent=2, ensure_ascii=False))
        _add(tar, "dump_info/operation_log.txt",
             "".join("%(time)s %(user)s %(interface)s %(text)s\n" % r for r in api_logs.operation_entries(state)))
        _add(tar, "dump_info/system_events.txt",
             "".join("%(id)d %(time)s %(level)s %(text)s\n" % r for r in api_logs.event_entries(state)))
    state.machine.setdefault("diagnostics", {})["downloads"] = state.machine["diagnostics"].get("downloads", 0) + 1
    return 200, {"_download": "dump_info.tar.gz", "_bytes": buf.getvalue(), "_type": "application/gzip"}


POST_ACTIONS = {
    "/api/firmware/upload": _upload,
    "/api/firmware/finish": _finish,
    "/api/diagnostics/collect": _collect,
}

GET_ACTIONS = {
    "/api/firmware/progress": _progress,
    "/api/diagnostics/dump_info.tar.gz": _dump_info,
}
