"""The simulator's file upload and downloads (raw bodies and attachments of the server)."""
import hashlib
import io
import tarfile
from urllib.error import HTTPError

import pytest

from simulator.server import start_server
from tests.simulator.client import request


@pytest.fixture
def sim():
    s = start_server(https=False)
    yield s
    s.shutdown()


def call(sim, method, path, cookie=None, body=None, raw=None, headers=None):
    with request(sim.url, method, path, body, cookie or "", raw, headers) as r:
        return r.read(), r.headers


def login(sim):
    _, headers = call(sim, "POST", "/api/login", body={"username": "admin", "password": "Admin@9000"})
    return headers["Set-Cookie"].split(";")[0]


def test_an_upload_keeps_the_files_size_and_checksum(sim):
    cookie = login(sim)
    data = bytes(range(256)) * 40
    call(sim, "POST", "/api/firmware/upload", cookie, raw=data,
         headers={"Content-Type": "application/octet-stream", "X-File-Name": "fw%20v2.bin"})
    record = sim.state.snapshot()["machine"]["firmware"]["uploads"][-1]
    assert (record["name"], record["size"], record["sha256"]) == ("fw v2.bin", len(data), hashlib.sha256(data).hexdigest())
    with pytest.raises(HTTPError):  # a JSON body is no file
        call(sim, "POST", "/api/firmware/upload", cookie, body={"file": "x"})


def test_downloads_are_attachments_and_need_a_login(sim):
    with pytest.raises(HTTPError):
        call(sim, "GET", "/api/diagnostics/dump_info.tar.gz")
    cookie = login(sim)
    call(sim, "POST", "/api/power", cookie, body={"action": "fpf"})
    data, headers = call(sim, "GET", "/api/diagnostics/dump_info.tar.gz", cookie)
    assert headers["Content-Disposition"] == 'attachment; filename="dump_info.tar.gz"'
    with tarfile.open(fileobj=io.BytesIO(data), mode="r:gz") as tar:
        log = tar.extractfile("dump_info/operation_log.txt").read().decode("utf-8")
    assert log.splitlines()[-1].endswith("admin WEB Force power off the server successfully")
    data, headers = call(sim, "GET", "/api/logs/operate_log.csv", cookie)
    assert headers["Content-Disposition"] == 'attachment; filename="operate_log.csv"'
    assert "Force power off the server successfully" in data.decode("utf-8").splitlines()[1]
