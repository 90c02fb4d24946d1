"""How the binding reads what the harness passes, without a browser: values that cannot
be read end in the documented failure kinds, and a refused call shows no values."""
import collections.abc
import sys

import pytest

from marlet.exception.marlet_exception import MarletException
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.fuzz_sweep import RaisingMapping


class Unprintable(object):
    def __str__(self):
        raise RuntimeError("no text")


class Interrupting(object):
    def __str__(self):
        raise KeyboardInterrupt()


class Unreadable(collections.abc.Mapping):
    """A map whose keys cannot be listed."""

    def __getitem__(self, key):
        return 1

    def __iter__(self):
        raise OSError("gone")

    def __len__(self):
        return 1


def nested(depth):
    value = []
    for _ in range(depth):
        value = [value]
    return value


@pytest.fixture
def w():
    return VornaWebWrapper({})


def test_values_that_hold_themselves_or_nest_too_deep_are_value_errors(w):
    loop = [1]
    loop.append(loop)
    me = {"a": 1}
    me["me"] = me
    for bad in (loop, me, nested(sys.getrecursionlimit() * 10), [nested(101)]):
        with pytest.raises(ValueError, match="nested more than 100 levels"):
            w.compare_power(bad, [])
    # Deep but within the bound: read, then judged by the comparison itself.
    with pytest.raises((TypeError, MarletException)):
        w.compare_power(nested(99), [])


def test_harness_objects_that_fail_when_read_are_type_errors_with_the_cause(w):
    with pytest.raises(TypeError) as refused:
        w.compare_power([{"title": Unprintable()}], [])
    assert str(refused.value) == "a value of type list could not be read: RuntimeError was raised while reading it"
    assert isinstance(refused.value.__cause__, RuntimeError)
    with pytest.raises(TypeError) as refused:
        w.compare_power(Unreadable(), [])
    assert isinstance(refused.value.__cause__, OSError)
    # An interrupt is no failure of the value: it passes as it is.
    with pytest.raises(KeyboardInterrupt):
        w.compare_power([Interrupting()], [])


def test_texts_without_utf8_are_value_errors(w):
    for bad in ([{"title": "half \ud800 pair"}], [{"\udcff": 1}]):
        with pytest.raises(UnicodeEncodeError):
            w.compare_power(bad, [])
    with pytest.raises(ValueError):
        w.web_login({"bmc": {"local_ip": "10.0.0.1", "username": "\ud800", "password": "x"}})


def test_a_call_that_fits_no_signature_names_types_not_values(w):
    secret = {"password": "Top-S3cret", "huge": "x" * 100000}
    with pytest.raises(TypeError) as refused:
        w.compare_power(secret, [], 3, key=secret)
    text = str(refused.value)
    assert text.startswith("compare_power(): incompatible function arguments.")
    assert text.endswith("Invoked with: VornaWebWrapper, dict, list, int, key=dict")
    assert "Top-S3cret" not in text and len(text) < 1000
    with pytest.raises(TypeError) as refused:
        VornaWebWrapper({"password": "Top-S3cret"}, 1)
    assert "Top-S3cret" not in str(refused.value)
    # A TypeError of the operation itself is left as it is.
    with pytest.raises(TypeError, match="must be a list"):
        w.compare_power("not a list", [])
    # The wrapped methods keep their names and signatures for help() and tools.
    assert VornaWebWrapper.compare_power.__name__ == "compare_power"
    assert VornaWebWrapper.compare_power.__doc__.startswith("compare_power(self: ")


def test_a_login_record_or_key_that_fails_when_read_is_refused_before_any_browser(w):
    class Record(object):
        local_ip = "10.0.0.1"
        username = "admin"

        @property
        def password(self):
            raise OSError("vault locked")

    # An attribute that fails to read counts as missing, as hasattr() sees it.
    with pytest.raises(AttributeError, match="no attribute 'password'"):
        w.web_login({"bmc": Record()})
    with pytest.raises(TypeError):
        w.web_login({"bmc": {"local_ip": "10.0.0.1"}, Unprintable(): 1})
    with pytest.raises(TypeError, match="a value of type Unprintable could not be read"):
        w.web_login({"bmc": {"local_ip": "10.0.0.1"}, "username": Unprintable()})
    assert w.isClosed()


def test_a_params_map_whose_reads_fail_is_a_type_error_at_construction_and_login(w):
    with pytest.raises(TypeError, match="a value of type RaisingMapping could not be read") as refused:
        VornaWebWrapper(RaisingMapping())
    assert isinstance(refused.value.__cause__, RuntimeError)
    with pytest.raises(TypeError, match="a value of type RaisingMapping could not be read"):
        w.web_login(RaisingMapping())
    assert w.isClosed()


def test_a_value_passed_in_place_of_the_params_map_stays_out_of_the_error(w):
    # A password or a huge text given where the map belongs is refused by its type alone.
    for call in (w.web_mod_password, w.web_register):
        for value in ("Top-S3cret", ["Top-S3cret"] * 50000):
            with pytest.raises(TypeError) as refused:
                call(value)
            text = str(refused.value)
            assert "Top-S3cret" not in text and len(text) < 200, text
            assert text.endswith("takes a map of parameters, not %s" % type(value).__name__)
    with pytest.raises(TypeError, match=r"^VornaWebWrapper\(\) takes a map of parameters, not str$"):
        VornaWebWrapper("Top-S3cret")
