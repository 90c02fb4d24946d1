"""Keeps the values of a refused call out of its TypeError.

When no signature of a bound method accepts the arguments, pybind11 raises a TypeError
whose text ends with the repr() of every argument ("Invoked with: ..."). Those arguments
are params maps that carry passwords, and texts that may be megabytes long; the error
text goes to logs and reports. The methods of the bound classes are wrapped so that the
text names each argument's type instead."""
import functools

_REFUSALS = ("incompatible function arguments", "incompatible constructor arguments")
_INVOKED = "\nInvoked with:"


def _types(args, kwargs):
    shown = [type(a).__name__ for a in args]
    shown += ["%s=%s" % (k, type(v).__name__) for k, v in kwargs.items()]
    return ", ".join(shown)


def _guarded(fn):
    @functools.wraps(fn)
    def call(*args, **kwargs):
        try:
            return fn(*args, **kwargs)
        except TypeError as e:
            text = e.args[0] if len(e.args) == 1 and isinstance(e.args[0], str) else ""
            cut = text.find(_INVOKED)
            if cut < 0 or not any(r in text for r in _REFUSALS):
                raise
            refused = TypeError(text[:cut] + _INVOKED + " " + _types(args, kwargs))
        raise refused  # outside the handler: the text with the values is not chained
    return call


def hide_argument_values(cls):
    """Wraps every method defined on `cls` itself (its constructor included)."""
    for name, attr in list(vars(cls).items()):
        if name.startswith("__") and name != "__init__":
            continue
        if type(attr).__name__ in ("instancemethod", "builtin_function_or_method", "function") and callable(attr):
            setattr(cls, name, _guarded(attr))
    return cls


def hide_argument_values_in(module):
    """Wraps the methods of every class the extension module defines."""
    for value in list(vars(module).values()):
        if isinstance(value, type) and value.__module__ == module.__name__:
            hide_argument_values(value)
