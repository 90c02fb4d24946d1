"""The simulator's firmware upload, its downloads and its paged log feeds."""
import hashlib
import io
import json
import tarfile
from urllib.error import HTTPError
from urllib.request import Request, urlopen

import pytest

from simulator.server import start_server


@pytest.fixture
def sim():
    s = start_server(https=False)
    yield s
    s.shutdown()


def call(sim, method, path, cookie=None, body=None, raw=None, headers=None):
    h = {"Content-Type": "application/json"}
    h.update(headers or {})
    if cookie:
        h["Cookie"] = cookie
    data = raw if raw is not None else (None if body is None else json.dumps(body).encode("utf-8"))
    with urlopen(Request(sim.url + path, data=data, method=method, headers=h), timeout=10) as r:
        return r.read(), r.headers


def login(sim):
    _, headers = call(sim, "POST", "/api/login", body={"username": "admin", "password": "Admin@9000"})
    return headers["Set-Cookie"].split(";")[0]


def test_an_upload_keeps_the_files_size_and_checksum(sim):
    cookie = login(sim)
    data = bytes(range(256)) * 40
    reply, _ = call(sim, "POST", "/api/firmware/upload", cookie, raw=data,
                    headers={"Content-Type": "application/octet-stream", "X-File-Name": "fw%20v2.bin"})
    assert json.loads(reply) == {"ok": True, "seconds": 3.0, "result": "The upgrade is complete."}
    record = sim.state.snapshot()["machine"]["firmware"]["uploads"][-1]
    assert (record["name"], record["size"], record["sha256"]) == ("fw v2.bin", len(data), hashlib.sha256(data).hexdigest())
    assert record["finished"] is False
    call(sim, "POST", "/api/firmware/finish", cookie, body={})
    assert sim.state.snapshot()["machine"]["firmware"]["uploads"][-1]["finished"] is True
    texts = [e["text"] for e in sim.state.snapshot()["oplog"]]
    assert texts[-2:] == ["Upload firmware file (fw v2.bin) successfully", "Upgrade BMC firmware (fw v2.bin) successfully"]
    with pytest.raises(HTTPError):  # a JSON body is no file
        call(sim, "POST", "/api/firmware/upload", cookie, body={"file": "x"})


def test_downloads_are_attachments_and_need_a_login(sim):
    with pytest.raises(HTTPError):
        call(sim, "GET", "/api/diagnostics/dump_info.tar.gz")
    cookie = login(sim)
    data, headers = call(sim, "GET", "/api/diagnostics/dump_info.tar.gz", cookie)
    assert headers["Content-Disposition"] == 'attachment; filename="dump_info.tar.gz"'
    with tarfile.open(fileobj=io.BytesIO(data), mode="r:gz") as tar:
        assert tar.getnames() == ["dump_info/machine.json", "dump_info/operation_log.txt",
                                  "dump_info/system_events.txt"]
        log = tar.extractfile("dump_info/operation_log.txt").read().decode("utf-8")
    assert "admin WEB Log in successfully" in log
    data, headers = call(sim, "GET", "/api/logs/operate_log.csv", cookie)
    assert headers["Content-Disposition"] == 'attachment; filename="operate_log.csv"'
    lines = data.decode("utf-8").splitlines()
    assert lines[0] == "no,time,user,interface,ip,text" and "Log in successfully" in lines[1]


def test_log_feeds_put_the_newest_first_after_a_fixed_history(sim):
    cookie = login(sim)
    call(sim, "POST", "/api/power", cookie, body={"action": "fpf"})
    ops = json.loads(call(sim, "GET", "/api/logs/operation", cookie)[0])
    assert len(ops) == 64 + 2
    assert [o["text"] for o in ops[:2]] == ["Force power off the server successfully", "Log in successfully"]
    assert [o["no"] for o in ops[:3]] == [66, 65, 64]
    assert ops == sorted(ops, key=lambda o: o["time"], reverse=True)
    events = json.loads(call(sim, "GET", "/api/logs/events", cookie)[0])
    assert events[0]["text"] == "Server power state changed to Off" and events[0]["id"] == 121
    again = json.loads(call(sim, "GET", "/api/logs/events", cookie)[0])
    assert again == events, "history times stay put between reads"
